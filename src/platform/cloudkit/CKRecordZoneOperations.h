#pragma once

// The operations that list, make and delete the zones of a database. See CKDatabaseOperation.

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/cloudkit/CKDatabaseOperation.h"
#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace zun {

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

}  // namespace zun
