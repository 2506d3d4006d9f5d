#pragma once

// The account that this home is signed in with: what stands in its file, with the secret from the keyring. The one
// place that says who is signed in, and where the service is.
//
// The keyring is asked on a queue of its own, since it may ask the user in turn; until it has answered nobody counts as
// signed in. Any thread. Outlives what observes it.

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

    // The folder of the settings, and the one for secrets without a keyring.
    struct Folders {
        std::filesystem::path configuration, data;
    };
    AccountKeeper(const Folders& folders, std::unique_ptr<SecretStore> secrets, Dispatch& dispatch);
    ~AccountKeeper() override { _blocks.wait(); }

    [[nodiscard]] State state() const;
    [[nodiscard]] std::optional<CloudSession> currentSession() const override;
    [[nodiscard]] std::optional<CloudSession> knownAccount() const override;
    [[nodiscard]] Observation observeSession(std::function<void()> changed) override;
    // The block runs with a new epoch of the service before anybody sends with it, on the thread that learned of it.
    [[nodiscard]] Observation observeEpoch(
        std::function<void(const std::string& accountID, const std::string& epoch)> willChange);

    // Keeps both, durably, and lets everybody know. False if they could not be kept; then nothing has changed. The
    // secret's key is chosen here, from the device's identifier. Blocks: not on the main thread.
    [[nodiscard]] bool signedIn(StoredAccount account, const std::string& deviceToken);
    void signedOut();
    // What the service says by now. Another one is a change of the session.
    void setServiceEpoch(const std::string& epoch);
    // The person accepts another certificate of the service, or one that is vouched for (empty). A change of the
    // session if that is still the service. Blocks on the disk.
    void setCertificateFingerprint(const std::string& serviceURL, const std::string& fingerprint);
    // Another program may have signed in or out: reads the file again, and the secret if it is another account's.
    void reload();
    // The same elsewhere; the block runs on a queue once the keyring has answered, too.
    void reload(Block whenKnown);
    // Blocks until the keyring has answered to what was asked of it so far. Not on the queue.
    void waitForSecret() { _blocks.wait(); }
    [[nodiscard]] const std::filesystem::path& file() const { return _file.path(); }

  private:
    void followService(const StoredAccount& account);
    void findSecret(const StoredAccount& account);
    void become(std::optional<StoredAccount> account, const std::optional<Secret>& secret);

    const AccountFile _file;
    const std::unique_ptr<SecretStore> _secrets;
    const DispatchQueuePtr _queue;
    mutable std::mutex _mutex;
    std::optional<StoredAccount> _account;
    std::optional<SecretPlace> _secretPlace;
    int _signInsUnderWay = 0;    // between the writing of the file and the word to everybody
    std::uint64_t _signIns = 0;  // that were begun
    HeldCloudSession _session;
    NSNotificationCenter _epochs;
    BlocksUnderWay _blocks;
};

}  // namespace zun
