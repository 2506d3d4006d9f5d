#include "sync/ZNCloudKitSubscriptionManager.h"

#include <utility>

#include "sync/ReminderRecord.h"

namespace zun {

namespace {

constexpr std::uint64_t creationUpdateAndDeletion = 7;

CKSubscription subscriptionForReminders() {
    auto subscription = CKSubscription::withRecordType(std::string(reminderRecordType), creationUpdateAndDeletion);
    CKNotificationInfo info;
    info.setDesiredKeys({"modified_date", "reminderID"});
    info.setShouldSendContentAvailable(true);
    subscription.setNotificationInfo(info);
    return subscription;
}

CKSubscription subscriptionForShares() {
    auto subscription = CKSubscription::databaseSubscriptionWithID(std::string(sharedChangesSubscriptionID));
    CKNotificationInfo info;
    info.setShouldSendContentAvailable(true);
    subscription.setNotificationInfo(info);
    return subscription;
}

bool isDuplicate(const CKError& error) {
    return error.code == CKErrorCode::ServerRejectedRequest &&
           error.description.find("subscription is duplicate") != std::string::npos;
}

}  // namespace

CKDatabase& ZNCloudKitSubscriptionManager::database(Kind kind) {
    return kind == Kind::Reminders ? _container.privateCloudDatabase() : _container.sharedCloudDatabase();
}

void ZNCloudKitSubscriptionManager::createSubscriptionForRemindersWithSuccess(SubscriptionIDBlock success) {
    create(Kind::Reminders, std::move(success));
}

void ZNCloudKitSubscriptionManager::createSubscriptionForSharesWithSuccess(SubscriptionIDBlock success) {
    create(Kind::Shares, std::move(success));
}

void ZNCloudKitSubscriptionManager::create(Kind kind, SubscriptionIDBlock success) {
    save(kind, kind == Kind::Reminders ? subscriptionForReminders() : subscriptionForShares(), std::move(success));
}

void ZNCloudKitSubscriptionManager::save(Kind kind, CKSubscription subscription, SubscriptionIDBlock success) {
    database(kind).saveSubscription(
        std::move(subscription),
        _guard.guarded([this, kind, success = std::move(success)](const std::optional<CKSubscription>& saved,
                                                                  const OptionalError& error) {
            if (error) {
                if (isDuplicate(*error)) fetchAndSaveExistingSubscription(kind, success);
            } else if (success) {
                success(saved ? std::optional(saved->subscriptionID()) : std::nullopt);
            }
        }));
}

void ZNCloudKitSubscriptionManager::fetchAndSaveExistingSubscription(Kind kind, SubscriptionIDBlock success) {
    database(kind).fetchAllSubscriptionsWithCompletionHandler(_guard.guarded(
        [this, kind, success = std::move(success)](const std::vector<CKSubscription>& existing, const OptionalError&) {
            recover(kind, existing, success);
        }));
}

void ZNCloudKitSubscriptionManager::recover(Kind kind, const std::vector<CKSubscription>& existing,
                                            const SubscriptionIDBlock& success) {
    if (existing.size() < 2) {
        if (success) success(existing.empty() ? std::nullopt : std::optional(existing.front().subscriptionID()));
        return;
    }
    // Which of them would be this device's cannot be told.
    for (const auto& subscription : existing)
        removeSubscription(kind, subscription.subscriptionID(), {});
    create(kind, success);
}

void ZNCloudKitSubscriptionManager::removeSubscriptionWithID(const std::optional<std::string>& subscriptionID,
                                                             Block success) {
    removeSubscription(Kind::Reminders, subscriptionID, std::move(success));
}

void ZNCloudKitSubscriptionManager::removeShareSubscriptionWithID(const std::optional<std::string>& subscriptionID,
                                                                  Block success) {
    removeSubscription(Kind::Shares, subscriptionID, std::move(success));
}

void ZNCloudKitSubscriptionManager::removeSubscription(Kind kind, const std::optional<std::string>& subscriptionID,
                                                       Block success) {
    if (!subscriptionID) return;
    database(kind).deleteSubscriptionWithID(*subscriptionID,
                                            _guard.guarded([success = std::move(success)](const OptionalError& error) {
                                                if (!error && success) success();
                                            }));
}

}  // namespace zun
