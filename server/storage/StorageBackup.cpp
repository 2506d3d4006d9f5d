#include "server/storage/StorageBackup.h"

#include <fcntl.h>

#include <system_error>

#include "platform/foundation/DurableFile.h"
#include "server/storage/SqliteConnection.h"

namespace zun::cloud {
namespace {

// "Zunc": tells a backup from other files of SQLite.
constexpr std::int64_t applicationID = 0x5a756e63;

void checkBackup(SqliteConnection& connection) {
    SqliteStatement identity(connection.handle(), "PRAGMA application_id");
    if (!identity.step() || identity.number(0) != applicationID) throw StorageFailure("this file is no backup");
    SqliteStatement sound(connection.handle(), "PRAGMA integrity_check");
    if (!sound.step() || sound.bytes(0) != "ok") throw StorageFailure("the backup is damaged");
}

}  // namespace

std::uint64_t backUp(Storage& storage, const std::filesystem::path& file) {
    auto partial = file;
    partial += ".partial";
    std::error_code ignored;
    std::filesystem::remove(partial, ignored);
    std::uint64_t rows = 0;
    {
        SqliteConnection connection(partial, SqliteConnection::Mode::Writer);
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
    std::error_code error;
    std::filesystem::rename(partial, file, error);
    if (error) throw StorageFailure("cannot write " + file.string() + ": " + error.message());
    const auto folder = std::filesystem::absolute(file).parent_path();
    const FileDescriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.isOpen() || ::fsync(directory.number()) != 0) throw StorageFailure("cannot sync " + folder.string());
    return rows;
}

std::uint64_t restoreFrom(const std::filesystem::path& file, Storage& storage) {
    if (!std::filesystem::exists(file)) throw StorageFailure("there is no file " + file.string());
    SqliteConnection connection(file, SqliteConnection::Mode::Backup);
    checkBackup(connection);
    std::uint64_t rows = 0;
    storage.load([&](const Storage::RowVisitor& add) {
        SqliteStatement all(connection.handle(),
                            "SELECT account, kind, name, value FROM rows ORDER BY account, kind, name");
        for (; all.step(); ++rows)
            add(all.bytes(0), static_cast<Table>(all.number(1)), all.bytes(2), all.bytes(3));
    });
    return rows;
}

}  // namespace zun::cloud
