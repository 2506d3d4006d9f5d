#pragma once

// What the store's file looks like, and how it came to look so. A new file goes through every step as well, so that old
// and new files cannot differ.

#include <span>
#include <string_view>

#include "ZunDataModel/store/StoreConnection.h"

namespace zun {

// "Zun1" in the file's header.
inline constexpr int storeApplicationId = 0x5A756E31;

struct Migration {
    int toVersion;
    std::string_view reason;
    void (*apply)(StoreConnection& connection);
};

// In rising order, one for each version from 1.
[[nodiscard]] std::span<const Migration> storeMigrations();
[[nodiscard]] int currentStoreVersion();

// Brings the file from its version up to `upTo` in one transaction. Throws SQLite::Exception; then nothing has changed.
void migrate(StoreConnection& connection, int upTo = currentStoreVersion());

}  // namespace zun
