#include <fmt/format.h>

#include <utility>

#include "core/NotificationNames.h"
#include "platform/foundation/Log.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

// Runs its block at the second call; the calls come from two branches of a pass.
class JoinOfTwo {
  public:
    explicit JoinOfTwo(Block block) : _block(std::move(block)) {}
    void call() {
        if (++_calls == 2) _block();
    }

  private:
    const Block _block;
    std::atomic<int> _calls = 0;
};

SyncStepPtr step(Block body) {
    return std::make_shared<SyncStep>(std::move(body));
}

}  // namespace

void ZNCloudKitManager::syncChangesFromCloudKit() {
    if (!defaults().onGetDidClearCacheForTwoOh()) {
        resetSyncCache();
        defaults().onSetDidClearCacheForTwoOh(true);
    }
    _with.container.accountStatusWithCompletionHandler(guarded([this](AccountStatus status) {
        _hasiCloudAccess = status == AccountStatus::Available;
        takeUpIdentity([this] { startPassIfAllowed(); });
    }));
}

bool ZNCloudKitManager::isPassUnderWay() const {
    const std::lock_guard lock(_mutex);
    return _timeoutTimer.isValid() || _isWatchdogAwaited;
}

void ZNCloudKitManager::startPassIfAllowed() {
    if (!_hasiCloudAccess) return;
    if (!_with.stateManager.isConnected()) {
        setIsSyncing(true);
        _with.notifications.postNotificationName(ZNiCloudSyncUnreachableError);
        return setIsSyncing(false);
    }
    {
        const std::lock_guard lock(_mutex);
        if (_timeoutTimer.isValid() || _isWatchdogAwaited || _isSyncing) return;
        _isWatchdogAwaited = true;
        _failure.reset();
    }
    _isAnotherPassWanted = false;
    _syncStart = _with.dispatch.uptime();
    startGraph();
}

void ZNCloudKitManager::startGraph() {
    const Failure fail = [this](const OptionalError& error) {
        handleError(error);
        onSyncComplete();
    };
    const auto enqueue = [this](const SyncStepPtr& next) { return [this, next] { _syncQueue.addOperation(next); }; };
    const auto join = std::make_shared<JoinOfTwo>([this] {
        NSLog(fmt::format("Syncing took {:f} seconds", elapsed()));
        onSyncComplete();
    });

    const auto shared = step([this, join] {
        handleSharedChanges([join] { join->call(); }, ShouldRetry::No, QualityOfService::UserInitiated);
    });
    const auto remoteFetch = step([this, next = enqueue(shared), fail] {
        fetchRemoteChangesAndDeletions(QualityOfService::UserInitiated, next, fail);
    });
    const auto changes =
        step([this, next = enqueue(remoteFetch), fail] { pushLocalChanges(next, fail, ShouldRetry::No); });
    const auto additions =
        step([this, next = enqueue(changes), fail] { pushLocalAdditions(next, fail, ShouldRetry::No); });
    const auto migration = step([this, next = enqueue(additions), fail] {
        const auto completed = [this, next] {
            next();
            _didMigrate = true;
        };
        migrateCloudKitDataToPrivateZone(next, completed, fail);
    });
    const auto deletedItems = step([this] { checkForDeletedItemsBecauseCloudKitNotificationsSometimesFail(); });
    const auto zone = step([this, migrate = enqueue(migration), check = enqueue(deletedItems), fail] {
        const auto completion = [migrate, check] {
            migrate();
            check();
        };
        fetchPrivateRecordZone(completion, fail);
    });
    const auto zoneForSharesOnly =
        step([this, next = enqueue(remoteFetch), fail] { fetchPrivateRecordZone(next, fail); });

    startWatchdog();
    if (_with.settings.onGetCloudKitStatus()) {
        setIsSyncing(true);
        _syncQueue.addOperation(zone);
    } else if (canShare()) {
        _syncQueue.addOperation(zoneForSharesOnly);
    }
    _syncQueue.addOperation(step([this, join] { handleLocalDeletions([join] { join->call(); }); }));
    _syncQueue.addOperation(step([this] { _with.reminders.deDupeDatabase(); }));
    _syncQueue.addOperation(step([this] { createSubscriptionForReminders(); }));
    _syncQueue.addOperation(step([this] { createSharedSubscriptionForReminders(); }));
}

void ZNCloudKitManager::startWatchdog() {
    onMainThread(_with.dispatch, guarded([this] {
                     const std::lock_guard lock(_mutex);
                     // The pass may have ended before the main queue came to this.
                     if (!std::exchange(_isWatchdogAwaited, false)) return;
                     _timeoutTimer = NSTimer(_with.dispatch.main(), watchdogTime, false,
                                             guarded([this] { timeoutPeriodReached(); }));
                 }));
}

void ZNCloudKitManager::onSyncComplete() {
    // The settings wait for the disk, which the main thread must not.
    _with.dispatch.concurrent(QualityOfService::UserInitiated)->async(guarded([this] {
        if (!_didReceiveCriticalError.exchange(false)) defaults().onSetLastSyncDate(_with.environment.now());
        endPass();
    }));
}

void ZNCloudKitManager::endPass() {
    onMainThread(_with.dispatch, guarded([this] {
                     setIsSyncing(false);
                     {
                         const std::lock_guard lock(_mutex);
                         _isWatchdogAwaited = false;
                         _timeoutTimer.invalidate();
                     }
                     // A pass that moved data is followed by a normal one, and only that is the end.
                     if (_didMigrate.exchange(false)) return syncChangesFromCloudKit();
                     _with.notifications.postNotificationName(ZNiCloudSyncFinished);
                     if (_isAnotherPassWanted) syncChangesFromCloudKit();
                 }));
}

void ZNCloudKitManager::timeoutPeriodReached() {
    _with.notifications.postNotificationName(ZNiCloudSyncTimeoutError);
    setIsSyncing(false);
    _syncQueue.cancelAllOperations();
}

}  // namespace zun
