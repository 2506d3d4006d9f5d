#include "sync/ZNCloudKitManager.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/NotificationNames.h"

namespace zun {

namespace {

// No service asks for more, and the clock of the queues could not count it.
constexpr double longestWait = 86'400;
constexpr double microsecondsPerSecond = 1'000'000;

}  // namespace

ZNCloudKitManager::ZNCloudKitManager(Collaborators collaborators)
    : _with(collaborators),
      _privateTokens(std::make_shared<ChangeTokens>(defaults(), CloudDatabaseKind::Private)),
      _sharedTokens(std::make_shared<ChangeTokens>(defaults(), CloudDatabaseKind::Shared)),
      _guard(collaborators.dispatch),
      _syncQueue(collaborators.dispatch, _guard) {
    _observations.push_back(_with.settings.observe({"shouldUseCloudKit"}, guarded([this](std::string_view) {
                                                       _with.settings.onGetCloudKitStatus()
                                                           ? createSubscriptionForReminders()
                                                           : removeSubscriptionForReminders();
                                                   })));
    _observations.push_back(_with.stateManager.observe({"connectionState"}, guarded([this](std::string_view) {
                                                           if (_with.stateManager.isConnected())
                                                               syncChangesFromCloudKit();
                                                       })));
    _observations.push_back(_with.notifications.addObserver(
        NSUbiquityIdentityDidChangeNotification, guarded([this](const NSNotification&) { takeUpIdentity([] {}); })));
    _with.pushes.connect(*this);
}

ZNCloudKitManager::~ZNCloudKitManager() {
    _with.pushes.disconnect();
    _observations.clear();
    // What waits in a queue may hold the tokens for longer than the settings live.
    for (const auto& tokens : {_privateTokens, _sharedTokens})
        tokens->close();
}

CKDatabase& ZNCloudKitManager::database(CloudDatabaseKind kind) const {
    return kind == CloudDatabaseKind::Private ? _with.container.privateCloudDatabase()
                                              : _with.container.sharedCloudDatabase();
}

double ZNCloudKitManager::elapsed() const {
    return std::chrono::duration<double>(_with.dispatch.uptime() - _syncStart.load()).count();
}

void ZNCloudKitManager::setIsSyncing(bool isSyncing) {
    _isSyncing = isSyncing;
    didChangeValueForKey("isSyncing");
}

void ZNCloudKitManager::postSyncError(const OptionalError& error) {
    _with.notifications.postNotificationName(ZNiCloudSyncError, error ? std::any(*error) : std::any());
}

void ZNCloudKitManager::handleError(const OptionalError& error) {
    const auto type = ZNCloudKitErrorHandler::handleError(error);
    if (type == ZNCloudKitErrorType::None) return;
    if (type == ZNCloudKitErrorType::Unhandled) {
        _with.notifications.postNotificationName(ZNiCloudSyncFatalError);
        postSyncError(error);
    }
    if (type == ZNCloudKitErrorType::Unreachable)
        _with.notifications.postNotificationName(ZNiCloudSyncUnreachableError);
    _didReceiveCriticalError = true;
    const std::lock_guard lock(_mutex);
    _failure = error;
}

OptionalError ZNCloudKitManager::failure() const {
    const std::lock_guard lock(_mutex);
    return _failure;
}

bool ZNCloudKitManager::retryAfter(const OptionalError& error, Block block, Block givenUp) {
    const double seconds = error ? error->retryAfter() : 0;
    if (!(seconds > 0)) return false;
    const std::chrono::microseconds wait(
        static_cast<std::int64_t>(std::min(seconds, longestWait) * microsecondsPerSecond));
    _with.dispatch.main()->asyncAfter(
        wait, guarded([this, block = std::move(block), givenUp = std::move(givenUp),
                       asked = _with.container.ubiquityIdentityToken()] {
            // What was meant for one account is not for another, whose first pass may have been refused meanwhile. With
            // nobody signed in it fails by itself.
            const auto now = _with.container.ubiquityIdentityToken();
            const bool isForAnother = now && asked && *now != *asked;
            if (isForAnother) _isAnotherPassWanted = true;
            _with.dispatch.concurrent(QualityOfService::UserInitiated)->async(guarded(isForAnother ? givenUp : block));
        }));
    return true;
}

void ZNCloudKitManager::accountStatusWithCompletionHandler(StatusHandler handler) {
    _with.container.accountStatusWithCompletionHandler(std::move(handler));
}

void ZNCloudKitManager::didReceiveRemoteNotification(const CKNotification& notification) {
    if (notification.notificationType == CKNotification::Type::Query && notification.recordID)
        return remoteRecordIDWasUpdated(*notification.recordID);
    if (notification.subscriptionID == sharedChangesSubscriptionID) return handleRemoteShareNotification();
    syncChangesMadeElsewhere();
}

void ZNCloudKitManager::syncChangesMadeElsewhere() {
    // A pass that is under way may have read past them already.
    _isAnotherPassWanted = true;
    syncChangesFromCloudKit();
}

void ZNCloudKitManager::handleRemoteShareNotification() {
    _syncQueue.addOperation(
        std::make_shared<SyncStep>([this] { handleSharedChanges({}, ShouldRetry::No, QualityOfService::Utility); }));
}

}  // namespace zun
