#pragma once

// What the store found, in words for people and codes for programs.

#include <filesystem>
#include <string>
#include <vector>

namespace zun {

enum class StoreErrorCode {
    CannotOpen,  // folder missing and not makeable, no permission
    ReadOnly,    // can be read, not written
    DiskFull,
    Damaged,       // set aside; what could be read was salvaged
    NewerVersion,  // written by a newer program: opened for reading only
    Busy,          // another process held the store for longer than the wait
    Other,
};

struct StoreError {
    StoreErrorCode code = StoreErrorCode::Other;
    std::string message;  // one English sentence, without a path of the program
};

struct StoreHealth {
    bool canRead = false;
    bool canWrite = false;
    std::vector<StoreError> findings;
    // Where a damaged file was put, and how many records came out of it.
    std::filesystem::path setAside;
    std::size_t salvaged = 0;
};

}  // namespace zun
