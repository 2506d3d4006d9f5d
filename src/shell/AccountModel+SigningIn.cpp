#include "shell/AccountModel.h"

namespace zun {

// ---- signing in

void AccountModel::signIn(const Entry& entry) {
    if (isBusy()) return;
    enter(entry, cloud::SignIn{entry.name, entry.password, _with.deviceName});
}

void AccountModel::createAccount(const Entry& entry, const NewAccount& details) {
    if (isBusy()) return;
    if (entry.password.size() < shortestPassword) return complain("Account_Error_Password_Rules");
    if (entry.password != details.repeatedPassword) return complain("Account_Error_Passwords_Differ");
    enter(entry, cloud::CreateAccount{entry.name, details.displayName.empty() ? entry.name : details.displayName,
                                      details.emailAddress, entry.password, details.invitation, _with.deviceName});
}

void AccountModel::enter(const Entry& entry, std::variant<cloud::SignIn, cloud::CreateAccount> request) {
    const auto url = AccountClient::serviceURL(entry.address);
    if (!url) return complain("Account_Error_Address");
    if (entry.name.empty()) return complain("Account_Error_No_Name");
    if (entry.password.empty()) return complain("Account_Error_No_Password");
    _attempt = Attempt{{*url, {}}, std::move(request)};
    // A certificate that was agreed to need not be asked about again.
    if (const auto known = account().account; known && known->serviceURL == *url)
        _attempt->service.certificateFingerprint = known->certificateFingerprint;
    attempt();
}

void AccountModel::attempt() {
    _question.reset();
    const bool isNew = std::holds_alternative<cloud::CreateAccount>(_attempt->request);
    begin(isNew ? AccountWork::CreatingAccount : AccountWork::SigningIn);
    ask(
        [tried = *_attempt](AccountClient& client, Done done) {
            if (const auto* account = std::get_if<cloud::CreateAccount>(&tried.request))
                return client.createAccount(tried.service, *account, std::move(done));
            client.signIn(tried.service, std::get<cloud::SignIn>(tried.request), std::move(done));
        },
        [this](const OptionalError& error) { attemptEnded(error); });
}

void AccountModel::attemptEnded(const OptionalError& error) {
    const bool mayBeCertificate = error && error->code == CKErrorCode::NetworkFailure &&
                                  _attempt->service.URL.starts_with("https://") && _with.fetchCertificate;
    if (mayBeCertificate)
        return lookAtCertificate(_attempt->service.URL, [this, error = *error](const auto& offered) {
            const auto answer = _attempt->service.certificateFingerprint;
            if (!offered || !isNews(*offered, answer)) {
                _attempt.reset();
                return endWith(error, {});
            }
            if (offered->isVouchedFor) return tryWithCertificate({});
            _question = CertificateQuestion{_attempt->service.URL, *offered, !answer.empty()};
            end(std::nullopt);
        });
    _attempt.reset();
    endWith(error, {});
    if (!error) {
        _with.settings.setShouldUseCloudKit(true);
        _blocks.async(*_queue, [&settings = _with.settings] { settings.save(); });
        readSyncReport();
        syncNow();
    }
}

// ---- certificates

bool AccountModel::isNews(const OfferedCertificate& offered, const std::string& accepted) {
    return offered.isVouchedFor ? !accepted.empty() : accepted != offered.fingerprint;
}

// Nothing was sent to a service that showed a certificate which was not accepted; but what came to the client is only
// that the connection failed.
void AccountModel::lookAtCertificate(const std::string& URL, std::function<void(const Offered&)> then) {
    _with.dispatch.concurrent(QualityOfService::UserInitiated)
        ->async([fetch = _with.fetchCertificate, URL, done = onMain<Offered>(std::move(then))] {
            const auto answer = fetch(URL);
            const auto* offered = std::get_if<OfferedCertificate>(&answer);
            done(offered ? Offered(*offered) : std::nullopt);
        });
}

// A service that was signed in to may come back with another certificate: an expired one was replaced, or somebody
// stands between. Until the person has decided, no pass succeeds.
void AccountModel::lookWhetherCertificateChanged() {
    const auto state = account();
    const bool mayBe = _report.lastEnding != AccountSyncReport::Ending::Done && _report.lastError &&
                       _report.lastError->code == CKErrorCode::NetworkFailure && state.account &&
                       state.account->serviceURL.starts_with("https://") && _with.fetchCertificate;
    if (!mayBe || _isLooking || _question || isBusy()) return;
    _isLooking = true;
    lookAtCertificate(state.account->serviceURL, [this, known = *state.account](const Offered& offered) {
        _isLooking = false;
        const auto now = account().account;
        const bool isStillSo =
            now && now->serviceURL == known.serviceURL && now->certificateFingerprint == known.certificateFingerprint;
        if (!offered || !isStillSo || _attempt || isBusy() || !isNews(*offered, known.certificateFingerprint)) return;
        if (offered->isVouchedFor) return keepCertificate(known.serviceURL, {});
        if (offered->fingerprint == _refusedFingerprint) return;
        _question = CertificateQuestion{known.serviceURL, *offered, !known.certificateFingerprint.empty()};
        changed();
    });
}

void AccountModel::acceptCertificate() {
    if (isBusy() || !_question) return;
    const auto fingerprint = _question->certificate.fingerprint;
    if (_attempt) return tryWithCertificate(fingerprint);
    keepCertificate(_question->serviceURL, fingerprint);
}

void AccountModel::tryWithCertificate(const std::string& fingerprint) {
    _attempt->service.certificateFingerprint = fingerprint;
    attempt();
}

void AccountModel::keepCertificate(std::string serviceURL, const std::string& fingerprint) {
    _question.reset();
    changed();
    auto done = onMain<>([this] { syncNow(); });
    _blocks.async(*_queue,
                  [&keeper = _with.keeper, serviceURL = std::move(serviceURL), fingerprint, done = std::move(done)] {
                      keeper.setCertificateFingerprint(serviceURL, fingerprint);
                      done();
                  });
}

void AccountModel::refuseCertificate() {
    if (!_question) return;
    if (!_attempt) _refusedFingerprint = _question->certificate.fingerprint;
    _question.reset();
    _attempt.reset();
    changed();
}

}  // namespace zun
