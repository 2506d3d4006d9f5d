#pragma once

// What a program that syncs has beside the core: the road to the service, the databases, the pass and the pushes. Made
// after the core and gone before it.

#include <memory>

#include "account/AccountClient.h"
#include "account/AccountTransport.h"
#include "apps/wiring/Core.h"
#include "platform/cloudkit/CKPushReceiver.h"
#include "platform/cloudkit/CloudContainer.h"
#include "platform/cloudkit/HttpTransport.h"
#include "platform/cloudkit/RecordCache.h"
#include "platform/reachability/Reachability.h"
#include "sync/SyncJournal.h"
#include "sync/ZNCloudKitManager.h"
#include "sync/ZNCloudKitSubscriptionManager.h"
#include "sync/ZNStateManager.h"

namespace zun {

// What a person means by the cache: also the records that were read, which the sync itself need not forget, since they
// belong to one account and one state of its service.
class WholeSyncCache final : public SyncCache {
  public:
    WholeSyncCache(SyncCache& tokens, RecordCache& records, Dispatch& dispatch)
        : _tokens(tokens), _records(records), _dispatch(dispatch), _guard(dispatch) {}
    void resetSyncCache() override {
        _tokens.resetSyncCache();
        _dispatch.concurrent(QualityOfService::UserInitiated)->async(_guard.guarded([this] { _records.forgetAll(); }));
    }

  private:
    SyncCache& _tokens;
    RecordCache& _records;
    Dispatch& _dispatch;
    const LifeGuard _guard;
};

struct Cloud {
    Cloud(const Home& home, Core& core, std::unique_ptr<Reachability> watcher)
        : makeTransport([&core](const ServiceAddress& address) {
              return std::make_shared<HttpTransport>(address, core.dispatch, core.environment);
          }),
          transport(core.keeper, makeTransport),
          client({core.keeper, transport, makeTransport}),
          cache(home.state / "cloud"),
          container({transport, core.keeper, core.dispatch, core.notifications, cache}),
          reachability(std::move(watcher)),
          stateManager(core.dispatch, *reachability),
          subscriptions(core.dispatch, container),
          manager({container, core.manager, core.settings, stateManager, subscriptions, core.cloud, core.notifications,
                   core.environment, core.dispatch}),
          wholeCache(manager, cache, core.dispatch),
          journal({manager, core.keeper, core.defaults, core.notifications, core.dispatch}),
          pushes(transport, core.keeper, core.dispatch,
                 [this](const CKNotification& notification) {
                     manager.didReceiveRemoteNotification(notification);
                     if (remoteNotificationWasTaken) remoteNotificationWasTaken();
                 }),
          guard(core.dispatch),
          epochs(core.keeper.observeEpoch(guard.guarded([this](const std::string& accountID, const std::string& epoch) {
              manager.serviceWillHaveEpoch(accountID, epoch);
          }))) {}

    TransportFactory makeTransport;
    AccountTransport transport;
    AccountClient client;
    RecordCache cache;
    CloudContainer container;
    std::unique_ptr<Reachability> reachability;
    ZNStateManager stateManager;
    ZNCloudKitSubscriptionManager subscriptions;
    ZNCloudKitManager manager;
    WholeSyncCache wholeCache;
    SyncJournal journal;
    Block remoteNotificationWasTaken;  // set before the pushes are started; runs on their queue
    CKPushReceiver pushes;
    LifeGuard guard;
    Observation epochs;
};

}  // namespace zun
