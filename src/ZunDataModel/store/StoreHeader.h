#pragma once

// The first page of a store's file. It holds the header and the schema, which are the same in every store, so a damaged
// one can be replaced; no record lies there.

#include <filesystem>

namespace zun {

// False if one of the header's fields that never change has changed, or there is no header. SQLite looks at few of
// them and reads nonsense through the others. True where the file cannot be read: opening it tells why. Throws nothing.
[[nodiscard]] bool hasSoundHeader(const std::filesystem::path& database);

// Copies the database with its write-ahead log, the first page replaced by that of a new store. `target` must not
// exist. Throws SQLite::Exception or std::system_error.
void copyWithNewFirstPage(const std::filesystem::path& database, const std::filesystem::path& target);

}  // namespace zun
