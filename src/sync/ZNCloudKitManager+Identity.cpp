#include <utility>

#include "sync/ZNCloudKitManager.h"

namespace zun {

void ZNCloudKitManager::createSubscriptionForReminders() {
    _with.subscriptions.createSubscriptionForRemindersWithSuccess(
        guarded([this](const std::optional<std::string>& subscriptionID) {
            defaults().onSetiCloudNotificationID(subscriptionID);
        }));
}

void ZNCloudKitManager::removeSubscriptionForReminders() {
    const auto subscriptionID = defaults().onGetiCloudNotificationID();
    if (!subscriptionID) return;
    _with.subscriptions.removeSubscriptionWithID(
        subscriptionID, guarded([this] { defaults().onSetiCloudNotificationID(std::nullopt); }));
}

void ZNCloudKitManager::createSharedSubscriptionForReminders() {
    if (!canShare()) return;
    if (_with.reminders.fetchAllSharedReminders().empty()) return removeSharedSubscriptionForReminders();
    _with.subscriptions.createSubscriptionForSharesWithSuccess(
        guarded([this](const std::optional<std::string>& subscriptionID) {
            defaults().onSetiCloudSharesNotificationID(subscriptionID);
        }));
}

void ZNCloudKitManager::removeSharedSubscriptionForReminders() {
    if (!canShare() || !defaults().onGetiCloudSharesNotificationID()) return;
    // By the reminders' identifier: the shares' subscription stays at the service, and the next one that is made finds
    // it as a duplicate.
    _with.subscriptions.removeShareSubscriptionWithID(defaults().onGetiCloudNotificationID(), guarded([this] {
                                                          defaults().onSetiCloudSharesNotificationID(std::nullopt);
                                                      }));
}

void ZNCloudKitManager::resetSyncCache() {
    _privateTokens->forget();
    _sharedTokens->forget();
    StoredSyncCache(defaults()).resetSyncCache();
}

void ZNCloudKitManager::checkForUpdatedUbiquityIdentity() {
    const std::lock_guard lock(_identityMutex);
    const auto current = _with.container.ubiquityIdentityToken();
    const auto stored = defaults().onGetUseriCloudIdentityToken();
    if (!stored) {
        defaults().onSetUseriCloudIdentityToken(current);
    } else if (!current) {
        defaults().onSetUseriCloudIdentityToken(std::nullopt);
        identityDidChange(ShouldDelete::No);
    } else if (*current != *stored) {
        defaults().onSetUseriCloudIdentityToken(current);
        identityDidChange(ShouldDelete::Yes);
    }
    if (!current || current == defaults().onGetIdentityOfSentReminders()) return;
    // Whatever is still here, this account has never seen it.
    _with.reminders.forgetThatRemindersWereSent();
    defaults().onSetIdentityOfSentReminders(current);
}

void ZNCloudKitManager::identityDidChange(ShouldDelete shouldDeleteData) {
    {
        // The zone is named by its owner, and the other account may not have it.
        const std::lock_guard lock(_mutex);
        _privateRecordZoneID.reset();
    }
    if (!_with.settings.onGetCloudKitStatus()) return;
    // What is still on its way from the former account is not wanted any more.
    _privateTokens->forget();
    _sharedTokens->forget();
    if (shouldDeleteData == ShouldDelete::Yes) _with.reminders.clearCoreData();
    resetSyncCache();
}

void ZNCloudKitManager::serviceWasRestored() {
    resetSyncCache();
    _with.reminders.forgetThatRemindersWereSent();
}

}  // namespace zun
