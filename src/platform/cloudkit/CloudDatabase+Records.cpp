#include "platform/cloudkit/CloudDatabase.h"
#include "platform/cloudprotocol/ProtocolLimits.h"

namespace zun {
namespace {

// What was sent, with what the service added.
std::vector<CKRecord> storedRecords(const std::vector<CKRecord>& sent, std::vector<cloud::SavedRecord> saved) {
    std::map<CKRecordID, const CKRecord*> byID;
    for (const auto& record : sent)
        byID.emplace(record.recordID, &record);
    std::vector<CKRecord> stored;
    for (auto& answer : saved) {
        const auto found = byID.find(answer.recordID);
        if (found == byID.end()) continue;
        auto& record = stored.emplace_back(*found->second);
        record.recordChangeTag = std::move(answer.recordChangeTag);
        record.modificationDate = answer.modificationDate;
        record.share = std::move(answer.share);
        record.shareDetails = std::move(answer.shareDetails);
    }
    return stored;
}

// The error of a request about one record: that of the record itself, if it has one.
OptionalError errorOfOne(OptionalError error) {
    if (error && error->code == CKErrorCode::PartialFailure && error->userInfo.CKPartialErrorsByItemIDKey.size() == 1)
        return error->userInfo.CKPartialErrorsByItemIDKey.begin()->second;
    return error;
}

OptionalError unlessThere(bool isThere, const OptionalError& error) {
    if (isThere || error) return errorOfOne(error);
    return makeCKError(CKErrorCode::InternalError, "an answer without the record");
}

}  // namespace

void CloudDatabase::start(const std::shared_ptr<CKFetchRecordsOperation>& operation) {
    caller(operation->qualityOfService)
        .ask(cloud::FetchRecords{_scope, operation->recordIDs, operation->desiredKeys},
             [operation](cloud::Answer& answer) {
                 Received<cloud::FetchedRecords> fetched(answer);
                 std::map<CKRecordID, CKRecord> records;
                 for (auto& record : fetched.content.records) {
                     auto recordID = record.recordID;
                     records.emplace(std::move(recordID), std::move(record));
                 }
                 if (!fetched.error) fetched.error = partialFailure(std::move(fetched.content.failed));
                 callIfSet(operation->completion, records, fetched.error);
             });
}

void CloudDatabase::start(const std::shared_ptr<CKModifyRecordsOperation>& operation) {
    // No service takes so many, and writing them down only to be refused would take as long as sending them in parts.
    if (operation->recordsToSave.size() + operation->recordIDsToDelete.size() > cloud::mostItems)
        return caller(operation->qualityOfService).run([operation] {
            callIfSet(operation->completion, std::vector<CKRecord>(), std::vector<CKRecordID>(),
                      makeCKError(CKErrorCode::LimitExceeded, "too many items in one request"));
        });
    const auto policy = static_cast<cloud::SavePolicy>(operation->savePolicy);
    caller(operation->qualityOfService)
        .ask(cloud::ModifyRecords{_scope, policy, operation->recordsToSave, operation->recordIDsToDelete},
             [operation](cloud::Answer& answer) {
                 Received<cloud::ModifiedRecords> modified(answer);
                 if (!modified.error) modified.error = partialFailure(std::move(modified.content.failed));
                 callIfSet(operation->completion,
                           storedRecords(operation->recordsToSave, std::move(modified.content.saved)),
                           modified.content.deleted, modified.error);
             });
}

void CloudDatabase::start(const std::shared_ptr<CKQueryOperation>& operation) {
    caller(operation->qualityOfService)
        .ask(cloud::QueryRecords{_scope, operation->zoneID, operation->query.recordType,
                                 operation->cursor.value_or(CKQueryCursor())},
             [operation](cloud::Answer& answer) {
                 const Received<cloud::QueriedRecords> page(answer);
                 for (const auto& record : page.content.records)
                     callIfSet(operation->recordFetched, record);
                 std::optional<CKQueryCursor> cursor;
                 if (!page.content.cursor.empty()) cursor = page.content.cursor;
                 callIfSet(operation->completion, cursor, page.error);
             });
}

void CloudDatabase::saveRecord(CKRecord record, RecordHandler completionHandler) {
    const auto operation =
        std::make_shared<CKModifyRecordsOperation>(std::vector{std::move(record)}, std::vector<CKRecordID>());
    operation->setModifyRecordsCompletionBlock(
        [handler = std::move(completionHandler)](const auto& saved, const auto&, const OptionalError& error) {
            const auto failure = unlessThere(!saved.empty(), error);
            callIfSet(handler, failure ? std::nullopt : std::optional(saved.front()), failure);
        });
    start(operation);
}

void CloudDatabase::fetchRecordWithID(CKRecordID recordID, RecordHandler completionHandler) {
    const auto operation = std::make_shared<CKFetchRecordsOperation>(std::vector{std::move(recordID)});
    operation->setFetchRecordsCompletionBlock(
        [handler = std::move(completionHandler)](const auto& records, const OptionalError& error) {
            const auto failure = unlessThere(!records.empty(), error);
            callIfSet(handler, failure ? std::nullopt : std::optional(records.begin()->second), failure);
        });
    start(operation);
}

void CloudDatabase::deleteRecordWithID(CKRecordID recordID, RecordIDHandler completionHandler) {
    const auto operation =
        std::make_shared<CKModifyRecordsOperation>(std::vector<CKRecord>(), std::vector{std::move(recordID)});
    operation->setModifyRecordsCompletionBlock(
        [handler = std::move(completionHandler)](const auto&, const auto& deleted, const OptionalError& error) {
            const auto failure = unlessThere(!deleted.empty(), error);
            callIfSet(handler, failure ? std::nullopt : std::optional(deleted.front()), failure);
        });
    start(operation);
}

}  // namespace zun
