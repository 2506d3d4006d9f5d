#pragma once

// The operations that fetch, save, delete and look for records. See CKDatabaseOperation.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/cloudkit/CKDatabaseOperation.h"
#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace zun {

enum class CKRecordSavePolicy : std::int64_t {
    CKRecordSaveIfServerRecordUnchanged = 0,
    CKRecordSaveChangedKeys = 1,
    CKRecordSaveAllKeys = 2
};

class CKFetchRecordsOperation final : public CKDatabaseOperation {
  public:
    explicit CKFetchRecordsOperation(std::vector<CKRecordID> ids) : recordIDs(std::move(ids)) {}
    // Absent: all fields. Empty: none, which only tells what is there.
    void setDesiredKeys(std::optional<std::vector<std::string>> keys) { desiredKeys = std::move(keys); }
    void setFetchRecordsCompletionBlock(
        std::function<void(const std::map<CKRecordID, CKRecord>&, const OptionalError&)> block) {
        completion = std::move(block);
    }

    std::vector<CKRecordID> recordIDs;
    std::optional<std::vector<std::string>> desiredKeys;
    std::function<void(const std::map<CKRecordID, CKRecord>&, const OptionalError&)> completion;
};

class CKModifyRecordsOperation final : public CKDatabaseOperation {
  public:
    CKModifyRecordsOperation(std::vector<CKRecord> saves, std::vector<CKRecordID> deletions)
        : recordsToSave(std::move(saves)), recordIDsToDelete(std::move(deletions)) {}
    void setSavePolicy(CKRecordSavePolicy policy) { savePolicy = policy; }
    void setModifyRecordsCompletionBlock(
        std::function<void(const std::vector<CKRecord>& saved, const std::vector<CKRecordID>& deleted,
                           const OptionalError&)>
            block) {
        completion = std::move(block);
    }

    std::vector<CKRecord> recordsToSave;
    std::vector<CKRecordID> recordIDsToDelete;
    CKRecordSavePolicy savePolicy = CKRecordSavePolicy::CKRecordSaveIfServerRecordUnchanged;
    std::function<void(const std::vector<CKRecord>&, const std::vector<CKRecordID>&, const OptionalError&)> completion;
};

// All records of a type; there is no other predicate.
struct CKQuery {
    std::string recordType;
};
using CKQueryCursor = std::string;

class CKQueryOperation final : public CKDatabaseOperation {
  public:
    explicit CKQueryOperation(CKQuery wanted) : query(std::move(wanted)) {}
    CKQueryOperation(CKQuery wanted, CKQueryCursor from) : query(std::move(wanted)), cursor(std::move(from)) {}
    void setZoneID(CKRecordZoneID zone) { zoneID = std::move(zone); }
    void setQueuePriority(int priority) { queuePriority = priority; }
    void setRecordFetchedBlock(std::function<void(const CKRecord&)> block) { recordFetched = std::move(block); }
    void setQueryCompletionBlock(std::function<void(const std::optional<CKQueryCursor>&, const OptionalError&)> block) {
        completion = std::move(block);
    }
    CKQuery query;
    std::optional<CKQueryCursor> cursor;
    CKRecordZoneID zoneID;
    int queuePriority = 0;
    std::function<void(const CKRecord&)> recordFetched;
    std::function<void(const std::optional<CKQueryCursor>&, const OptionalError&)> completion;
};

}  // namespace zun
