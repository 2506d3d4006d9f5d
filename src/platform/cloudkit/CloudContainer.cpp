#include "platform/cloudkit/CloudContainer.h"

namespace zun {
namespace {

std::optional<std::string> accountIDOf(const CloudSessionSource& sessions) {
    auto account = sessions.knownAccount();
    if (!account) return std::nullopt;
    return std::move(account->accountID);
}

}  // namespace

CloudContainer::CloudContainer(const Collaborators& collaborators)
    : _sessions(collaborators.sessions),
      _notifications(collaborators.notifications),
      _cache(collaborators.cache),
      _requests(
          std::make_shared<CloudRequests>(collaborators.transport, collaborators.sessions, collaborators.dispatch)),
      _private(cloud::DatabaseScope::Private, _requests, collaborators.cache),
      _shared(cloud::DatabaseScope::Shared, _requests, collaborators.cache),
      _accountID(accountIDOf(collaborators.sessions)),
      _observation(
          collaborators.sessions.observeSession([this, gate = _gate] { gate->pass([this] { sessionChanged(); }); })) {}

CloudContainer::~CloudContainer() {
    _observation.reset();
    _gate->close();
    _requests->close();
}

void CloudContainer::sessionChanged() {
    {
        const std::scoped_lock lock(_mutex);
        auto accountID = accountIDOf(_sessions);
        if (accountID == _accountID) return;
        _accountID = std::move(accountID);
    }
    // The records of the former account have nothing more to do here.
    _requests->run(QualityOfService::Utility, [&cache = _cache] { cache.forgetAll(); });
    _notifications.postNotificationName(NSUbiquityIdentityDidChangeNotification);
}

void CloudContainer::accountStatusWithCompletionHandler(CloudAccount::StatusHandler handler) {
    handler(_sessions.currentSession() ? AccountStatus::Available : AccountStatus::NoAccount);
}

std::optional<UbiquityIdentityToken> CloudContainer::ubiquityIdentityToken() const {
    const auto accountID = accountIDOf(_sessions);
    if (!accountID) return std::nullopt;
    return UbiquityIdentityToken(accountID->begin(), accountID->end());
}

std::string CloudContainer::serviceEpoch() const {
    const auto account = _sessions.knownAccount();
    return account ? account->serviceEpoch : std::string();
}

void CloudContainer::acceptShares(std::vector<cloud::ShareMetadata> shareMetadatas,
                                  CKDatabase::ErrorHandler completion) {
    cloud::AcceptShares request;
    std::map<std::string, CKRecordID> shareIDs;
    for (const auto& metadata : shareMetadatas) {
        request.URLs.push_back(metadata.URL);
        shareIDs.emplace(metadata.URL, metadata.share.recordID);
    }
    CloudCaller(_requests, QualityOfService::UserInitiated)
        .ask(std::move(request), [shareIDs, completion = std::move(completion)](cloud::Answer& answer) {
            Received<cloud::AcceptedShares> accepted(answer);
            std::map<CKRecordID, CKError> failed;
            for (auto& [URL, error] : accepted.content.failed) {
                if (const auto found = shareIDs.find(URL); found != shareIDs.end())
                    failed.emplace(found->second, std::move(error));
            }
            if (!accepted.error) accepted.error = partialFailure(std::move(failed));
            callIfSet(completion, accepted.error);
        });
}

void CloudContainer::fetchShareMetadata(std::vector<std::string> shareURLs, MetadataBlock perShareMetadataBlock,
                                        CKDatabase::ErrorHandler completion) {
    CloudCaller(_requests, QualityOfService::UserInitiated)
        .ask(cloud::FetchShareMetadata{std::move(shareURLs), true},
             [block = std::move(perShareMetadataBlock), completion = std::move(completion)](cloud::Answer& answer) {
                 const Received<cloud::ShareMetadataAnswer> received(answer);
                 for (const auto& item : received.content.items)
                     callIfSet(block, item.URL, item.metadata, item.error);
                 callIfSet(completion, received.error);
             });
}

}  // namespace zun
