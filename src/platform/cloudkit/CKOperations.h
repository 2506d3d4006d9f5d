#pragma once

// The operations of a database. Make one, set its blocks, add it to a database; once added it must not be changed, and
// it lives until its completion block has run. Blocks that were not set are not called. An interim block never runs
// after the completion block has begun.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/cloudkit/CKDatabase.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

using CKServerChangeToken = cloud::Token;
using OptionalToken = std::optional<CKServerChangeToken>;
enum class CKRecordSavePolicy : std::int64_t {
    CKRecordSaveIfServerRecordUnchanged = 0,
    CKRecordSaveChangedKeys = 1,
    CKRecordSaveAllKeys = 2
};
enum class MoreComing { No, Yes };

class CKDatabaseOperation {
  public:
    virtual ~CKDatabaseOperation() = default;
    void setQualityOfService(QualityOfService quality) { qualityOfService = quality; }
    QualityOfService qualityOfService = QualityOfService::Default;
};

class CKFetchDatabaseChangesOperation final : public CKDatabaseOperation {
  public:
    explicit CKFetchDatabaseChangesOperation(OptionalToken token) : previousServerChangeToken(std::move(token)) {}
    void setFetchAllChanges(bool all) { fetchAllChanges = all; }
    void setRecordZoneWithIDChangedBlock(std::function<void(const CKRecordZoneID&)> block) {
        changed = std::move(block);
    }
    void setRecordZoneWithIDWasDeletedBlock(std::function<void(const CKRecordZoneID&)> block) {
        deleted = std::move(block);
    }
    void setChangeTokenUpdatedBlock(std::function<void(const CKServerChangeToken&)> block) {
        tokenUpdated = std::move(block);
    }
    void setFetchDatabaseChangesCompletionBlock(
        std::function<void(const OptionalToken&, MoreComing, const OptionalError&)> block) {
        completion = std::move(block);
    }

    OptionalToken previousServerChangeToken;
    bool fetchAllChanges = true;
    std::function<void(const CKRecordZoneID&)> changed, deleted;
    std::function<void(const CKServerChangeToken&)> tokenUpdated;
    std::function<void(const OptionalToken&, MoreComing, const OptionalError&)> completion;
};

// Reads zones.
class CKZoneChangesOperation : public CKDatabaseOperation {
  public:
    // For the block that ends a zone to take: to be called once what was told of the zone is stored, from any thread.
    // Until then its deletions are told again by later readings. May be empty.
    [[nodiscard]] Block takeReceipt() { return std::exchange(receipt, {}); }
    Block receipt;
};

// One for all zones of an operation.
struct CKFetchRecordZoneChangesOptions {
    OptionalToken previousServerChangeToken;
    void setPreviousServerChangeToken(OptionalToken token) { previousServerChangeToken = std::move(token); }
};

class CKFetchRecordZoneChangesOperation final : public CKZoneChangesOperation {
  public:
    CKFetchRecordZoneChangesOperation(std::vector<CKRecordZoneID> zoneIDs,
                                      std::map<CKRecordZoneID, CKFetchRecordZoneChangesOptions> options)
        : recordZoneIDs(std::move(zoneIDs)), optionsByRecordZoneID(std::move(options)) {}
    void setFetchAllChanges(bool all) { fetchAllChanges = all; }
    void setRecordChangedBlock(std::function<void(const CKRecord&)> block) { recordChanged = std::move(block); }
    void setRecordWithIDWasDeletedBlock(std::function<void(const CKRecordID&, const std::string& recordType)> block) {
        recordDeleted = std::move(block);
    }
    // For each zone once; `clientData` is always empty.
    void setRecordZoneFetchCompletionBlock(
        std::function<void(const CKRecordZoneID&, const OptionalToken&, const Bytes& clientData, MoreComing,
                           const OptionalError&)>
            block) {
        zoneCompletion = std::move(block);
    }

    std::vector<CKRecordZoneID> recordZoneIDs;
    std::map<CKRecordZoneID, CKFetchRecordZoneChangesOptions> optionsByRecordZoneID;
    bool fetchAllChanges = true;
    std::function<void(const CKRecord&)> recordChanged;
    std::function<void(const CKRecordID&, const std::string&)> recordDeleted;
    std::function<void(const CKRecordZoneID&, const OptionalToken&, const Bytes&, MoreComing, const OptionalError&)>
        zoneCompletion;
};

// The older fetch of one zone.
class CKFetchRecordChangesOperation final : public CKZoneChangesOperation {
  public:
    CKFetchRecordChangesOperation(CKRecordZoneID zone, OptionalToken token)
        : recordZoneID(std::move(zone)), previousServerChangeToken(std::move(token)) {}
    void setRecordChangedBlock(std::function<void(const CKRecord&)> block) { recordChanged = std::move(block); }
    void setRecordWithIDWasDeletedBlock(std::function<void(const CKRecordID&)> block) {
        recordDeleted = std::move(block);
    }
    void setFetchRecordChangesCompletionBlock(
        std::function<void(const OptionalToken&, const Bytes& clientData, const OptionalError&)> block) {
        completion = std::move(block);
    }
    [[nodiscard]] bool moreComing() const { return hasMore; }

    CKRecordZoneID recordZoneID;
    OptionalToken previousServerChangeToken;
    bool hasMore = false;  // set before the completion block runs
    std::function<void(const CKRecord&)> recordChanged;
    std::function<void(const CKRecordID&)> recordDeleted;
    std::function<void(const OptionalToken&, const Bytes&, const OptionalError&)> completion;
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

class CKFetchRecordZonesOperation final : public CKDatabaseOperation {
  public:
    static std::shared_ptr<CKFetchRecordZonesOperation> fetchAllRecordZonesOperation() {
        return std::make_shared<CKFetchRecordZonesOperation>();
    }
    void setFetchRecordZonesCompletionBlock(
        std::function<void(const std::vector<CKRecordZoneID>&, const OptionalError&)> block) {
        completion = std::move(block);
    }
    std::function<void(const std::vector<CKRecordZoneID>&, const OptionalError&)> completion;
};

class CKModifyRecordZonesOperation final : public CKDatabaseOperation {
  public:
    CKModifyRecordZonesOperation(std::vector<CKRecordZoneID> saves, std::vector<CKRecordZoneID> deletions)
        : recordZonesToSave(std::move(saves)), recordZoneIDsToDelete(std::move(deletions)) {}
    void setModifyRecordZonesCompletionBlock(
        std::function<void(const std::vector<CKRecordZoneID>& saved, const std::vector<CKRecordZoneID>& deleted,
                           const OptionalError&)>
            block) {
        completion = std::move(block);
    }
    std::vector<CKRecordZoneID> recordZonesToSave, recordZoneIDsToDelete;
    std::function<void(const std::vector<CKRecordZoneID>&, const std::vector<CKRecordZoneID>&, const OptionalError&)>
        completion;
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
