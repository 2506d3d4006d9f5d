#include "account/AccountTransport.h"

namespace zun {

AccountTransport::~AccountTransport() {
    _gate->close();
    for (const auto& former : _formers)
        if (const auto transport = former.lock()) transport->close();
    if (_transport) _transport->close();
}

void AccountTransport::learnEpochOver(const std::shared_ptr<CloudTransport>& transport, const Block& done) {
    const auto session = _keeper.currentSession();
    if (!session) return done();
    transport->send(session->deviceToken, cloud::FetchAccount{},
                    [this, gate = _gate, done](const cloud::Answer& answer) {
                        gate->pass([&] {
                            const auto* account = std::get_if<cloud::Account>(&answer);
                            const auto now = _keeper.currentSession();
                            if (account && now && now->accountID == account->accountID)
                                _keeper.setServiceEpoch(account->serviceEpoch);
                        });
                        done();
                    });
}

std::shared_ptr<CloudTransport> AccountTransport::current() {
    const auto account = _keeper.state().account;
    if (!account) return nullptr;
    const ServiceAddress address{account->serviceURL, account->certificateFingerprint};
    const std::lock_guard lock(_mutex);
    if (!_transport || address != _address) {
        if (_transport) _formers.push_back(_transport);
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
            [this, gate = _gate, transport, completion = std::move(completion)](cloud::Answer answer) {
                const auto* error = std::get_if<CKError>(&answer);
                if (error && error->code == CKErrorCode::ChangeTokenExpired)
                    gate->pass([&] { learnEpochOver(transport, [] {}); });
                completion(std::move(answer));
            });
    }
    completion(CKError{CKErrorCode::NotAuthenticated, "nobody is signed in", {}});
}

void AccountTransport::learnEpoch(const Block& done) {
    if (const auto transport = current()) return learnEpochOver(transport, done);
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
