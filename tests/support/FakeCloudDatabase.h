#pragma once

// A cloud in memory that notes each operation as a line and answers it as told: from its records, or with the errors
// that the test has put in its way. Answers come later on a concurrent queue, unless the test holds them back. For one
// thread.

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/cloudkit/CKContainer.h"
#include "platform/cloudkit/CKOperations.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

class FakeCloudDatabase final : public CKDatabase {
  public:
    FakeCloudDatabase(Dispatch& dispatch, std::string name, std::vector<std::string>& lines)
        : _main(dispatch.main()),
          _queue(dispatch.concurrent(QualityOfService::UserInitiated)),
          _name(std::move(name)),
          _lines(lines) {}

    // What there is. `changedZones` is what the database's feed tells next; each zone's feed tells all of its records.
    std::map<CKRecordID, CKRecord> records;
    std::vector<CKRecordZoneID> zones;
    std::vector<CKRecordZoneID> changedZones, deletedZones;
    std::vector<CKRecordID> deletedRecords;  // told by the zones' feeds
    std::vector<CKSubscription> subscriptions;
    OptionalToken token = "token-1";
    MoreComing moreComing = MoreComing::No;
    std::size_t mostItems = 5'000;
    std::size_t mostQueried = 1'000;
    // The answers to the next operations of a verb, in their order; absent for a healthy one.
    std::map<std::string, std::deque<OptionalError>> errors;
    // Operations of this verb wait for release().
    std::string held;
    // Whether the last operation came from the main thread.
    bool wasAskedOnMain = false;

    void release() {
        for (auto& answer : std::exchange(_waiting, {}))
            _queue->async(std::move(answer));
    }

    void addOperation(CKDatabaseOperationPtr operation) override;
    void saveRecord(CKRecord record, RecordHandler completionHandler) override;
    void fetchRecordWithID(CKRecordID recordID, RecordHandler completionHandler) override;
    void deleteRecordWithID(CKRecordID recordID, RecordIDHandler completionHandler) override;
    void fetchAllRecordZonesWithCompletionHandler(ZonesHandler completionHandler) override;
    void saveSubscription(CKSubscription subscription, SubscriptionHandler completionHandler) override;
    void fetchAllSubscriptionsWithCompletionHandler(SubscriptionsHandler completionHandler) override;
    void deleteSubscriptionWithID(std::string subscriptionID, ErrorHandler completionHandler) override;

  private:
    void answer(const std::string& verb, const std::string& what, std::function<void(OptionalError)> block);
    void run(const std::shared_ptr<CKFetchDatabaseChangesOperation>& operation);
    void run(const std::shared_ptr<CKFetchRecordZoneChangesOperation>& operation);
    void run(const std::shared_ptr<CKFetchRecordChangesOperation>& operation);
    void run(const std::shared_ptr<CKFetchRecordsOperation>& operation);
    void run(const std::shared_ptr<CKModifyRecordsOperation>& operation);
    void run(const std::shared_ptr<CKFetchRecordZonesOperation>& operation);
    void run(const std::shared_ptr<CKModifyRecordZonesOperation>& operation);
    void run(const std::shared_ptr<CKQueryOperation>& operation);
    CKRecord& put(CKRecord record);

    const DispatchQueuePtr _main, _queue;
    const std::string _name;
    std::vector<std::string>& _lines;
    std::vector<Block> _waiting;
    int _lastTag = 0;
};

class FakeCloudContainer final : public CKContainer {
  public:
    explicit FakeCloudContainer(Dispatch& dispatch)
        : privateDatabase(dispatch, "", lines), sharedDatabase(dispatch, "shared ", lines) {}

    AccountStatus status = AccountStatus::Available;
    std::optional<UbiquityIdentityToken> identity = Bytes{'a'};
    std::string epoch;
    std::map<std::string, cloud::ShareMetadata> shares;  // by URL
    std::vector<std::string> lines;
    FakeCloudDatabase privateDatabase, sharedDatabase;

    std::vector<std::string> takeLines() { return std::exchange(lines, {}); }

    void accountStatusWithCompletionHandler(CloudAccount::StatusHandler handler) override { handler(status); }
    CKDatabase& privateCloudDatabase() override { return privateDatabase; }
    CKDatabase& sharedCloudDatabase() override { return sharedDatabase; }
    std::optional<UbiquityIdentityToken> ubiquityIdentityToken() const override { return identity; }
    std::string serviceEpoch() const override { return epoch; }
    void acceptShares(std::vector<cloud::ShareMetadata>, CKDatabase::ErrorHandler completion) override {
        completion(std::nullopt);
    }
    void fetchShareMetadata(std::vector<std::string> shareURLs, MetadataBlock perShareMetadataBlock,
                            CKDatabase::ErrorHandler completion) override {
        lines.push_back("metadata " + shareURLs.front());
        const auto found = shares.find(shareURLs.front());
        const bool isKnown = found != shares.end();
        if (isKnown) perShareMetadataBlock(found->first, found->second, std::nullopt);
        completion(isKnown ? OptionalError() : OptionalError(CKError{CKErrorCode::UnknownItem, "no such share", {}}));
    }
};

}  // namespace zun
