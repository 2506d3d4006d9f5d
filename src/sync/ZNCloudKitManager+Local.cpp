#include <fmt/format.h>

#include <set>
#include <utility>

#include "platform/foundation/Log.h"
#include "sync/Reporting.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

std::vector<std::string> identifiersOf(const std::vector<ReminderPtr>& reminders) {
    std::vector<std::string> all;
    all.reserve(reminders.size());
    for (const auto& reminder : reminders)
        all.push_back(reminder->reminderID().value_or(""));
    return all;
}

// The records that the service does not have, by the error of a fetch.
std::vector<std::string> unknownItems(const OptionalError& error) {
    std::vector<std::string> names;
    for (const auto& [recordID, itemError] : error->userInfo.CKPartialErrorsByItemIDKey) {
        if (itemError.code == CKErrorCode::UnknownItem) names.push_back(recordID.recordName);
    }
    return names;
}

}  // namespace

void ZNCloudKitManager::pushLocalAdditions(Block success, Failure failure, ShouldRetry shouldRetry) {
    const auto fetched = _with.reminders.fetchAllRemindersNotSentToServer();
    NSLog(fmt::format("Local additions started after {:f} seconds", elapsed()));
    const auto finished = [this, success = std::move(success)] {
        NSLog(fmt::format("Local additions finished after {:f} seconds", elapsed()));
        if (success) success();
    };
    if (fetched.empty()) return finished();
    const auto sent = [this, reminderIDs = identifiersOf(fetched), finished](const CloudItems&) {
        markReminders(reminderIDs,
                      [](ReminderAttributes& row) { return !std::exchange(row.didPersistToiCloud, true); });
        finished();
    };
    saveRecordsToCloudkit(recordsOf(fetched), OverwriteValues::Yes, CloudDatabaseKind::Private, shouldRetry, sent,
                          std::move(failure));
}

void ZNCloudKitManager::pushLocalChanges(const Block& success, const Failure& failure, ShouldRetry shouldRetry) {
    auto edited = _with.reminders.fetchAllRemindersWithLocalChanges();
    if (edited.empty()) {
        if (success) success();
        return;
    }
    std::erase_if(edited, [](const ReminderPtr& reminder) { return reminder->sharedZoneID().has_value(); });
    for (std::size_t i = 0; i < edited.size(); i += batchSize) {
        const bool isLast = i + batchSize >= edited.size();
        const auto end = std::min(edited.size(), i + batchSize);
        const auto recordIDs = recordIDsOf(
            {edited.begin() + static_cast<std::ptrdiff_t>(i), edited.begin() + static_cast<std::ptrdiff_t>(end)});
        const auto operation = std::make_shared<CKFetchRecordsOperation>(recordIDs);
        operation->setQualityOfService(QualityOfService::UserInitiated);
        operation->setFetchRecordsCompletionBlock(
            guarded([=, this](const std::map<CKRecordID, CKRecord>& records, const OptionalError& error) {
                if (ZNCloudKitErrorHandler::handleError(error) != ZNCloudKitErrorType::None)
                    return isLast ? handleChangeError(error, success, failure, shouldRetry) : handleError(error);
                std::vector<RemoteChange> changes;
                for (const auto& recordID : recordIDs) {
                    const auto found = records.find(recordID);
                    if (found == records.end() || found->second.isShare()) continue;
                    changes.push_back(
                        RemoteChange::changed(found->second, RemoteChange::Kind::Merged, privateRecordZoneID()));
                }
                applyRemoteChanges(std::move(changes), nullptr, {});
                if (isLast && success) success();
            }));
        database(CloudDatabaseKind::Private).addOperation(operation);
    }
}

void ZNCloudKitManager::handleChangeError(const OptionalError& error, const Block& success, const Failure& failure,
                                          ShouldRetry shouldRetry) {
    const auto type = ZNCloudKitErrorHandler::handleError(error);
    if (type == ZNCloudKitErrorType::None) return;
    if (type == ZNCloudKitErrorType::PartialFailure) {
        // Gone from the cloud, so the edited copies go, too.
        removeReminders(unknownItems(error));
        if (success) success();
    }
    const bool mayWait = type == ZNCloudKitErrorType::Retry && shouldRetry == ShouldRetry::Yes;
    const auto again = [=, this] { pushLocalChanges(success, failure, shouldRetry); };
    const auto givenUp = reporting(failure, error);
    if (mayWait && retryAfter(error, again, givenUp)) return;
    givenUp();
}

void ZNCloudKitManager::handleLocalDeletions(Block completion) {
    const auto doomed = identifiersOf(_with.reminders.fetchAllRemindersToDelete());
    if (doomed.empty()) {
        if (completion) completion();
        return;
    }
    std::vector<CKRecordID> recordIDs;
    for (const auto& reminderID : doomed)
        recordIDs.push_back(ckRecordIDWithRecordName(reminderID));
    const auto sent = [this, doomed, completion](const CloudItems&) {
        // One may have come back meanwhile.
        removeReminders(doomed, [](const ReminderAttributes& row) { return row.shouldDeleteRemote.value_or(false); });
        if (completion) completion();
    };
    const auto failed = [this, completion](const OptionalError& error) {
        const auto type = ZNCloudKitErrorHandler::handleError(error);
        if (type != ZNCloudKitErrorType::None) postSyncError(error);
        // One that the service never held, since it was set back, would hold up the others for ever: the additions send
        // it like any other that was deleted before it was sent.
        if (type == ZNCloudKitErrorType::PartialFailure)
            markReminders(unknownItems(error), [](ReminderAttributes& row) {
                return row.shouldDeleteRemote.value_or(false) && std::exchange(row.didPersistToiCloud, false);
            });
        if (completion) completion();
    };
    saveRecordsToCloudkit(std::move(recordIDs), OverwriteValues::No, CloudDatabaseKind::Private, ShouldRetry::No, sent,
                          failed);
}

void ZNCloudKitManager::checkForDeletedItemsBecauseCloudKitNotificationsSometimesFail() {
    if (!_with.settings.onGetCloudKitStatus()) return;
    const auto incomplete = _with.reminders.listAllIncompleteReminders();
    std::vector<CKRecordID> recordIDs;
    recordIDs.reserve(incomplete.size());
    for (std::size_t i = 0; i < incomplete.size(); ++i)
        recordIDs.push_back(ckRecordIDWithRecordName(std::string(incomplete.reminderID(i))));
    // One that is sent while the service looks is unknown in its answer, and yet not deleted. Read after the list: what
    // has been sent in between is there for a question that has not been asked yet.
    const auto unsent = std::make_shared<std::set<std::string>>();
    for (const auto& reminder : _with.reminders.fetchAllRemindersNotSentToServer())
        unsent->insert(reminder->reminderID().value_or(""));
    const auto operation = std::make_shared<CKFetchRecordsOperation>(std::move(recordIDs));
    operation->setQualityOfService(QualityOfService::UserInitiated);
    // Whether they are there is all that is asked.
    operation->setDesiredKeys(std::vector<std::string>());
    operation->setFetchRecordsCompletionBlock(
        guarded([this, unsent](const std::map<CKRecordID, CKRecord>&, const OptionalError& error) {
            if (ZNCloudKitErrorHandler::handleError(error) != ZNCloudKitErrorType::PartialFailure) return;
            auto unknown = unknownItems(error);
            std::erase_if(unknown, [&](const std::string& reminderID) { return unsent->contains(reminderID); });
            removeReminders(std::move(unknown), [](const ReminderAttributes& row) { return row.didPersistToiCloud; });
        }));
    database(CloudDatabaseKind::Private).addOperation(operation);
}

}  // namespace zun
