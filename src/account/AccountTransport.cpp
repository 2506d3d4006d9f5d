#include "account/AccountTransport.h"

namespace zun {
namespace {

void learnEpochOver(const std::shared_ptr<CloudTransport>& transport, AccountKeeper& keeper, const Block& done) {
    const auto session = keeper.currentSession();
    if (!session) return done();
    transport->send(session->deviceToken, cloud::FetchAccount{}, [&keeper, done](const cloud::Answer& answer) {
        const auto* account = std::get_if<cloud::Account>(&answer);
        const auto now = keeper.currentSession();
        if (account && now && now->accountID == account->accountID) keeper.setServiceEpoch(account->serviceEpoch);
        done();
    });
}

}  // namespace

std::shared_ptr<CloudTransport> AccountTransport::current() {
    const auto account = _keeper.state().account;
    if (!account) return nullptr;
    const ServiceAddress address{account->serviceURL, account->certificateFingerprint};
    const std::lock_guard lock(_mutex);
    if (!_transport || address != _address) {
        _transport = _makeTransport(address);
        _address = address;
    }
    return _transport;
}

bool AccountTransport::belongsToAccount(const std::string& deviceToken) const {
    const auto session = _keeper.currentSession();
    const auto account = _keeper.state().account;
    return session && account && session->accountID == account->accountID &&
           deviceToken.starts_with(session->deviceToken);
}

void AccountTransport::send(const std::string& deviceToken, cloud::Request request, Completion completion) {
    const auto transport = belongsToAccount(deviceToken) ? current() : nullptr;
    if (transport) {
        return transport->send(
            deviceToken, std::move(request),
            [transport, &keeper = _keeper, completion = std::move(completion)](cloud::Answer answer) {
                const auto* error = std::get_if<CKError>(&answer);
                if (error && error->code == CKErrorCode::ChangeTokenExpired) learnEpochOver(transport, keeper, [] {});
                completion(std::move(answer));
            });
    }
    completion(CKError{CKErrorCode::NotAuthenticated, "nobody is signed in", {}});
}

void AccountTransport::learnEpoch(const Block& done) {
    if (const auto transport = current()) return learnEpochOver(transport, _keeper, done);
    done();
}

std::unique_ptr<CloudPushStream> AccountTransport::openPushStream(const std::string& deviceToken,
                                                                  PushHandlers handlers) {
    // A stream of a former service keeps its transport alive by itself.
    struct Stream final : CloudPushStream {
        std::shared_ptr<CloudTransport> transport;
        std::unique_ptr<CloudPushStream> stream;
        ~Stream() override { stream.reset(); }
    };
    const auto transport = current();
    if (!transport) return nullptr;
    auto stream = std::make_unique<Stream>();
    stream->transport = transport;
    stream->stream = transport->openPushStream(deviceToken, std::move(handlers));
    return stream;
}

}  // namespace zun
