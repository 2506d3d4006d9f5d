#include <utility>

#include "platform/foundation/Log.h"
#include "sync/ArchivedZoneID.h"
#include "sync/ReminderRecord.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

// The store's manager wants to know that it failed and not why.
ZNCloudKitManager::Failure withoutReason(Block block) {
    return [block = std::move(block)](const OptionalError&) {
        if (block) block();
    };
}

}  // namespace

void ZNCloudKitManager::saveReminderToCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                               Block withError) {
    const auto saved = [withSuccess = std::move(withSuccess)](const CKRecord&) {
        if (withSuccess) withSuccess();
    };
    saveRecordToCloudkit(createRecordFromReminder(reminder->attributes()), shouldRetry, saved,
                         withoutReason(std::move(withError)));
}

void ZNCloudKitManager::updateReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry,
                                                 Block withSuccess, Block withError) {
    updateReminder(reminder->attributes(), shouldRetry, std::move(withSuccess), withoutReason(std::move(withError)));
}

void ZNCloudKitManager::updateReminder(const ReminderAttributes& reminder, ShouldRetry shouldRetry, Block success,
                                       Failure failure) {
    const bool isShared = canShare() && reminder.sharedZoneID.has_value();
    const auto kind = isShared ? CloudDatabaseKind::Shared : CloudDatabaseKind::Private;
    auto recordID = ckRecordIDWithRecordName(reminder.reminderID.value_or(""));
    if (const auto zone = reminder.sharedZoneID ? unarchivedZoneID(*reminder.sharedZoneID) : std::nullopt)
        recordID.zoneID = *zone;
    const auto fetched = [=, this](const std::optional<CKRecord>& found) {
        if (!found) return NSLog("No record for update found");
        auto record = *found;
        combineCloudKitRecord(record, reminder);
        const auto saved = [success](const CloudItems&) {
            if (success) success();
        };
        saveRecordsToCloudkit(std::vector{std::move(record)}, OverwriteValues::Yes, kind, shouldRetry, saved, failure);
    };
    fetchRecordOnCloudkit(recordID, kind, shouldRetry, fetched, failure);
}

void ZNCloudKitManager::deleteReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry,
                                                 Block withSuccess, Block withError) {
    const auto failed = withoutReason(std::move(withError));
    if (!_hasiCloudAccess) return failed(std::nullopt);
    // What others share is theirs: deleting it here is leaving the share.
    if (reminder->sharedZoneID())
        return leaveCKShareForReminder(reminder, std::nullopt, std::move(withSuccess), failed);
    deleteRecord(ckRecordIDWithRecordName(reminder->reminderID().value_or("")), shouldRetry, std::move(withSuccess),
                 failed);
}

void ZNCloudKitManager::bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr> reminders, ShouldRetry shouldRetry,
                                                      ShouldDelete shouldDelete,
                                                      ShouldUpdatePersistenceStatus shouldUpdatePersistenceStatus,
                                                      Block withCompletion, Block withError) {
    auto items =
        shouldDelete == ShouldDelete::Yes ? CloudItems(recordIDsOf(reminders)) : CloudItems(recordsOf(reminders));
    std::vector<std::string> reminderIDs;
    if (shouldUpdatePersistenceStatus == ShouldUpdatePersistenceStatus::Yes) {
        for (const auto& reminder : reminders)
            reminderIDs.push_back(reminder->reminderID().value_or(""));
    }
    const auto sent = [this, reminderIDs, withCompletion = std::move(withCompletion)](const CloudItems&) {
        markReminders(reminderIDs,
                      [](ReminderAttributes& row) { return !std::exchange(row.didPersistToiCloud, true); });
        if (withCompletion) withCompletion();
    };
    saveRecordsToCloudkit(std::move(items), OverwriteValues::Yes, CloudDatabaseKind::Private, shouldRetry, sent,
                          withoutReason(std::move(withError)));
}

void ZNCloudKitManager::remoteRecordIDWasUpdated(const CKRecordID& recordID) {
    if (!_with.settings.onGetCloudKitStatus()) return;
    setIsSyncing(true);
    database(CloudDatabaseKind::Private)
        .fetchRecordWithID(
            recordID, guarded([this, recordID](const std::optional<CKRecord>& record, const OptionalError& error) {
                const auto type = ZNCloudKitErrorHandler::handleError(error);
                const bool isUnknown = error && error->code == CKErrorCode::UnknownItem;
                if (!error || isUnknown) {
                    auto change = record && !error ? RemoteChange::changed(*record, RemoteChange::Kind::Changed,
                                                                           privateRecordZoneID())
                                                   : RemoteChange::deleted(recordID.recordName);
                    applyRemoteChanges({std::move(change)}, nullptr, {});
                } else if (type != ZNCloudKitErrorType::Retry) {
                    // The next pass will get what the service has no time for now.
                    postSyncError(error);
                }
                setIsSyncing(false);
                // What was pushed for many records meanwhile could not start a pass.
                if (_isAnotherPassWanted && !isPassUnderWay()) syncChangesFromCloudKit();
            }));
}

}  // namespace zun
