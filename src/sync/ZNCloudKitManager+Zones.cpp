#include <algorithm>
#include <utility>

#include "sync/ReminderRecord.h"
#include "sync/Reporting.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

constexpr std::string_view privateZoneName = "Reminders";

}  // namespace

void ZNCloudKitManager::fetchPrivateRecordZone(Block completion, Failure failure) {
    if (privateRecordZoneID()) {
        if (completion) completion();
        return;
    }
    const auto operation = CKFetchRecordZonesOperation::fetchAllRecordZonesOperation();
    operation->setQualityOfService(QualityOfService::UserInitiated);
    operation->setFetchRecordZonesCompletionBlock(
        guarded([=, this](const std::vector<CKRecordZoneID>& zones, const OptionalError& error) {
            if (ZNCloudKitErrorHandler::handleError(error) != ZNCloudKitErrorType::None) {
                if (failure) failure(error);
                return;
            }
            const auto found = std::ranges::find(zones, privateZoneName, &CKRecordZoneID::zoneName);
            if (found == zones.end()) return createPrivateZone(completion, failure);
            {
                const std::lock_guard lock(_mutex);
                _privateRecordZoneID = *found;
            }
            if (completion) completion();
        }));
    database(CloudDatabaseKind::Private).addOperation(operation);
}

void ZNCloudKitManager::createPrivateZone(Block success, Failure failure) {
    CKRecordZoneID zone;
    zone.zoneName = privateZoneName;
    const auto operation =
        std::make_shared<CKModifyRecordZonesOperation>(std::vector{zone}, std::vector<CKRecordZoneID>());
    operation->setQualityOfService(QualityOfService::UserInitiated);
    operation->setModifyRecordZonesCompletionBlock(
        guarded([=, this](const std::vector<CKRecordZoneID>& saved, const std::vector<CKRecordZoneID>&,
                          const OptionalError& error) {
            if (ZNCloudKitErrorHandler::handleError(error) != ZNCloudKitErrorType::None || saved.empty()) {
                if (failure) failure(error);
                return;
            }
            {
                const std::lock_guard lock(_mutex);
                _privateRecordZoneID = saved.front();
            }
            if (success) success();
        }));
    database(CloudDatabaseKind::Private).addOperation(operation);
}

void ZNCloudKitManager::migrateCloudKitDataToPrivateZone(Block completion, Block migrationCompleted, Failure failure) {
    if (!_hasiCloudAccess || !_with.stateManager.isConnected()) {
        if (failure) failure(std::nullopt);
        return;
    }
    if (defaults().onGetDidRunPrivateZoneMigration()) {
        if (completion) completion();
        return;
    }
    struct Found {
        std::mutex mutex;
        std::vector<CKRecord> records;
    };
    const auto found = std::make_shared<Found>();
    const auto copy = [this, found](const CKRecord& old) {
        CKRecord record;
        record.recordType = reminderRecordType;
        const auto* reminderID = old.get<std::string>("reminderID");
        record.recordID = ckRecordIDWithRecordName(reminderID ? *reminderID : old.recordID.recordName);
        // Whatever stands there, also what this version does not know.
        record.fields = old.fields;
        const std::lock_guard lock(found->mutex);
        found->records.push_back(std::move(record));
    };
    const auto queried = [=, this] {
        if (found->records.empty()) {
            if (completion) completion();
            return;
        }
        // Before the save has succeeded: what fails is not tried again.
        defaults().onSetDidRunPrivateZoneMigration(true);
        saveMigratedRecords(std::move(found->records), completion, migrationCompleted, failure);
    };
    const auto query = std::make_shared<CKQueryOperation>(CKQuery{std::string(reminderRecordType)});
    query->setQualityOfService(QualityOfService::UserInitiated);
    queryOperation(query, CloudDatabaseKind::Private, CKRecordZoneID(), copy, queried, failure);
}

void ZNCloudKitManager::saveMigratedRecords(std::vector<CKRecord> records, const Block& completion,
                                            const Block& migrationCompleted, const Failure& failure) {
    const auto saved = [completion, migrationCompleted](const CloudItems&) {
        if (migrationCompleted)
            migrationCompleted();
        else if (completion)
            completion();
    };
    const auto failed = [completion, failure](const OptionalError& error) {
        // Those that are in the zone already do no harm.
        if (error && error->code == CKErrorCode::PartialFailure && completion) return completion();
        if (failure) failure(error);
    };
    saveRecordsToCloudkit(std::move(records), OverwriteValues::No, CloudDatabaseKind::Private, ShouldRetry::No, saved,
                          failed);
}

void ZNCloudKitManager::queryOperation(std::shared_ptr<CKQueryOperation> operation, CloudDatabaseKind kind,
                                       CKRecordZoneID zoneID, RecordBlock recordSuccess, Block completion,
                                       Failure failure) {
    operation->setZoneID(zoneID);
    operation->setRecordFetchedBlock(guarded([recordSuccess](const CKRecord& record) {
        if (recordSuccess) recordSuccess(record);
    }));
    // Another operation goes on where, and as, this one was running.
    const auto goOn = [=, this, query = operation->query, priority = operation->queuePriority,
                       quality = operation->qualityOfService](const std::optional<CKQueryCursor>& cursor) {
        const auto next =
            cursor ? std::make_shared<CKQueryOperation>(query, *cursor) : std::make_shared<CKQueryOperation>(query);
        next->setQueuePriority(priority);
        next->setQualityOfService(quality);
        queryOperation(next, kind, zoneID, recordSuccess, completion, failure);
    };
    operation->setQueryCompletionBlock(
        guarded([=, this](const std::optional<CKQueryCursor>& cursor, const OptionalError& error) {
            const auto type = ZNCloudKitErrorHandler::handleError(error);
            if (type == ZNCloudKitErrorType::None) {
                if (cursor) return goOn(cursor);
                if (completion) completion();
                return;
            }
            const auto restart = [goOn] { goOn(std::nullopt); };
            const auto givenUp = reporting(failure, error);
            if (type == ZNCloudKitErrorType::Retry && retryAfter(error, restart, givenUp)) return;
            givenUp();
        }));
    database(kind).addOperation(operation);
}

}  // namespace zun
