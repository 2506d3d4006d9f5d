#include <fmt/format.h>

#include <set>
#include <utility>

#include "platform/foundation/Log.h"
#include "sync/ArchivedZoneID.h"
#include "sync/ReminderRecord.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

constexpr int highQueuePriority = 4;

// Reports at the third call; what calls more often is heard no more.
class JoinOfThree {
  public:
    JoinOfThree(Block success, const Dispatch& dispatch)
        : _success(std::move(success)), _dispatch(dispatch), _start(dispatch.uptime()) {}
    void call() {
        if (++_calls != 3) return;
        NSLog(fmt::format("Shared changes {:f} seconds",
                          std::chrono::duration<double>(_dispatch.uptime() - _start).count()));
        if (_success) _success();
    }

  private:
    const Block _success;
    const Dispatch& _dispatch;
    const std::chrono::microseconds _start;
    std::atomic<int> _calls = 0;
};

}  // namespace

struct ZNCloudKitManager::SharedSurvey {
    std::vector<CKRecordZoneID> zones;
    std::set<std::string> known;  // identifiers of the shared reminders that are stored
    Block join;
};

void ZNCloudKitManager::handleSharedChanges(Block success, ShouldRetry shouldRetry, QualityOfService quality) {
    if (!canShare()) {
        if (success) success();
        return;
    }
    const auto counter = std::make_shared<JoinOfThree>(std::move(success), _with.dispatch);
    const Block join = [counter] { counter->call(); };
    const auto failed = [this, join](const OptionalError& error) {
        handleError(error);
        join();
    };
    fetchChangesForDatabase(CloudDatabaseKind::Shared, _sharedTokens->token(), shouldRetry, quality,
                            std::make_shared<ChangeTokens::Reading>(_sharedTokens), join, failed);
    database(CloudDatabaseKind::Shared)
        .fetchAllRecordZonesWithCompletionHandler(
            guarded([this, join](const std::vector<CKRecordZoneID>& zones, const OptionalError&) {
                const auto shared = _with.reminders.fetchAllSharedReminders();
                checkForMissingShares(shared);
                join();
                if (zones.empty()) return join();
                const auto survey = std::make_shared<SharedSurvey>(SharedSurvey{zones, {}, join});
                for (const auto& reminder : shared)
                    survey->known.insert(reminder->reminderID().value_or(""));
                fetchNewShares(survey);
            }));
}

void ZNCloudKitManager::checkForMissingShares(const std::vector<ReminderPtr>& shared) {
    for (const auto& reminder : shared) {
        const auto archive = reminder->sharedZoneID();
        const auto zone = archive ? unarchivedZoneID(*archive) : std::nullopt;
        if (!zone) continue;
        const auto reminderID = reminder->reminderID().value_or("");
        database(CloudDatabaseKind::Shared)
            .fetchRecordWithID({reminderID, *zone},
                               guarded([this, reminderID](const std::optional<CKRecord>& record, const OptionalError&) {
                                   // Whatever the reason: while the share exists, it comes back as a new one.
                                   if (!record) removeReminders({reminderID});
                               }));
    }
}

void ZNCloudKitManager::fetchNewShares(const std::shared_ptr<SharedSurvey>& survey) {
    for (const auto& zone : survey->zones) {
        const auto operation = std::make_shared<CKQueryOperation>(CKQuery{std::string(reminderRecordType)});
        operation->setQueuePriority(highQueuePriority);
        operation->setQualityOfService(QualityOfService::Utility);
        const auto found = [this, survey](const CKRecord& record) {
            if (!survey->known.contains(record.recordID.recordName)) takeInSharedRecord(record);
        };
        const auto failed = [this, survey](const OptionalError& error) {
            handleError(error);
            survey->join();
        };
        queryOperation(operation, CloudDatabaseKind::Shared, zone, found, survey->join, failed);
    }
}

void ZNCloudKitManager::takeInSharedRecord(const CKRecord& record) {
    auto reminder = reminderWithRecord(record);
    reminder.didPersistToiCloud = true;
    const auto store = [this](const ReminderAttributes& arrived) {
        _with.reminders.decideReminders({*arrived.reminderID},
                                        [arrived](std::size_t, std::optional<ReminderAttributes>& row) {
                                            // It may have come another way meanwhile.
                                            if (row) return RecordVerdict::Leave;
                                            row = arrived;
                                            return RecordVerdict::Write;
                                        });
    };
    if (!record.share) return store(reminder);
    database(CloudDatabaseKind::Shared)
        .fetchRecordWithID(record.share->recordID,
                           guarded([reminder, store](const std::optional<CKRecord>& share, const OptionalError&) {
                               auto arrived = reminder;
                               if (share && share->shareDetails) {
                                   arrived.shareURL = share->shareDetails->URL;
                                   arrived.sharedZoneID = archivedZoneID(share->recordID.zoneID);
                               }
                               store(arrived);
                           }));
}

void ZNCloudKitManager::leaveCKShareForReminder(const ReminderPtr& reminder,
                                                const std::optional<CKRecordID>& shareRecordID, Block withSuccess,
                                                Failure withFailure) {
    const auto failed = [this, withFailure](const OptionalError& error) {
        postSyncError(error);
        if (withFailure) withFailure(error);
    };
    const auto leave = [=, this](const CKRecordID& share) {
        const auto left = [withSuccess](const CloudItems& items) {
            if (std::get<std::vector<CKRecordID>>(items).size() == 1 && withSuccess) withSuccess();
        };
        saveRecordsToCloudkit(std::vector{share}, OverwriteValues::No, CloudDatabaseKind::Shared, ShouldRetry::No, left,
                              failed);
    };
    if (shareRecordID) return leave(*shareRecordID);
    const auto found = [leave](const std::string&, const std::optional<cloud::ShareMetadata>& metadata,
                               const OptionalError&) {
        if (metadata) leave(metadata->share.recordID);
    };
    fetchCKShareMetaDataWithURL(reminder->shareURL().value_or(""), found, failed);
}

void ZNCloudKitManager::fetchCKShareMetaDataWithURL(const std::string& URL,
                                                    CKContainer::MetadataBlock withShareMetaBlock,
                                                    Failure withFailure) {
    _with.container.fetchShareMetadata(
        {URL}, guarded(std::move(withShareMetaBlock)),
        guarded([this, withFailure = std::move(withFailure)](const OptionalError& error) {
            // Also without one, which says that the look-up is over.
            postSyncError(error);
            if (error && withFailure) withFailure(error);
        }));
}

}  // namespace zun
