// Runs lives of the simulation by their seeds: simulate --seeds A-B [--steps N] [--devices N] [--tell]. Ends with 1 if
// one failed, and says which; the same seed with the same numbers fails again.

#include <cstdlib>
#include <iostream>
#include <string>

#include "sync/Simulation.h"

int main(int count, char** arguments) {
    std::uint64_t first = 1, last = 100;
    zun::SimulationSize size;
    auto tell = zun::Tell::No;
    for (int i = 1; i < count; ++i) {
        const std::string option = arguments[i];
        const std::string value = i + 1 < count ? arguments[i + 1] : "";
        if (option == "--seeds") {
            first = last = std::strtoull(value.c_str(), nullptr, 10);
            if (const auto dash = value.find('-'); dash != std::string::npos)
                last = std::strtoull(value.c_str() + dash + 1, nullptr, 10);
        } else if (option == "--steps") {
            size.steps = std::atoi(value.c_str());
        } else if (option == "--devices") {
            size.devices = std::atoi(value.c_str());
        } else if (option == "--tell") {
            tell = zun::Tell::Yes;
        }
    }
    std::map<std::string, std::uint64_t> counts;
    std::uint64_t failed = 0;
    for (auto seed = first; seed <= last; ++seed) {
        const auto outcome = zun::simulate(seed, size, tell);
        for (const auto& [what, number] : outcome.counts)
            counts[what] += number;
        if (outcome.failures.empty()) continue;
        ++failed;
        std::cout << "seed " << seed << " failed:\n";
        for (const auto& failure : outcome.failures)
            std::cout << "  " << failure << "\n";
        std::cout.flush();
    }
    std::cout << (last - first + 1) << " seeds, " << failed << " failed\n";
    for (const auto& [what, number] : counts)
        std::cout << "  " << what << ": " << number << "\n";
    return failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
