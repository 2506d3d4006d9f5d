#include <algorithm>
#include <ranges>
#include <utility>

#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

// The account at the service in this state.
Bytes holderOf(const Bytes& identity, const std::string& epoch) {
    auto holder = identity;
    holder.insert(holder.end(), epoch.begin(), epoch.end());
    return holder;
}

}  // namespace

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

void ZNCloudKitManager::takeUpIdentity(Block then) {
    if (_with.dispatch.main()->isCurrent()) {
        // Whoever has it may be reading all that is stored.
        std::unique_lock lock(_identityMutex, std::try_to_lock);
        if (!lock || !isIdentityTakenUp())
            return _with.dispatch.concurrent(QualityOfService::UserInitiated)
                ->async(guarded([this, then = std::move(then)] { takeUpIdentity(then); }));
    } else {
        checkForUpdatedUbiquityIdentity();
    }
    then();
}

// By what is in memory alone.
bool ZNCloudKitManager::isIdentityTakenUp() const {
    const auto current = _with.container.ubiquityIdentityToken();
    if (current != defaults().onGetUseriCloudIdentityToken()) return false;
    if (!current) return true;
    const auto holder = holderOf(*current, _with.container.serviceEpoch());
    return holder == _takenIdentity || holder == defaults().onGetIdentityOfSentReminders();
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
    if (current) fitMarksTo(*current, _with.container.serviceEpoch());
}

void ZNCloudKitManager::serviceWillHaveEpoch(const std::string& accountID, const std::string& epoch) {
    const std::lock_guard lock(_identityMutex);
    fitMarksTo(Bytes(accountID.begin(), accountID.end()), epoch);
}

void ZNCloudKitManager::fitMarksTo(const Bytes& identity, const std::string& epoch) {
    const auto holder = holderOf(identity, epoch);
    const auto former = defaults().onGetIdentityOfSentReminders();
    if (holder == former || holder == _takenIdentity) return;
    _takenIdentity = holder;
    // A service that was set back to an earlier state knows nothing of what it was sent since.
    const bool wasRestored = former && std::ranges::equal(identity, *former | std::views::take(identity.size()));
    if (wasRestored) {
        resetSyncCache();
        forgetZone();
    }
    // Whatever is still here, this account at this service has never seen it.
    _with.reminders.forgetThatRemindersWereSent(
        wasRestored ? UnsentDeletions::Keep : UnsentDeletions::Forget,
        guarded([this, holder] { defaults().onSetIdentityOfSentReminders(holder); }));
}

void ZNCloudKitManager::forgetZone() {
    const std::lock_guard lock(_mutex);
    _privateRecordZoneID.reset();
}

void ZNCloudKitManager::identityDidChange(ShouldDelete shouldDeleteData) {
    // The zone is named by its owner, and the other account may not have it.
    forgetZone();
    if (!_with.settings.onGetCloudKitStatus()) return;
    // What is still on its way from the former account is not wanted any more.
    _privateTokens->forget();
    _sharedTokens->forget();
    if (shouldDeleteData == ShouldDelete::Yes) _with.reminders.clearCoreData();
    resetSyncCache();
}

}  // namespace zun
