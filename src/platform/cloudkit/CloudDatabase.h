#pragma once

// A database of the record service: turns each operation into requests, and answers into the operation's blocks.
// Nothing is split here; what the service finds too large fails with its code 27.
//
// Any thread. Blocks run on a concurrent queue of the operation's quality, those of one operation one after the other.
// One that asks for all changes goes on from page to page by itself.

#include "platform/cloudkit/CKOperations.h"
#include "platform/cloudkit/CloudRequests.h"
#include "platform/cloudkit/RecordCache.h"

namespace zun {

class CloudDatabase final : public CKDatabase {
  public:
    // The cache outlives the closing of the requests.
    CloudDatabase(cloud::DatabaseScope scope, std::shared_ptr<CloudRequests> requests, RecordCache& cache)
        : _scope(scope), _requests(std::move(requests)), _cache(cache) {}

    void addOperation(CKDatabaseOperationPtr operation) override;
    void saveRecord(CKRecord record, RecordHandler completionHandler) override;
    void fetchRecordWithID(CKRecordID recordID, RecordHandler completionHandler) override;
    void deleteRecordWithID(CKRecordID recordID, RecordIDHandler completionHandler) override;
    void fetchAllRecordZonesWithCompletionHandler(ZonesHandler completionHandler) override;
    void saveSubscription(CKSubscription subscription, SubscriptionHandler completionHandler) override;
    void fetchAllSubscriptionsWithCompletionHandler(SubscriptionsHandler completionHandler) override;
    void deleteSubscriptionWithID(std::string subscriptionID, ErrorHandler completionHandler) override;

  private:
    [[nodiscard]] CloudCaller caller(QualityOfService quality = QualityOfService::Default) const {
        return {_requests, quality};
    }
    void start(const std::shared_ptr<CKFetchDatabaseChangesOperation>& operation);
    void start(const std::shared_ptr<CKFetchRecordZoneChangesOperation>& operation);
    void start(const std::shared_ptr<CKFetchRecordChangesOperation>& operation);
    void start(const std::shared_ptr<CKFetchRecordsOperation>& operation);
    void start(const std::shared_ptr<CKModifyRecordsOperation>& operation);
    void start(const std::shared_ptr<CKFetchRecordZonesOperation>& operation);
    void start(const std::shared_ptr<CKModifyRecordZonesOperation>& operation);
    void start(const std::shared_ptr<CKQueryOperation>& operation);
    template <class Operation>
    bool startIf(const CKDatabaseOperationPtr& operation);

    const cloud::DatabaseScope _scope;
    const std::shared_ptr<CloudRequests> _requests;
    RecordCache& _cache;
};

}  // namespace zun
