#pragma once

// Networks that come and go as a test says.

#include <mutex>
#include <utility>

#include "platform/reachability/NetworkMonitor.h"

namespace zun {

class FakeNetworkMonitor final : public NetworkMonitor {
  public:
    explicit FakeNetworkMonitor(NetworkState state = {}) : _state(state) {}

    void setState(NetworkState state) {
        std::function<void()> changed;
        {
            const std::scoped_lock lock(_mutex);
            _state = state;
            changed = _changed;
        }
        if (changed) changed();
    }
    NetworkState currentState() const override {
        const std::scoped_lock lock(_mutex);
        return _state;
    }
    void start(std::function<void()> changed) override {
        const std::scoped_lock lock(_mutex);
        _changed = std::move(changed);
    }
    void stop() override { start(nullptr); }

  private:
    mutable std::mutex _mutex;
    NetworkState _state;
    std::function<void()> _changed;
};

}  // namespace zun
