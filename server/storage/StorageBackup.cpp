#include "server/storage/StorageBackup.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <system_error>
#include <vector>

#include "platform/foundation/DurableFile.h"
#include "server/storage/SqliteConnection.h"

namespace zun::cloud {
namespace {

// "Zunc": tells a backup from other files of SQLite.
constexpr std::uint32_t applicationID = 0x5a756e63;

constexpr std::size_t placeOfApplicationID = 68;  // in the header of a file of SQLite

bool isBackup(const std::filesystem::path& file) {
    std::array<char, placeOfApplicationID + 4> header{};
    if (!std::ifstream(file, std::ios::binary).read(header.data(), header.size())) return false;
    std::uint32_t found = 0;
    for (auto place = placeOfApplicationID; place < header.size(); ++place)
        found = found << 8 | static_cast<unsigned char>(header[place]);
    return std::string_view(header.data()).starts_with("SQLite format 3") && found == applicationID;
}

void checkTarget(const std::filesystem::path& file) {
    std::error_code ignored;
    const auto type = std::filesystem::symlink_status(file, ignored).type();
    if (type == std::filesystem::file_type::not_found) return;
    if (type != std::filesystem::file_type::regular || !isBackup(file))
        throw StorageFailure(file.string() + " is there and is no earlier backup: it stays as it is");
}

constexpr std::string_view partialEnd = ".partial-", unique = "XXXXXX";

void removeDatabase(const std::filesystem::path& file) {
    std::error_code ignored;
    for (const auto* end : {"", "-journal", "-wal", "-shm"})
        std::filesystem::remove(file.string() + end, ignored);
}

// What backups to this file have left that were killed. Those that are being written are locked.
void removeAbandoned(const std::filesystem::path& file) {
    const auto beginning = file.filename().string() + std::string(partialEnd);
    std::vector<std::filesystem::path> found;
    std::error_code ignored;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::absolute(file).parent_path(), ignored))
        if (const auto name = entry.path().filename().string();
            name.starts_with(beginning) && name.size() == beginning.size() + unique.size())
            found.push_back(entry.path());
    for (const auto& partial : found) {
        const FileDescriptor left(::open(partial.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (left.isOpen() && ::flock(left.number(), LOCK_EX | LOCK_NB) == 0) removeDatabase(partial);
    }
}

// A file of a name that nothing else has, beside the one that it is to become. Gone with the object if it did not.
class Partial {
  public:
    explicit Partial(const std::filesystem::path& file)
        : _file(file), _name(file.string() + std::string(partialEnd) + std::string(unique)) {
        removeAbandoned(file);
        _lock.emplace(::mkostemp(_name.data(), O_CLOEXEC));
        if (!_lock->isOpen() || ::flock(_lock->number(), LOCK_EX | LOCK_NB) != 0)
            throw StorageFailure("cannot write " + file.string() + ": " + std::strerror(errno));
    }
    ~Partial() { removeDatabase(_name); }
    Partial(const Partial&) = delete;
    Partial& operator=(const Partial&) = delete;

    [[nodiscard]] std::filesystem::path path() const { return _name; }

    void becomeWhole() {
        std::error_code error;
        std::filesystem::rename(_name, _file, error);
        if (error) throw StorageFailure("cannot write " + _file.string() + ": " + error.message());
        const auto folder = std::filesystem::absolute(_file).parent_path();
        const FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!directory.isOpen() || ::fsync(directory.number()) != 0)
            throw StorageFailure("cannot sync " + folder.string());
    }

  private:
    const std::filesystem::path _file;
    std::string _name;
    std::optional<FileDescriptor> _lock;
};

}  // namespace

std::uint64_t backUp(Storage& storage, const std::filesystem::path& file) {
    checkTarget(file);
    Partial partial(file);
    std::uint64_t rows = 0;
    {
        SqliteConnection connection(partial.path(), SqliteConnection::Mode::Writer);
        // One file, without a log beside it.
        connection.execute("PRAGMA journal_mode=DELETE");
        connection.execute(("PRAGMA application_id=" + std::to_string(applicationID)).c_str());
        connection.execute("BEGIN");
        storage.dump([&](std::string_view account, Table table, std::string_view name, std::string_view value) {
            connection.put(account, table, name, std::string(value));
            ++rows;
        });
        connection.execute("COMMIT");
    }
    partial.becomeWhole();
    return rows;
}

BackupFile::BackupFile(const std::filesystem::path& file) {
    if (::access(file.c_str(), R_OK) != 0)
        throw StorageFailure("cannot read " + file.string() + ": " + std::strerror(errno));
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored) || !isBackup(file))
        throw StorageFailure(file.string() + " is no backup");
    try {
        _connection = std::make_unique<SqliteConnection>(file, SqliteConnection::Mode::Backup);
        SqliteStatement sound(_connection->handle(), "PRAGMA integrity_check");
        if (!sound.step() || sound.bytes(0) != "ok") throw StorageFailure("its pages do not fit together");
    } catch (const StorageFailure& failure) {
        throw StorageFailure("the backup " + file.string() + " is damaged: " + failure.what());
    }
}

BackupFile::~BackupFile() = default;

std::uint64_t BackupFile::restoreTo(Storage& storage) {
    std::uint64_t rows = 0;
    storage.load([&](const Storage::RowVisitor& add) {
        SqliteStatement all(_connection->handle(),
                            "SELECT account, kind, name, value FROM rows ORDER BY account, kind, name");
        for (; all.step(); ++rows)
            add(all.bytes(0), static_cast<Table>(all.number(1)), all.bytes(2), all.bytes(3));
    });
    return rows;
}

}  // namespace zun::cloud
