#pragma once

// The cloud in the running application: it follows the network, the account and the pushes of other devices, and tells
// the card screen how the sync goes. Made on the main thread after the core, gone before it.

#include <QFileSystemWatcher>
#include <memory>

#include "apps/wiring/Cloud.h"
#include "apps/zun/SyncService.h"
#include "cards/SyncStatus.h"
#include "platform/reachability/HostReachability.h"
#include "platform/reachability/SystemNetworkMonitor.h"

namespace zun {

class CloudOfApplication final : public SyncStatus {
  public:
    CloudOfApplication(const Home& home, Core& core);

    // Once the first picture stands: from here on, other devices are listened to.
    void start();
    // After each push of another device, on the main thread. Before start().
    void observeRemoteNotifications(Block handler);
    [[nodiscard]] Cloud& cloud() { return _cloud; }

    [[nodiscard]] bool isSyncing() const override { return _cloud.manager.isSyncing(); }
    [[nodiscard]] Observation observeIsSyncing(std::function<void()> handler) override {
        return _cloud.manager.observe({"isSyncing"}, [handler = std::move(handler)](std::string_view) { handler(); });
    }
    void syncChangesFromCloudKit() override { _cloud.manager.syncChangesFromCloudKit(); }

  private:
    [[nodiscard]] std::unique_ptr<Reachability> makeReachability();
    void followAccount();
    void sendForeignChanges();
    void watchAccountFile();

    Core& _core;
    std::unique_ptr<NetworkMonitor> _monitor;
    HostReachability* _reachability = nullptr;  // the cloud's
    Cloud _cloud;
    SyncService _service;
    QFileSystemWatcher _accountFile;
    LifeGuard _guard;
    Observation _session;
    Observation _foreignChanges;
    bool _foreignChangesWait = false;
    NSTimer _daily;
};

}  // namespace zun
