#pragma once

// Where the service keeps its rows, as the command line says, and the storage that is there.

#include <filesystem>
#include <memory>
#include <string>

#include "platform/foundation/DurableFile.h"
#include "server/storage/Storage.h"

namespace zun::cloud {

struct Place {
    std::string folder;    // for SQLite
    std::string database;  // an address of PostgreSQL; goes before the folder
};

// What happens where a folder has no rows: whoever mistypes its name is to hear of it, not to get an empty one.
enum class IfMissing { Make, Refuse };

// Without a folder: that of the unit, else that of the user. Throws StorageFailure.
[[nodiscard]] std::unique_ptr<Storage> openStorage(const Place& place, IfMissing ifMissing);

// Only one process at a time serves a folder, since wakes do not cross between processes there. Held while it lives.
class ServingRight {
  public:
    // Throws StorageFailure if another process serves. Any number may serve a database.
    explicit ServingRight(const Place& place);

  private:
    FileDescriptor _file;
};

}  // namespace zun::cloud
