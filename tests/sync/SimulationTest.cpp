#include <gtest/gtest.h>

#include "sync/Simulation.h"

namespace zun {
namespace {

// Short lives, many of them: most faults need few steps. The program "simulate" runs longer ones, and one again.
TEST(Simulation, DevicesAgreeAndNothingIsLost) {
    constexpr std::uint64_t seeds = 1'500;
    std::map<std::string, std::uint64_t> counts;
    for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
        const auto outcome = simulate(seed, {.devices = 2 + static_cast<int>(seed % 2), .steps = 12});
        for (const auto& failure : outcome.failures)
            ADD_FAILURE() << "seed " << seed << ": " << failure;
        for (const auto& [what, number] : outcome.counts)
            counts[what] += number;
        if (HasFailure()) break;
    }
    // A simulation in which nothing goes wrong proves nothing.
    for (const auto* what : {"faults: lost requests", "faults: lost answers", "faults: doubled requests",
                             "faults: throttled", "faults: lost pushes", "steps: power cut", "steps: service dies"})
        EXPECT_GT(counts[what], 0u) << what;
}

}  // namespace
}  // namespace zun
