#pragma once

// The container of the application at the record service that the account names. Any thread.
//
// When it is destroyed, blocks of its operations that are running on other threads are waited for, the others dropped.

#include "platform/cloudkit/CKContainer.h"
#include "platform/cloudkit/CloudDatabase.h"

namespace zun {

class CloudContainer final : public CKContainer {
  public:
    struct Collaborators {
        CloudTransport& transport;
        CloudSessionSource& sessions;
        Dispatch& dispatch;
        NSNotificationCenter& notifications;  // hears of another identity
        RecordCache& cache;
    };

    explicit CloudContainer(const Collaborators& collaborators);
    ~CloudContainer() override;
    CloudContainer(const CloudContainer&) = delete;
    CloudContainer& operator=(const CloudContainer&) = delete;

    void accountStatusWithCompletionHandler(CloudAccount::StatusHandler handler) override;
    [[nodiscard]] CKDatabase& privateCloudDatabase() override { return _private; }
    [[nodiscard]] CKDatabase& sharedCloudDatabase() override { return _shared; }
    [[nodiscard]] std::optional<UbiquityIdentityToken> ubiquityIdentityToken() const override;
    [[nodiscard]] std::string serviceEpoch() const override;
    void acceptShares(std::vector<cloud::ShareMetadata> shareMetadatas, CKDatabase::ErrorHandler completion) override;
    void fetchShareMetadata(std::vector<std::string> shareURLs, MetadataBlock perShareMetadataBlock,
                            CKDatabase::ErrorHandler completion) override;

  private:
    void sessionChanged();

    CloudSessionSource& _sessions;
    NSNotificationCenter& _notifications;
    RecordCache& _cache;
    const std::shared_ptr<CloudRequests> _requests;
    CloudDatabase _private;
    CloudDatabase _shared;
    std::mutex _mutex;
    std::optional<std::string> _accountID;                                   // the last one that was seen
    const std::shared_ptr<BlockGate> _gate = std::make_shared<BlockGate>();  // for changes of the session
    Observation _observation;
};

}  // namespace zun
