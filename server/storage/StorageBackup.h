#pragma once

// A whole storage in one file, of whatever kind the storage is, so that a service can also move from one kind to
// another. Blocks; throws StorageFailure.

#include <cstdint>
#include <filesystem>
#include <memory>

#include "server/storage/Storage.h"

namespace zun::cloud {

class SqliteConnection;

// The state of one moment, while the service goes on. The file appears whole and synced, or not at all, and takes the
// place of an earlier backup; whatever else is there is refused and stays. Returns the number of rows.
std::uint64_t backUp(Storage& storage, const std::filesystem::path& file);

// A backup that was found readable.
class BackupFile {
  public:
    explicit BackupFile(const std::filesystem::path& file);
    ~BackupFile();
    BackupFile(const BackupFile&) = delete;
    BackupFile& operator=(const BackupFile&) = delete;

    // Replaces everything in the storage. Returns the number of rows.
    std::uint64_t restoreTo(Storage& storage);

  private:
    std::unique_ptr<SqliteConnection> _connection;
};

}  // namespace zun::cloud
