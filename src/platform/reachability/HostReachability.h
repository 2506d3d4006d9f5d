#pragma once

// Whether the host of the configured service can be reached, as far as the machine's networks tell. Nothing is sent.
//
//     a host on this machine or its local network   always, status 2
//     any other, online, over a metered network     status 1
//     any other, online                             status 2
//     any other, offline                            not reachable
//
// Any thread. The blocks run on a serial queue of the dispatch, and not any more once this is destroyed.

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/BlockGate.h"
#include "platform/foundation/Dispatch.h"
#include "platform/reachability/NetworkMonitor.h"
#include "platform/reachability/Reachability.h"

namespace zun {

// True for names and addresses that no way out of the local networks is needed for.
[[nodiscard]] bool isLocalHost(std::string_view host);

class HostReachability final : public Reachability {
  public:
    // The collaborators outlive it; the monitor has not been started and serves only this.
    static std::unique_ptr<HostReachability> reachabilityWithHostname(std::string host, NetworkMonitor& monitor,
                                                                      Dispatch& dispatch);
    ~HostReachability() override;

    void setReachableBlock(std::function<void()> block) override { _reachable = std::move(block); }
    void setUnreachableBlock(std::function<void()> block) override { _unreachable = std::move(block); }
    void startNotifier() override;
    [[nodiscard]] NetworkStatus currentReachabilityStatus() const override { return _status; }
    // Another service was configured.
    void setHostname(std::string host);

  private:
    HostReachability(std::string host, NetworkMonitor& monitor, Dispatch& dispatch);
    void lookAgain();
    void look();

    NetworkMonitor& _monitor;
    const DispatchQueuePtr _queue;
    const std::shared_ptr<BlockGate> _gate;
    std::function<void()> _reachable, _unreachable;
    std::mutex _mutex;
    std::string _host;
    bool _isStarted = false;
    std::optional<NetworkStatus> _told;  // the queue's own
    std::atomic<NetworkStatus> _status = NetworkStatus::NotReachable;
};

}  // namespace zun
