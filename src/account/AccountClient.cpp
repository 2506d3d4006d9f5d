#include "account/AccountClient.h"

#include <algorithm>
#include <cctype>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun {
namespace {

CKError unexpected() {
    return {CKErrorCode::InternalError, "the service answered with something else", {}};
}

OptionalError errorOf(const cloud::Answer& answer) {
    const auto* error = std::get_if<CKError>(&answer);
    return error ? OptionalError(*error) : std::nullopt;
}

bool isThisMachine(std::string_view host) {
    return host == "localhost" || host == "[::1]" || host.starts_with("127.");
}

}  // namespace

std::optional<std::string> AccountClient::serviceURL(std::string_view typed) {
    const auto isSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    while (!typed.empty() && isSpace(typed.front()))
        typed.remove_prefix(1);
    while (!typed.empty() && (isSpace(typed.back()) || typed.back() == '/'))
        typed.remove_suffix(1);
    std::string url(typed);
    if (url.find("://") == std::string::npos) url = "https://" + url;
    const auto hostStart = url.find("://") + 3;
    const auto scheme = url.substr(0, hostStart);
    const std::string_view rest = std::string_view(url).substr(hostStart);
    const auto authority = rest.substr(0, rest.find('/'));
    const auto host = authority.substr(0, authority.find(':', authority.starts_with('[') ? authority.find(']') : 0));
    if (host.empty() || std::ranges::any_of(url, isSpace) || rest.find_first_of("?#@\\") != std::string_view::npos)
        return std::nullopt;
    if (scheme == "https://" || (scheme == "http://" && isThisMachine(host))) return url;
    return std::nullopt;
}

AccountClient::~AccountClient() {
    _with.keeper.stopAsking();
    _gate->close();
    if (_entrance) _entrance->close();
    for (const auto& transport : _endings)
        transport->close();
}

AccountClient::AnswerBlock AccountClient::whileHere(AnswerBlock block) const {
    return
        [gate = _gate, block = std::move(block)](const cloud::Answer& answer) { gate->pass([&] { block(answer); }); };
}

void AccountClient::ask(cloud::Request request, AnswerBlock completion) {
    const auto session = _with.keeper.currentSession();
    _with.transport.send(session ? session->deviceToken : std::string(), std::move(request),
                         whileHere(std::move(completion)));
}

void AccountClient::askForDone(cloud::Request request, Done completion) {
    ask(std::move(request), [completion = std::move(completion)](const cloud::Answer& answer) {
        const bool isExpected = std::holds_alternative<cloud::Done>(answer);
        completion(isExpected ? std::nullopt : OptionalError(errorOf(answer).value_or(unexpected())));
    });
}

void AccountClient::enter(const ServiceAddress& service, cloud::Request request, Done completion) {
    const auto transport = _with.makeTransport(service);
    {
        const std::lock_guard lock(_mutex);
        _entrance = transport;
    }
    transport->send({}, std::move(request),
                    whileHere([this, transport, service, completion = std::move(completion)](const auto& answer) {
                        const auto* entered = std::get_if<cloud::SignedIn>(&answer);
                        if (!entered) {
                            leaveEntrance(transport);
                            return completion(errorOf(answer).value_or(unexpected()));
                        }
                        StoredAccount account{service.URL,
                                              entered->accountID,
                                              entered->name,
                                              entered->displayName,
                                              entered->emailAddress,
                                              entered->deviceID,
                                              entered->serviceEpoch,
                                              service.certificateFingerprint,
                                              {}};
                        keep(transport, std::move(account), entered->deviceToken, completion);
                    }));
}

void AccountClient::keep(const std::shared_ptr<CloudTransport>& transport, StoredAccount account,
                         const std::string& deviceToken, const Done& completion) {
    const CloudSession session{account.accountID, deviceToken, account.serviceEpoch};
    const Former former{_with.keeper.state().account, _with.keeper.currentSession()};
    const auto outcome = _with.keeper.signedIn(account, deviceToken);
    if (outcome == AccountKeeper::SigningIn::Done) {
        leaveEntrance(transport);
        endFormer(former, account, session);
        return completion(std::nullopt);
    }
    const auto error = outcome == AccountKeeper::SigningIn::Withdrawn
                           ? CKError{CKErrorCode::OperationCancelled, "the keyring was not waited for", {}}
                           : CKError{CKErrorCode::InternalError, "the sign-in could not be kept here", {}};
    // Nobody has the token any more. If the service cannot be told, the device stays on its list.
    transport->send(session.credential(), cloud::SignOut{},
                    whileHere([this, transport, error, completion](const cloud::Answer&) {
                        leaveEntrance(transport);
                        completion(error);
                    }));
}

void AccountClient::leaveEntrance(const std::shared_ptr<CloudTransport>& transport) {
    {
        const std::lock_guard lock(_mutex);
        if (_entrance == transport) _entrance.reset();
    }
    transport->close();
}

void AccountClient::endFormer(const Former& former, const StoredAccount& account, const CloudSession& session) {
    if (!former.account) return;
    // Perhaps at another address of its service.
    const bool isSameAccount = former.account->accountID == account.accountID;
    const bool isSecretKnown = former.session && former.session->accountID == former.account->accountID;
    if (!isSameAccount && !isSecretKnown) return;
    // The new sign-in can end the former one of its own account even where the keyring has lost that one's secret.
    const auto& from = isSameAccount ? account : *former.account;
    const auto transport = _with.makeTransport({from.serviceURL, from.certificateFingerprint});
    {
        const std::lock_guard lock(_mutex);
        _endings.push_back(transport);
    }
    transport->send(isSameAccount ? session.credential() : former.session->credential(),
                    isSameAccount ? cloud::Request(cloud::RevokeDevice{former.account->deviceID})
                                  : cloud::Request(cloud::SignOut{}),
                    whileHere([this, transport](const cloud::Answer&) {
                        std::vector<Block> waiting;
                        {
                            const std::lock_guard lock(_mutex);
                            std::erase(_endings, transport);
                            if (_endings.empty()) waiting.swap(_whenFormerHaveEnded);
                        }
                        transport->close();
                        for (const auto& block : waiting)
                            block();
                    }));
}

void AccountClient::whenFormerHaveEnded(Block block) {
    {
        const std::lock_guard lock(_mutex);
        if (!_endings.empty()) return _whenFormerHaveEnded.push_back(std::move(block));
    }
    block();
}

void AccountClient::createAccount(ServiceAddress service, cloud::CreateAccount account, Done completion) {
    enter(service, std::move(account), std::move(completion));
}

void AccountClient::signIn(ServiceAddress service, cloud::SignIn credentials, Done completion) {
    enter(service, std::move(credentials), std::move(completion));
}

void AccountClient::signOut(Done completion) {
    askForDone(cloud::SignOut{}, [&keeper = _with.keeper, completion = std::move(completion)](OptionalError error) {
        keeper.signedOut();
        // A device that the service does not know any more is signed out there too.
        if (error && error->code == CKErrorCode::NotAuthenticated) error.reset();
        completion(error);
    });
}

void AccountClient::changePassword(const std::string& oldPassword, const std::string& newPassword, Done completion) {
    askForDone(cloud::ChangePassword{oldPassword, newPassword}, std::move(completion));
}

void AccountClient::fetchDevices(DevicesBlock completion) {
    ask(cloud::FetchDevices{}, [completion = std::move(completion)](const cloud::Answer& answer) {
        const auto* devices = std::get_if<cloud::Devices>(&answer);
        if (devices) return completion(devices->devices, std::nullopt);
        completion({}, errorOf(answer).value_or(unexpected()));
    });
}

void AccountClient::revokeDevice(const std::string& deviceID, Done completion) {
    askForDone(cloud::RevokeDevice{deviceID}, std::move(completion));
}

void AccountClient::deleteAccount(const std::string& password, Done completion) {
    askForDone(cloud::DeleteAccount{password},
               [&keeper = _with.keeper, completion = std::move(completion)](const OptionalError& error) {
                   if (!error) keeper.signedOut();
                   completion(error);
               });
}

// ---- taking everything along

struct AccountClient::Export {
    std::vector<cloud::FetchZoneChanges::Zone> zones;
    std::vector<std::string> lines;
    ExportBlock completion;
};

void AccountClient::exportRecords(ExportBlock completion) {
    auto state = std::make_shared<Export>();
    state->completion = std::move(completion);
    ask(cloud::FetchZones{}, [this, state](const cloud::Answer& answer) {
        const auto* zones = std::get_if<cloud::Zones>(&answer);
        if (!zones) return state->completion({}, errorOf(answer).value_or(unexpected()));
        for (const auto& zone : zones->zones)
            if (zone.zoneName != CKRecordZoneDefaultName) state->zones.push_back({zone, std::nullopt});
        exportNext(state);
    });
}

// A page of the last zone of the list, until there is none.
void AccountClient::exportNext(const std::shared_ptr<Export>& state) {
    if (state->zones.empty()) return state->completion(state->lines, std::nullopt);
    ask(cloud::FetchZoneChanges{cloud::DatabaseScope::Private, {state->zones.back()}},
        [this, state](const cloud::Answer& answer) {
            const auto* changes = std::get_if<cloud::ZoneChanges>(&answer);
            if (!changes || changes->zones.size() != 1)
                return state->completion({}, errorOf(answer).value_or(unexpected()));
            const auto& zone = changes->zones.front();
            if (zone.error) return state->completion({}, zone.error);
            for (const CKRecord& record : zone.changed)
                state->lines.push_back(cloud::encode(record));
            state->zones.back().previousToken = zone.token;
            if (!zone.moreComing) state->zones.pop_back();
            exportNext(state);
        });
}

}  // namespace zun
