#pragma once

// The account that this home is signed in with: what stands in its file, with the secret from the keyring. The one
// place that says who is signed in, and where the service is.
//
// The keyring is asked on a queue of its own and only for who wants the secret, since it may ask the user in turn;
// until it has answered nobody counts as signed in. While it asks the user, that is told, and can be withdrawn: a
// sign-in then ends with nothing kept. Any thread. Outlives what observes it.

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "account/StoredAccount.h"
#include "platform/cloudkit/CloudSession.h"
#include "platform/foundation/BlocksUnderWay.h"
#include "platform/foundation/Dispatch.h"
#include "platform/secrets/SecretStore.h"

namespace zun {

class AccountKeeper final : public CloudSessionSource {
  public:
    // The secret's place is absent until the keyring has answered, and if it has no secret: then the user has to sign
    // in again.
    struct State {
        std::optional<StoredAccount> account;
        std::optional<SecretPlace> secretPlace;
    };
    enum class SigningIn { Done, Withdrawn, CannotKeep };

    // The folder of the settings, and the one for secrets without a keyring.
    struct Folders {
        std::filesystem::path configuration, data;
    };
    AccountKeeper(const Folders& folders, std::unique_ptr<SecretStore> secrets, Dispatch& dispatch);
    // Stops asking.
    ~AccountKeeper() override;

    [[nodiscard]] State state() const;
    [[nodiscard]] std::optional<CloudSession> currentSession() const override;
    [[nodiscard]] std::optional<CloudSession> knownAccount() const override;
    [[nodiscard]] Observation observeSession(std::function<void()> changed) override;
    // The block runs with a new epoch of the service before anybody sends with it, on the thread that learned of it.
    [[nodiscard]] Observation observeEpoch(
        std::function<void(const std::string& accountID, const std::string& epoch)> willChange);

    // Whether the desktop asks the user for the keyring's password right now. Never blocks.
    [[nodiscard]] bool isKeyringAsking() const { return _isKeyringAsking; }
    // The block runs after each change of that, on the thread that works with the keyring, which it leaves alone.
    [[nodiscard]] Observation observeKeyring(std::function<void()> changed);
    // Whoever waits for the user's answer goes on without it: a sign-in ends with nothing kept. Never blocks.
    void withdrawFromKeyring() { _secrets->withdraw(); }
    // The same for good: at the end of a program, which would else wait for minutes.
    void stopAsking();

    // Keeps both, durably, and lets everybody know. Unless that is done, nothing has changed. The secret's key is
    // chosen here, from the device's identifier. Blocks: not on the main thread.
    [[nodiscard]] SigningIn signedIn(StoredAccount account, const std::string& deviceToken);
    void signedOut();
    // What the service says by now. Another one is a change of the session.
    void setServiceEpoch(const std::string& epoch);
    // The person accepts another certificate of the service, or one that is vouched for (empty). A change of the
    // session if that is still the service. Blocks on the disk.
    void setCertificateFingerprint(const std::string& serviceURL, const std::string& fingerprint);
    // Asks the keyring, unless it has answered with the secret before. From then on also when the account changes.
    void lookForSecret();
    // Another program may have signed in or out: reads the file again, and the secret if it is another account's.
    void reload();
    // The same elsewhere, looking for the secret; the block runs on a queue once the keyring has answered, too.
    void reload(Block whenKnown);
    // Looks for the secret and blocks until the keyring has answered. Not on the queue.
    void waitForSecret();
    [[nodiscard]] const std::filesystem::path& file() const { return _file.path(); }

  private:
    // The part of the account that the service changes, in the file and the session, unless `alter` does nothing.
    void alterAccount(const std::function<bool(StoredAccount&)>& alter);
    void followService(const StoredAccount& account);
    void become(std::optional<StoredAccount> account, const std::optional<Secret>& secret);

    const AccountFile _file;
    const std::unique_ptr<SecretStore> _secrets;
    const DispatchQueuePtr _queue;
    std::mutex _fileMutex;  // of whoever writes the file; taken before the other
    mutable std::mutex _mutex;
    std::optional<StoredAccount> _account;
    std::optional<SecretPlace> _secretPlace;
    int _signInsUnderWay = 0;    // or sign-outs: between the writing of the file and the word to everybody
    std::uint64_t _signIns = 0;  // that were begun, and sign-outs
    bool _isSecretWanted = false;
    std::string _soughtKey;  // of the secret that the queue is looking for
    std::atomic<bool> _isKeyringAsking = false;
    std::atomic<bool> _asksNobody = false;
    HeldCloudSession _session;
    NSNotificationCenter _news;
    BlocksUnderWay _blocks;
};

}  // namespace zun
