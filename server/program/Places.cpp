#include "server/program/Places.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cstdlib>

#include "server/storage/PostgresStorage.h"
#include "server/storage/SqliteStorage.h"

namespace zun::cloud {
namespace {

std::filesystem::path folderOf(const Place& place) {
    if (!place.folder.empty()) return place.folder;
    if (const char* unit = std::getenv("STATE_DIRECTORY"); unit && *unit) return unit;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/')
        return std::filesystem::path(data) / "zun-cloud";
    const char* home = std::getenv("HOME");
    if (!home || !*home) throw StorageFailure("say with --data where to keep the records");
    return std::filesystem::path(home) / ".local/share/zun-cloud";
}

void requireRows(const std::filesystem::path& folder) {
    std::error_code error;
    const auto status = std::filesystem::status(SqliteStorage::fileIn(folder), error);
    if (std::filesystem::exists(status)) return;
    if (status.type() != std::filesystem::file_type::not_found)
        throw StorageFailure("cannot look into " + folder.string() + ": " + error.message());
    throw StorageFailure("no service keeps its records in " + folder.string() +
                         ": say with --data where they are, or let \"zun-cloud serve\" begin there");
}

int openServingLock(const Place& place) {
    if (!place.database.empty()) return -1;
    const auto folder = folderOf(place);
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    const int file = ::open((folder / "serving.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0) throw StorageFailure("cannot use the folder " + folder.string());
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        ::close(file);
        throw StorageFailure("another zun-cloud serves " + folder.string());
    }
    return file;
}

}  // namespace

std::unique_ptr<Storage> openStorage(const Place& place, IfMissing ifMissing) {
    if (!place.database.empty()) return std::make_unique<PostgresStorage>(PostgresServer{place.database});
    const auto folder = folderOf(place);
    if (ifMissing == IfMissing::Refuse) requireRows(folder);
    return std::make_unique<SqliteStorage>(folder);
}

ServingRight::ServingRight(const Place& place) : _file(openServingLock(place)) {}

}  // namespace zun::cloud
