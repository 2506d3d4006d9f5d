#pragma once

// Whether one host can be reached. Says nothing until it is started; then one of the blocks runs with the first finding
// and with each change, on the watcher's own thread. Runs until it is destroyed.

#include <cstdint>
#include <functional>

namespace zun {

enum class NetworkStatus : std::int64_t {
    NotReachable = 0,
    ReachableViaWWAN = 1,  // through a wide-area network
    ReachableViaWiFi = 2,  // through a local one
};

class Reachability {
  public:
    virtual ~Reachability() = default;
    // Before it is started.
    virtual void setReachableBlock(std::function<void()> block) = 0;
    virtual void setUnreachableBlock(std::function<void()> block) = 0;
    virtual void startNotifier() = 0;
    [[nodiscard]] virtual NetworkStatus currentReachabilityStatus() const = 0;
};

}  // namespace zun
