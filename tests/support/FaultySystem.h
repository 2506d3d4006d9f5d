#pragma once

// System calls that fail or end the process at a chosen moment. A test program that links FaultySystem.cpp has its own
// definitions of the calls by which files are changed (SQLite's included); they do what the system's do until the
// chosen call comes, except that no sync waits for the disk. One thread.

#include <cstdint>
#include <filesystem>
#include <functional>

namespace zun::faults {

enum class Fault {
    Kill,      // half of the write is done, then the process ends
    PowerCut,  // of the writes and names that no sync has made durable some are lost, then the process ends
    Fail,      // this one call fails (EIO)
    DiskFull,  // this and every later call that needs room fails (ENOSPC); the others are not counted
};

// The process that was ended exits with this.
inline constexpr int killedStatus = 86;

// From now on counts the calls and lets the one with this number, from 1, meet the fault.
void arm(Fault fault, std::uint64_t atCall);
// True once the chosen call has come.
[[nodiscard]] bool hasStruck();

// For one of several programs that live in this process: counts only calls for what is below the folder. At the chosen
// one the block finds the files as a kill or a power cut would leave them; then all is as if nothing had happened. The
// folder may not move meanwhile.
void arm(Fault fault, std::uint64_t atCall, const std::filesystem::path& folder, std::function<void()> atStrike);
void disarm();

}  // namespace zun::faults
