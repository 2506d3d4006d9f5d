#include <gtest/gtest.h>

#include "sync/Simulation.h"

namespace zun {
namespace {

// Short lives, many of them: most faults need few steps. The program "simulate" runs longer ones, and one again. In
// parts, which can run at the same time.
class Simulation : public testing::TestWithParam<std::uint64_t> {};

TEST_P(Simulation, DevicesAgreeAndNothingIsLost) {
    constexpr std::uint64_t seeds = 750;
    std::map<std::string, std::uint64_t> counts;
    for (std::uint64_t seed = GetParam() * seeds + 1; seed <= (GetParam() + 1) * seeds; ++seed) {
        const auto outcome = simulate(seed, {.devices = 2 + static_cast<int>(seed % 2), .steps = 12});
        for (const auto& failure : outcome.failures)
            ADD_FAILURE() << "seed " << seed << ": " << failure;
        for (const auto& [what, number] : outcome.counts)
            counts[what] += number;
        if (HasFailure()) break;
    }
    // A simulation in which nothing goes wrong proves nothing.
    for (const auto* what :
         {"faults: lost requests", "faults: lost answers", "faults: doubled requests", "faults: throttled",
          "faults: lost pushes", "faults: power cuts between writes", "faults: power cuts within a write",
          "faults: kills within a write", "faults: service ends within a commit",
          "faults: service ends after a commit that nobody hears of", "faults: service restored from a backup",
          "faults: expired tokens", "faults: full quotas", "deletions that nothing may undo"})
        EXPECT_GT(counts[what], 0u) << what;
}

INSTANTIATE_TEST_SUITE_P(Parts, Simulation, testing::Range<std::uint64_t>(0, 4));

}  // namespace
}  // namespace zun
