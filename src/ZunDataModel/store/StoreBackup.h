#pragma once

// Dated copies of the whole store, made before a step that cannot be taken back. Throws SQLite::Exception or
// std::system_error; then no backup with a final name has appeared and the step must not be taken.

#include <filesystem>
#include <string_view>
#include <vector>

#include "ZunDataModel/store/StoreConnection.h"
#include "ZunDataModel/store/StoreFiles.h"

namespace zun {

// The reason of the backups that the sweep of old completed reminders makes; there are others of these to keep.
inline constexpr std::string_view routineReason = "completed";

// Durable on return. Drops the oldest backups beyond the numbers kept.
void backUp(StoreConnection& connection, const StoreFiles& files, NSDate now, std::string_view reason);

// Newest first; complete ones only.
[[nodiscard]] std::vector<std::filesystem::path> listBackups(const StoreFiles& files);

}  // namespace zun
