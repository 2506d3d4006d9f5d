#include "core/ClockWitness.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "platform/foundation/Log.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

enum class Machine { Runs, IsOff };

// What happens before a look: time passes, and then someone sets the clock.
struct Step {
    Machine machine;
    microseconds passes;
    microseconds clockIsSetBy;
    bool hasJumped;
};

struct Case {
    const char* name;
    std::vector<Step> steps;
};

constexpr auto day = 24h;
using enum Machine;

const Case cases[] = {
    {"a machine that runs for months", {{Runs, 1h, 0s, false}, {Runs, 100 * day, 0s, false}}},
    {"small steps of a time service", {{Runs, 1h, 60s, false}, {Runs, 1h, -60s, false}}},
    {"set ahead by more", {{Runs, 1h, 61s, true}}},
    {"set back by more", {{Runs, 1h, -61s, true}}},
    {"a day later it counts no more", {{Runs, 1h, 365 * day, true}, {Runs, day - 1s, 0s, true}, {Runs, 1s, 0s, false}}},
    {"the way back is a jump as well", {{Runs, 1h, 365 * day, true}, {Runs, 2 * day, -365 * day, true}}},
    {"switched off for a week", {{IsOff, 7 * day, 0s, false}}},
    {"switched off for longer", {{IsOff, 7 * day + 1s, 0s, true}}},
    {"started with a clock that lags", {{IsOff, 1h, -1h - 60s, false}, {IsOff, 1h, -1h - 61s, true}}},
    {"started with a clock of another year", {{IsOff, 1h, -365 * day, true}}},
    // The clock says three days later, but has just been seen to jump; only running time counts.
    {"a jump outlives a start", {{Runs, 1h, 2h, true}, {IsOff, 3 * day, 0s, true}, {Runs, day, 0s, false}}},
    {"jumps add nothing to each other", {{Runs, 1h, 2h, true}, {Runs, 12h, 2h, true}, {Runs, day, 0s, false}}},
};

TEST(ClockWitness, ComparesTheClockWithTheTimeThatTheMachineRan) {
    for (const auto& tested : cases) {
        SCOPED_TRACE(tested.name);
        TestEnvironment environment;
        const TemporaryFolder folder;
        const ClockWitness witness(folder.path() / "state", environment);
        EXPECT_FALSE(witness.hasJumpedWithinADay()) << "the first look";
        int boots = 1;
        for (const auto& step : tested.steps) {
            if (step.machine == Runs) {
                environment.advance(step.passes);
            } else {
                environment.setBootTime("boot-" + std::to_string(++boots), 0s);
                environment.setNow(environment.now() + step.passes);
            }
            environment.setNow(environment.now() + step.clockIsSetBy);
            // Another program sees the same.
            const ClockWitness other(folder.path() / "state", environment);
            EXPECT_EQ(other.hasJumpedWithinADay(), step.hasJumped) << "step " << (&step - tested.steps.data());
            EXPECT_EQ(witness.hasJumpedWithinADay(), step.hasJumped);
        }
    }
}

TEST(ClockWitness, WhatCannotBeReadSaysNothingForTheClock) {
    const ScopedLogSink sink([](std::string_view) {});
    TestEnvironment environment;
    const TemporaryFolder folder;
    const ClockWitness witness(folder.path(), environment);
    EXPECT_FALSE(witness.hasJumpedWithinADay());
    const auto file = std::filesystem::directory_iterator(folder.path())->path();
    for (const auto* text : {R"({"lastLook": ""})", R"({"lastLook": "2026-02-30T10:00:00Z 0 0 boot-1"})",
                             R"({"lastLook": "2026-01-14T10:00:00Z 0"})"}) {
        std::ofstream(file) << text;
        EXPECT_TRUE(witness.hasJumpedWithinADay()) << text;
        environment.advance(day);
        EXPECT_FALSE(witness.hasJumpedWithinADay()) << "it was written anew";
    }
}

}  // namespace
}  // namespace zun
