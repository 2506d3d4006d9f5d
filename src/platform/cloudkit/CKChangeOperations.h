#pragma once

// The operations that tell what has changed since a token: which zones of a database, and which records of a zone. See
// CKDatabaseOperation.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/cloudkit/CKDatabaseOperation.h"
#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"
#include "platform/cloudprotocol/MessageTypes.h"

namespace zun {

using CKServerChangeToken = cloud::Token;
using OptionalToken = std::optional<CKServerChangeToken>;
enum class MoreComing { No, Yes };

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

}  // namespace zun
