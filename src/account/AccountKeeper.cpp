#include "account/AccountKeeper.h"

#include <utility>

namespace zun {
namespace {

constexpr std::string_view epochWillChange = "epoch";
constexpr std::string_view keyringDidChange = "keyring";

// The queue looks for a secret while whoever signs in saves another. What waits for its turn is withdrawn, too.
class OneAtATime final : public SecretStore {
  public:
    explicit OneAtATime(std::unique_ptr<SecretStore> store) : _store(std::move(store)) {}

    std::optional<Secret> find(const std::string& key) override {
        const Turn turn(*this);
        return turn.isWithdrawn() ? std::nullopt : _store->find(key);
    }
    SavedSecret save(const std::string& key, const std::string& text, const std::string& label) override {
        const Turn turn(*this);
        return turn.isWithdrawn() ? SecretRefusal::Withdrawn : _store->save(key, text, label);
    }
    void remove(const std::string& key) override {
        const Turn turn(*this);
        _store->remove(key);
    }
    void setQuestionBlock(std::function<void(KeyringQuestion)> block) override {
        _store->setQuestionBlock(std::move(block));
    }
    void withdraw() override {
        ++_withdrawals;
        _store->withdraw();
    }

  private:
    class Turn {
      public:
        explicit Turn(OneAtATime& store) : _store(store), _withdrawalsBefore(store._withdrawals), _lock(store._mutex) {}
        [[nodiscard]] bool isWithdrawn() const { return _store._withdrawals != _withdrawalsBefore; }

      private:
        OneAtATime& _store;
        const std::uint64_t _withdrawalsBefore;
        const std::lock_guard<std::mutex> _lock;
    };

    std::mutex _mutex;
    std::atomic<std::uint64_t> _withdrawals = 0;
    const std::unique_ptr<SecretStore> _store;
};

}  // namespace

AccountKeeper::AccountKeeper(const Folders& folders, std::unique_ptr<SecretStore> secrets, Dispatch& dispatch)
    : _file(folders.configuration),
      _secrets(std::make_unique<OneAtATime>(secrets ? std::move(secrets) : makeSecretStore(folders.data / "secrets"))),
      _queue(dispatch.makeSerialQueue("account", QualityOfService::Utility)),
      _blocks(dispatch) {
    _secrets->setQuestionBlock([this](KeyringQuestion question) {
        const bool isAsking = question == KeyringQuestion::Asked;
        if (isAsking && _asksNobody) withdrawFromKeyring();
        _isKeyringAsking = isAsking;
        _news.postNotificationName(keyringDidChange);
    });
    reload();
}

AccountKeeper::~AccountKeeper() {
    stopAsking();
    _blocks.wait();
}

void AccountKeeper::stopAsking() {
    _asksNobody = true;
    withdrawFromKeyring();
}

AccountKeeper::State AccountKeeper::state() const {
    const std::lock_guard lock(_mutex);
    return {_account, _secretPlace};
}

std::optional<CloudSession> AccountKeeper::currentSession() const {
    return _session.currentSession();
}

std::optional<CloudSession> AccountKeeper::knownAccount() const {
    auto session = currentSession();
    const auto account = state().account;
    if (session || !account) return session;
    return CloudSession{account->accountID, {}, account->serviceEpoch};
}

Observation AccountKeeper::observeSession(std::function<void()> changed) {
    return _session.observeSession(std::move(changed));
}

Observation AccountKeeper::observeEpoch(
    std::function<void(const std::string& accountID, const std::string& epoch)> willChange) {
    return _news.addObserver(epochWillChange, [block = std::move(willChange)](const NSNotification& notification) {
        const auto* account = std::any_cast<const StoredAccount*>(&notification.object);
        if (account) block((*account)->accountID, (*account)->serviceEpoch);
    });
}

Observation AccountKeeper::observeKeyring(std::function<void()> changed) {
    return _news.addObserver(keyringDidChange, [block = std::move(changed)](const NSNotification&) { block(); });
}

AccountKeeper::SigningIn AccountKeeper::signedIn(StoredAccount account, const std::string& deviceToken) {
    account.secretKey = "account-" + account.deviceID;
    const std::string label = "Zun: " + account.name + " at " + account.serviceURL;
    const auto former = state().account;
    const auto saved = _secrets->save(account.secretKey, deviceToken, label);
    const auto* place = std::get_if<SecretPlace>(&saved);
    if (!place) return saved == SavedSecret(SecretRefusal::Withdrawn) ? SigningIn::Withdrawn : SigningIn::CannotKeep;
    {
        const std::lock_guard lock(_mutex);
        ++_signInsUnderWay;
        ++_signIns;
    }
    bool isKept = false;
    {
        const std::lock_guard file(_fileMutex);
        isKept = _file.write(account);
    }
    if (isKept) become(account, Secret{deviceToken, *place});
    {
        const std::lock_guard lock(_mutex);
        --_signInsUnderWay;
    }
    if (!isKept) {
        _secrets->remove(account.secretKey);
    } else if (former && former->secretKey != account.secretKey) {
        _secrets->remove(former->secretKey);
    }
    return isKept ? SigningIn::Done : SigningIn::CannotKeep;
}

void AccountKeeper::signedOut() {
    const auto former = state().account;
    {
        const std::lock_guard lock(_mutex);
        ++_signInsUnderWay;
        ++_signIns;
    }
    {
        const std::lock_guard file(_fileMutex);
        _file.remove();
    }
    if (former) _secrets->remove(former->secretKey);
    become(std::nullopt, std::nullopt);
    const std::lock_guard lock(_mutex);
    --_signInsUnderWay;
}

void AccountKeeper::setServiceEpoch(const std::string& epoch) {
    alterAccount([&](StoredAccount& account) {
        if (account.serviceEpoch == epoch) return false;
        account.serviceEpoch = epoch;
        return true;
    });
}

void AccountKeeper::setCertificateFingerprint(const std::string& serviceURL, const std::string& fingerprint) {
    alterAccount([&](StoredAccount& account) {
        if (account.serviceURL != serviceURL) return false;
        // The same one again is told, too: what failed before may go on now.
        account.certificateFingerprint = fingerprint;
        return true;
    });
}

void AccountKeeper::alterAccount(const std::function<bool(StoredAccount&)>& alter) {
    std::optional<StoredAccount> account;
    {
        const std::lock_guard file(_fileMutex);
        {
            const std::lock_guard lock(_mutex);
            if (!_account || _signInsUnderWay > 0 || !alter(*_account)) return;
            account = _account;
        }
        // If that fails, the epoch is learned once more, or the person asked.
        static_cast<void>(_file.write(*account));
    }
    followService(*account);
}

void AccountKeeper::reload() {
    std::uint64_t before = 0;
    {
        const std::lock_guard lock(_mutex);
        before = _signIns;
    }
    auto account = _file.read();
    bool isSame = false;
    bool isSecretWanted = false;
    {
        const std::lock_guard lock(_mutex);
        // Whoever signs in here tells of it, and what was read may be older. Going by it would look like a sign-out.
        if (_signInsUnderWay > 0 || _signIns != before) return;
        isSecretWanted = _isSecretWanted;
        if (account && _account && _account->secretKey == account->secretKey) {
            _account = account;
            isSame = true;
        }
    }
    if (isSame) return followService(*account);
    become(account, std::nullopt);
    if (isSecretWanted) lookForSecret();
}

void AccountKeeper::reload(Block whenKnown) {
    _blocks.async(*_queue, [this, whenKnown = std::move(whenKnown)]() mutable {
        reload();
        lookForSecret();
        // Behind the question to the keyring, if there is one.
        _blocks.async(*_queue, std::move(whenKnown));
    });
}

void AccountKeeper::followService(const StoredAccount& account) {
    auto session = _session.currentSession();
    if (!session || session->accountID != account.accountID) return;
    if (session->serviceEpoch != account.serviceEpoch) _news.postNotificationName(epochWillChange, &account);
    session->serviceEpoch = account.serviceEpoch;
    session->certificateFingerprint = account.certificateFingerprint;
    _session.setSession(std::move(session));
}

void AccountKeeper::lookForSecret() {
    std::string key;
    {
        const std::lock_guard lock(_mutex);
        _isSecretWanted = true;
        if (!_account || _secretPlace || _soughtKey == _account->secretKey) return;
        key = _soughtKey = _account->secretKey;
    }
    _blocks.async(*_queue, [this, key] {
        const auto secret = _secrets->find(key);
        std::optional<StoredAccount> now;
        {
            const std::lock_guard lock(_mutex);
            if (_soughtKey == key) _soughtKey.clear();
            now = _account;
        }
        // Somebody may have signed in or out while the keyring was thinking.
        if (secret && now && now->secretKey == key) become(now, secret);
    });
}

void AccountKeeper::waitForSecret() {
    lookForSecret();
    _blocks.wait();
}

void AccountKeeper::become(std::optional<StoredAccount> account, const std::optional<Secret>& secret) {
    std::optional<CloudSession> session;
    if (account && secret)
        session =
            CloudSession{account->accountID, secret->text, account->serviceEpoch, account->certificateFingerprint};
    {
        const std::lock_guard lock(_mutex);
        _account = std::move(account);
        _secretPlace = secret ? std::optional(secret->place) : std::nullopt;
    }
    _session.setSession(std::move(session));
}

}  // namespace zun
