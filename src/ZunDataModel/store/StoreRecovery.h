#pragma once

// Getting records out of a file that SQLite no longer trusts. The damaged file is only read, then kept under another
// name.

#include <cstddef>
#include <filesystem>

#include "ZunDataModel/store/StoreFiles.h"

namespace zun {

struct Salvage {
    std::size_t records = 0;     // read from the damaged file
    std::size_t fromBackup = 0;  // of those lost in it, taken from the newest backup
    bool complete = false;       // every row could be read
    std::filesystem::path setAside;
};

// Builds a sound store from what the damaged one still gives, puts the damaged file aside and the new one in its place.
// Where rows were lost, records of the newest backup that were not removed since are added. Needs the store's lock and
// nobody else who has the store open. Throws SQLite::Exception or std::system_error; whatever moment it ends at, the
// next opening goes on from there and no file is gone.
[[nodiscard]] Salvage rebuildStore(const StoreFiles& files, NSDate now);

// Finishes a rebuilding that was cut off after the damaged file had been put aside. True if there was one.
[[nodiscard]] bool finishRebuilding(const StoreFiles& files, NSDate now);

}  // namespace zun
