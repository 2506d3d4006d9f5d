#pragma once

// Runs something again and again in a process of its own, and lets each of its system calls in turn meet each fault.
// For test programs that link FaultySystem.cpp.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "support/FaultySystem.h"
#include "support/TemporaryFolder.h"

namespace zun::faults {

struct FaultCase {
    const char* name;
    Fault fault;
};
inline constexpr FaultCase faultCases[] = {{"kill", Fault::Kill},
                                           {"power cut", Fault::PowerCut},
                                           {"failing call", Fault::Fail},
                                           {"full disk", Fault::DiskFull}};

// A sanitizer makes each run some ten times as long.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
inline constexpr std::uint64_t sweepStep = 9;
#else
inline constexpr std::uint64_t sweepStep = 1;
#endif

// The process and what it still tells once it has ended: a plain value of the test's own.
template <typename Promises>
class StruckProcess {
  public:
    StruckProcess()
        : _shared(static_cast<Shared*>(
              mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~StruckProcess() { munmap(_shared, sizeof(Shared)); }
    StruckProcess(const StruckProcess&) = delete;
    StruckProcess& operator=(const StruckProcess&) = delete;

    [[nodiscard]] const Promises& promises() const { return _shared->promises; }
    // Whether the last run came to its end, whatever it met.
    [[nodiscard]] bool wentOn() const { return _wentOn; }

    // Runs the block in a process of its own up to its n-th call; false if it made fewer.
    bool strike(Fault fault, std::uint64_t atCall, const std::function<void(Promises&)>& run) {
        *_shared = {};
        const pid_t child = fork();
        if (child == 0) {
            arm(fault, atCall);
            run(_shared->promises);
            _shared->struck = hasStruck();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        const bool ended = WIFEXITED(status) && WEXITSTATUS(status) == killedStatus;
        _wentOn = !ended;
        EXPECT_TRUE(ended || (WIFEXITED(status) && WEXITSTATUS(status) == 0))
            << "the process came to grief: " << status;
        return ended || _shared->struck;
    }

  private:
    struct Shared {
        Promises promises{};
        bool struck = false;
    };
    Shared* _shared;
    bool _wentOn = false;
};

// Calls `strike`, which says whether its call was met, for each fault and call on a copy of the prepared folder.
inline void sweep(
    const std::string& what, const std::filesystem::path& prepared,
    const std::function<bool(Fault fault, std::uint64_t call, const std::filesystem::path& folder)>& strike) {
    for (const FaultCase& faultCase : faultCases) {
        std::uint64_t call = 1;
        for (bool struck = true; struck; call += sweepStep) {
            SCOPED_TRACE(what + ", " + faultCase.name + " at call " + std::to_string(call));
            const TemporaryFolder folder;
            using Options = std::filesystem::copy_options;
            std::filesystem::copy(prepared, folder.path(), Options::recursive | Options::overwrite_existing);
            struck = strike(faultCase.fault, call, folder.path());
            if (testing::Test::HasFailure()) return;
        }
        // A sweep that met nothing has proved nothing.
        EXPECT_GT(call, 10u) << what << ", " << faultCase.name;
    }
}

}  // namespace zun::faults
