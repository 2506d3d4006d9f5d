#pragma once

// The records of a store's file that is not in use: a backup, or a copy. It is only read, and nothing is made beside
// it.

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

// By its first bytes. False for a file that cannot be read.
[[nodiscard]] bool isDatabaseFile(const std::filesystem::path& file);

// All but those that were still to be deleted, or why there are none: the end of a sentence.
[[nodiscard]] std::variant<std::vector<ReminderAttributes>, std::string> recordsOfStoreFile(
    const std::filesystem::path& file);

}  // namespace zun
