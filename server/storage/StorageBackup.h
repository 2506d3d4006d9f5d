#pragma once

// A whole storage in one file, of whatever kind the storage is, so that a service can also move from one kind to
// another. Blocks; throws StorageFailure.

#include <cstdint>
#include <filesystem>

#include "server/storage/Storage.h"

namespace zun::cloud {

// The state of one moment, while the service goes on. The file appears whole and synced, or not at all, and takes the
// place of one that was there. Returns the number of rows.
std::uint64_t backUp(Storage& storage, const std::filesystem::path& file);
// Replaces everything in the storage. Returns the number of rows.
std::uint64_t restoreFrom(const std::filesystem::path& file, Storage& storage);

}  // namespace zun::cloud
