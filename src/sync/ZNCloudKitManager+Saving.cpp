#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/foundation/Log.h"
#include "sync/ArchivedZoneID.h"
#include "sync/ReminderRecord.h"
#include "sync/Reporting.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

namespace {

using CloudItems = ZNCloudKitManager::CloudItems;

std::size_t sizeOf(const CloudItems& items) {
    return std::visit([](const auto& all) { return all.size(); }, items);
}

CloudItems takePart(CloudItems& items, std::size_t from, std::size_t count) {
    return std::visit(
        [from, count](auto& all) -> CloudItems {
            const auto to = std::min(all.size(), from + count);
            return std::decay_t<decltype(all)>(std::move_iterator(all.begin() + static_cast<std::ptrdiff_t>(from)),
                                               std::move_iterator(all.begin() + static_cast<std::ptrdiff_t>(to)));
        },
        items);
}

}  // namespace

std::optional<CKRecordZoneID> ZNCloudKitManager::privateRecordZoneID() const {
    const std::lock_guard lock(_mutex);
    return _privateRecordZoneID;
}

CKRecordID ZNCloudKitManager::ckRecordIDWithRecordName(const std::string& recordName) const {
    return {recordName, privateRecordZoneID().value_or(CKRecordZoneID())};
}

CKRecord ZNCloudKitManager::createRecordFromReminder(const ReminderAttributes& reminder) const {
    CKRecord record;
    record.recordType = reminderRecordType;
    record.recordID = ckRecordIDWithRecordName(reminder.reminderID.value_or(""));
    combineCloudKitRecord(record, reminder);
    return record;
}

std::vector<CKRecord> ZNCloudKitManager::recordsOf(const std::vector<ReminderPtr>& reminders) const {
    std::vector<CKRecord> records;
    records.reserve(reminders.size());
    for (const auto& reminder : reminders)
        records.push_back(createRecordFromReminder(reminder->attributes()));
    return records;
}

std::vector<CKRecordID> ZNCloudKitManager::recordIDsOf(const std::vector<ReminderPtr>& reminders) const {
    std::vector<CKRecordID> recordIDs;
    recordIDs.reserve(reminders.size());
    for (const auto& reminder : reminders)
        recordIDs.push_back(ckRecordIDWithRecordName(reminder->reminderID().value_or("")));
    return recordIDs;
}

void ZNCloudKitManager::saveRecordsToCloudkit(CloudItems items, OverwriteValues overwriteValues, CloudDatabaseKind kind,
                                              ShouldRetry shouldRetry, ItemsBlock withSuccess, Failure withError) {
    const bool deletes = std::holds_alternative<std::vector<CKRecordID>>(items);
    const auto operation = deletes ? std::make_shared<CKModifyRecordsOperation>(
                                         std::vector<CKRecord>(), std::get<std::vector<CKRecordID>>(std::move(items)))
                                   : std::make_shared<CKModifyRecordsOperation>(
                                         std::get<std::vector<CKRecord>>(std::move(items)), std::vector<CKRecordID>());
    operation->setSavePolicy(overwriteValues == OverwriteValues::Yes
                                 ? CKRecordSavePolicy::CKRecordSaveAllKeys
                                 : CKRecordSavePolicy::CKRecordSaveIfServerRecordUnchanged);
    operation->setQualityOfService(QualityOfService::UserInitiated);
    // The operation lives until its block has run, and would live for ever if the block held it.
    const auto takeItems = [deletes, raw = operation.get()]() -> CloudItems {
        return deletes ? CloudItems(std::move(raw->recordIDsToDelete)) : CloudItems(std::move(raw->recordsToSave));
    };
    operation->setModifyRecordsCompletionBlock(guarded(
        [=, this, withSuccess = std::move(withSuccess), withError = std::move(withError)](
            const std::vector<CKRecord>& saved, const std::vector<CKRecordID>& deleted, const OptionalError& error) {
            const auto type = ZNCloudKitErrorHandler::handleError(error);
            if (type == ZNCloudKitErrorType::None) {
                _sent += deletes ? deleted.size() : saved.size();
                if (withSuccess) withSuccess(deletes ? CloudItems(deleted) : CloudItems(saved));
                return;
            }
            const auto givenUp = [this, withError, error] {
                postSyncError(error);
                if (withError) withError(error);
            };
            if (type == ZNCloudKitErrorType::Retry) {
                auto all = takeItems();
                // A single one that is too large stays too large.
                if (error->code == CKErrorCode::LimitExceeded && sizeOf(all) != 1)
                    return splitSave(std::move(all), overwriteValues, kind, withSuccess, withError);
                const auto again = [=, this, all = std::move(all)] {
                    saveRecordsToCloudkit(all, overwriteValues, kind, ShouldRetry::No, withSuccess, withError);
                };
                if (shouldRetry == ShouldRetry::Yes && retryAfter(error, again, givenUp)) return;
            }
            givenUp();
        }));
    database(kind).addOperation(operation);
}

void ZNCloudKitManager::splitSave(CloudItems items, OverwriteValues overwriteValues, CloudDatabaseKind kind,
                                  const ItemsBlock& withSuccess, const Failure& withError) {
    const std::size_t total = sizeOf(items);
    // A part that was refused as well is halved.
    const std::size_t count = total > batchSize ? batchSize : (total + 1) / 2;
    for (std::size_t i = 0; i < total; i += count) {
        const bool isLast = i + count >= total;
        const auto reported = [this, withError, isLast](const OptionalError& error) {
            if (isLast && withError)
                withError(error);
            else
                handleError(error);
        };
        saveRecordsToCloudkit(takePart(items, i, count), overwriteValues, kind, ShouldRetry::No,
                              isLast ? withSuccess : ItemsBlock(), reported);
    }
}

void ZNCloudKitManager::saveRecordToCloudkit(const CKRecord& record, ShouldRetry shouldRetry, RecordBlock success,
                                             Failure failure) {
    if (!_hasiCloudAccess) {
        if (failure) failure(std::nullopt);
        return;
    }
    database(CloudDatabaseKind::Private)
        .saveRecord(record, guarded([=, this](const std::optional<CKRecord>& saved, const OptionalError& error) {
                        const auto type = ZNCloudKitErrorHandler::handleError(error);
                        if (type == ZNCloudKitErrorType::None) {
                            ++_sent;
                            if (success) success(saved.value_or(record));
                            return;
                        }
                        const auto again = [=, this] {
                            saveRecordToCloudkit(record, ShouldRetry::No, success, failure);
                        };
                        const bool mayWait = type == ZNCloudKitErrorType::Retry && shouldRetry == ShouldRetry::Yes;
                        const auto givenUp = reporting(failure, error);
                        if (mayWait && retryAfter(error, again, givenUp)) return;
                        // A reminder that is in the cloud already is no failure that anybody should see.
                        if (type == ZNCloudKitErrorType::ServerRecordChanged)
                            NSLog("Attempting to save a record that already exists");
                        else
                            postSyncError(error);
                        givenUp();
                    }));
}

void ZNCloudKitManager::fetchRecordOnCloudkit(const CKRecordID& recordID, CloudDatabaseKind kind,
                                              ShouldRetry shouldRetry,
                                              std::function<void(const std::optional<CKRecord>&)> withSuccess,
                                              Failure withFailure) {
    if (!_hasiCloudAccess) {
        if (withFailure) withFailure(std::nullopt);
        return;
    }
    database(kind).fetchRecordWithID(
        recordID, guarded([=, this](const std::optional<CKRecord>& record, const OptionalError& error) {
            const auto type = ZNCloudKitErrorHandler::handleError(error);
            if (type == ZNCloudKitErrorType::None) {
                if (withSuccess) withSuccess(record);
                return;
            }
            const auto givenUp = reporting(withFailure, error);
            if (type == ZNCloudKitErrorType::Retry) {
                const auto again = [=, this] {
                    fetchRecordOnCloudkit(recordID, kind, ShouldRetry::No, withSuccess, withFailure);
                };
                if (shouldRetry == ShouldRetry::Yes && retryAfter(error, again, givenUp)) return;
            } else {
                postSyncError(error);
            }
            givenUp();
        }));
}

void ZNCloudKitManager::deleteRecord(const CKRecordID& recordID, ShouldRetry shouldRetry, Block success,
                                     Failure failure) {
    database(CloudDatabaseKind::Private)
        .deleteRecordWithID(recordID, guarded([=, this](const std::optional<CKRecordID>&, const OptionalError& error) {
                                const auto type = ZNCloudKitErrorHandler::handleError(error);
                                if (type == ZNCloudKitErrorType::None) {
                                    ++_sent;
                                    if (success) success();
                                    return;
                                }
                                const auto givenUp = reporting(failure, error);
                                if (type == ZNCloudKitErrorType::Retry) {
                                    const auto again = [=, this] {
                                        deleteRecord(recordID, ShouldRetry::No, success, failure);
                                    };
                                    if (shouldRetry == ShouldRetry::Yes && retryAfter(error, again, givenUp)) return;
                                } else {
                                    postSyncError(error);
                                }
                                givenUp();
                            }));
}

}  // namespace zun
