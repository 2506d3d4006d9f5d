#pragma once

// What the system knows about its networks, and a word when it changes.

#include <functional>

namespace zun {

struct NetworkState {
    bool isOnline = false;   // there is a way out of the local networks
    bool isMetered = false;  // and it costs by use, as a telephone's does
    bool operator==(const NetworkState&) const = default;
};

class NetworkMonitor {
  public:
    virtual ~NetworkMonitor() = default;
    // Any thread. May read some small files of the system.
    [[nodiscard]] virtual NetworkState currentState() const = 0;
    // Once. The block runs on any thread whenever the state may have changed, and not any more after stop().
    virtual void start(std::function<void()> changed) = 0;
    virtual void stop() = 0;
};

}  // namespace zun
