#pragma once

// A database of the signed-in account: the private one, or the shared one, which shows what others share with it.
// Operations start when they are added and report through their blocks, on any thread, perhaps before addOperation()
// returns. Blocks never run under a lock. An operation whose database has no account reports code 9.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/cloudkit/CKSubscription.h"
#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"
#include "platform/cloudprotocol/Messages.h"

namespace zun {

class CKDatabaseOperation;
using CKDatabaseOperationPtr = std::shared_ptr<CKDatabaseOperation>;

class CKDatabase {
  public:
    using RecordHandler = std::function<void(const std::optional<CKRecord>&, const OptionalError&)>;
    using RecordIDHandler = std::function<void(const std::optional<CKRecordID>&, const OptionalError&)>;
    using ZonesHandler = std::function<void(const std::vector<CKRecordZoneID>&, const OptionalError&)>;
    using SubscriptionHandler = std::function<void(const std::optional<CKSubscription>&, const OptionalError&)>;
    using SubscriptionsHandler = std::function<void(const std::vector<CKSubscription>&, const OptionalError&)>;
    using ErrorHandler = std::function<void(const OptionalError&)>;

    virtual ~CKDatabase() = default;
    virtual void addOperation(CKDatabaseOperationPtr operation) = 0;

    // One record each. Saves with the policy that the server's record must be unchanged.
    virtual void saveRecord(CKRecord record, RecordHandler completionHandler) = 0;
    virtual void fetchRecordWithID(CKRecordID recordID, RecordHandler completionHandler) = 0;
    virtual void deleteRecordWithID(CKRecordID recordID, RecordIDHandler completionHandler) = 0;
    virtual void fetchAllRecordZonesWithCompletionHandler(ZonesHandler completionHandler) = 0;
    virtual void saveSubscription(CKSubscription subscription, SubscriptionHandler completionHandler) = 0;
    virtual void fetchAllSubscriptionsWithCompletionHandler(SubscriptionsHandler completionHandler) = 0;
    virtual void deleteSubscriptionWithID(std::string subscriptionID, ErrorHandler completionHandler) = 0;
};

}  // namespace zun
