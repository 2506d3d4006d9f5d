#pragma once

// Whether the service can be reached, by what the watcher of its host says. Observable: "connectionState" is told for
// each change. Any thread; the watcher's blocks run on the watcher's own.

#include <atomic>
#include <cstdint>

#include "platform/foundation/KeyValueObserving.h"
#include "platform/reachability/Reachability.h"
#include "sync/LifeGuard.h"

namespace zun {

enum class ZNConnectionState : std::uint64_t {
    NotReachable = 0,      // also until the watcher first reports
    ReachableViaWWAN = 1,  // through a wide-area network
    ReachableViaWiFi = 2,  // through a local one
};

class ZNStateManager final : public KeyValueObservable {
  public:
    // Takes the watcher's blocks and starts it. The watcher outlives the state.
    ZNStateManager(Dispatch& dispatch, Reachability& reachability);

    [[nodiscard]] ZNConnectionState connectionState() const { return _connectionState; }
    void setConnectionState(ZNConnectionState state);
    [[nodiscard]] bool isConnected() const { return connectionState() != ZNConnectionState::NotReachable; }

  private:
    void becameReachable();

    Reachability& _reachability;
    std::atomic<ZNConnectionState> _connectionState = ZNConnectionState::NotReachable;
    LifeGuard _guard;
};

}  // namespace zun
