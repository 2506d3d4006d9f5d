#include "account/AccountKeeper.h"

#include <utility>

namespace zun {
namespace {

constexpr std::string_view epochWillChange = "epoch";

// The queue looks for a secret while whoever signs in saves another.
class OneAtATime final : public SecretStore {
  public:
    explicit OneAtATime(std::unique_ptr<SecretStore> store) : _store(std::move(store)) {}

    std::optional<Secret> find(const std::string& key) override {
        const std::lock_guard lock(_mutex);
        return _store->find(key);
    }
    std::optional<SecretPlace> save(const std::string& key, const std::string& text,
                                    const std::string& label) override {
        const std::lock_guard lock(_mutex);
        return _store->save(key, text, label);
    }
    void remove(const std::string& key) override {
        const std::lock_guard lock(_mutex);
        _store->remove(key);
    }

  private:
    std::mutex _mutex;
    const std::unique_ptr<SecretStore> _store;
};

}  // namespace

AccountKeeper::AccountKeeper(const Folders& folders, std::unique_ptr<SecretStore> secrets, Dispatch& dispatch)
    : _file(folders.configuration),
      _secrets(std::make_unique<OneAtATime>(secrets ? std::move(secrets) : makeSecretStore(folders.data / "secrets"))),
      _queue(dispatch.makeSerialQueue("account", QualityOfService::Utility)),
      _blocks(dispatch) {
    reload();
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
    return _epochs.addObserver(epochWillChange, [block = std::move(willChange)](const NSNotification& notification) {
        const auto* account = std::any_cast<const StoredAccount*>(&notification.object);
        if (account) block((*account)->accountID, (*account)->serviceEpoch);
    });
}

bool AccountKeeper::signedIn(StoredAccount account, const std::string& deviceToken) {
    account.secretKey = "account-" + account.deviceID;
    const std::string label = "Zun: " + account.name + " at " + account.serviceURL;
    const auto former = state().account;
    const auto place = _secrets->save(account.secretKey, deviceToken, label);
    if (!place) return false;
    {
        const std::lock_guard lock(_mutex);
        ++_signInsUnderWay;
        ++_signIns;
    }
    const bool isKept = _file.write(account);
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
    return isKept;
}

void AccountKeeper::signedOut() {
    const auto former = state().account;
    _file.remove();
    if (former) _secrets->remove(former->secretKey);
    become(std::nullopt, std::nullopt);
}

void AccountKeeper::setServiceEpoch(const std::string& epoch) {
    std::optional<StoredAccount> account;
    {
        const std::lock_guard lock(_mutex);
        if (!_account || _account->serviceEpoch == epoch) return;
        _account->serviceEpoch = epoch;
        account = _account;
    }
    static_cast<void>(_file.write(*account));  // without it the epoch is learned once more
    followService(*account);
}

void AccountKeeper::setCertificateFingerprint(const std::string& serviceURL, const std::string& fingerprint) {
    std::optional<StoredAccount> account;
    {
        const std::lock_guard lock(_mutex);
        if (!_account || _account->serviceURL != serviceURL) return;
        _account->certificateFingerprint = fingerprint;
        account = _account;
    }
    static_cast<void>(_file.write(*account));  // without it the person is asked once more
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
    {
        const std::lock_guard lock(_mutex);
        // Whoever signs in here tells of it, and what was read may be older. Going by it would look like a sign-out.
        if (_signInsUnderWay > 0 || _signIns != before) return;
        if (account && _account && _account->secretKey == account->secretKey) {
            _account = account;
            isSame = true;
        }
    }
    if (isSame) return followService(*account);
    become(account, std::nullopt);
    if (account) findSecret(*account);
}

void AccountKeeper::reload(Block whenKnown) {
    _blocks.async(*_queue, [this, whenKnown = std::move(whenKnown)]() mutable {
        reload();
        // Behind the question to the keyring, if there is one.
        _blocks.async(*_queue, std::move(whenKnown));
    });
}

void AccountKeeper::followService(const StoredAccount& account) {
    auto session = _session.currentSession();
    if (!session || session->accountID != account.accountID) return;
    if (session->serviceEpoch != account.serviceEpoch) _epochs.postNotificationName(epochWillChange, &account);
    session->serviceEpoch = account.serviceEpoch;
    session->certificateFingerprint = account.certificateFingerprint;
    _session.setSession(std::move(session));
}

void AccountKeeper::findSecret(const StoredAccount& account) {
    _blocks.async(*_queue, [this, account] {
        const auto secret = _secrets->find(account.secretKey);
        const auto now = state().account;
        // Somebody may have signed in or out while the keyring was thinking.
        if (secret && now && now->secretKey == account.secretKey) become(now, secret);
    });
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
