#pragma once

// One life of five devices, drawn from a seed: people write, complete, delete, reorder, sign out and in; programs end
// or are cut off; clocks are wrong by up to an hour; the network loses, doubles and delays, the service throttles, dies
// and comes back. Then all of it heals, the devices sync, and a model says what must be found.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zun {

struct SimulationOutcome {
    std::vector<std::string> failures;            // empty: all is as it must be
    std::map<std::string, std::uint64_t> counts;  // steps and faults of each kind, and what was let pass
};

struct SimulationSize {
    int devices = 5;
    int steps = 40;
};

// The same seed and size give the same life. With `tell`, each step is printed as it happens.
enum class Tell { No, Yes };
[[nodiscard]] SimulationOutcome simulate(std::uint64_t seed, SimulationSize size, Tell tell = Tell::No);

}  // namespace zun
