#include "sync/ZNStateManager.h"

namespace zun {

ZNStateManager::ZNStateManager(Dispatch& dispatch, Reachability& reachability)
    : _reachability(reachability), _guard(dispatch) {
    _reachability.setReachableBlock(_guard.guarded([this] { becameReachable(); }));
    _reachability.setUnreachableBlock(_guard.guarded([this] { setConnectionState(ZNConnectionState::NotReachable); }));
    _reachability.startNotifier();
}

void ZNStateManager::becameReachable() {
    switch (_reachability.currentReachabilityStatus()) {
        case NetworkStatus::ReachableViaWWAN:
            return setConnectionState(ZNConnectionState::ReachableViaWWAN);
        case NetworkStatus::ReachableViaWiFi:
            return setConnectionState(ZNConnectionState::ReachableViaWiFi);
        // It has gone again; the other block tells.
        case NetworkStatus::NotReachable:
            return;
    }
}

void ZNStateManager::setConnectionState(ZNConnectionState state) {
    if (_connectionState.exchange(state) != state) didChangeValueForKey("connectionState");
}

}  // namespace zun
