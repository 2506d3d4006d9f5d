#include <gmock/gmock.h>

#include <fstream>
#include <map>

#include "account/AccountKeeper.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using testing::ElementsAre;

// A keyring in memory, which can be locked, refuse to write, or be taken away.
struct Keyring {
    std::map<std::string, std::string> texts;
    bool isLocked = false;
    bool isFull = false;
    std::function<void()> whileItWorks;  // before a text is removed
};
class MemorySecretStore final : public SecretStore {
  public:
    explicit MemorySecretStore(Keyring& keyring) : _keyring(keyring) {}
    std::optional<Secret> find(const std::string& key) override {
        const auto found = _keyring.texts.find(key);
        if (_keyring.isLocked || found == _keyring.texts.end()) return std::nullopt;
        return Secret{found->second, SecretPlace::SecretService};
    }
    std::optional<SecretPlace> save(const std::string& key, const std::string& text, const std::string&) override {
        if (_keyring.isFull) return std::nullopt;
        _keyring.texts[key] = text;
        return SecretPlace::SecretService;
    }
    void remove(const std::string& key) override {
        if (_keyring.whileItWorks) _keyring.whileItWorks();
        _keyring.texts.erase(key);
    }

  private:
    Keyring& _keyring;
};

class AccountKeeperTest : public testing::Test {
  protected:
    std::unique_ptr<AccountKeeper> open() {
        return std::make_unique<AccountKeeper>(
            AccountKeeper::Folders{folder.path() / "configuration", folder.path() / "data"},
            std::make_unique<MemorySecretStore>(keyring), dispatch);
    }
    static StoredAccount account(const std::string& name, const std::string& device) {
        return {"https://cloud.example", "id-of-" + name, name, "", "", device, "epoch-1", "", ""};
    }

    TemporaryFolder folder;
    SimulatedDispatch dispatch{1};
    Keyring keyring;
};

TEST_F(AccountKeeperTest, StaysSignedInOverRestartsAndLeavesNothingBehind) {
    auto keeper = open();
    EXPECT_FALSE(keeper->state().account);
    int changes = 0;
    const auto observation = keeper->observeSession([&] { ++changes; });
    ASSERT_TRUE(keeper->signedIn(account("ada", "device-1"), "token-1"));
    EXPECT_EQ(keeper->currentSession(), (CloudSession{"id-of-ada", "token-1", "epoch-1"}));
    EXPECT_EQ(keeper->currentSession()->credential(), "token-1.epoch-1");
    keeper->setServiceEpoch("epoch-2");
    keeper->setServiceEpoch("epoch-2");
    EXPECT_EQ(changes, 2);

    auto again = open();
    EXPECT_FALSE(again->currentSession()) << "the keyring has not answered yet";
    again->waitForSecret();
    EXPECT_EQ(again->currentSession(), keeper->currentSession());
    EXPECT_EQ(again->state().account->serviceEpoch, "epoch-2");

    ASSERT_TRUE(again->signedIn(account("bob", "device-2"), "token-2"));
    EXPECT_THAT(keyring.texts, ElementsAre(testing::Pair("account-device-2", "token-2")));
    keeper->reload();
    keeper->waitForSecret();
    EXPECT_EQ(keeper->currentSession()->accountID, "id-of-bob") << "another program signed in";
    keeper->signedOut();
    EXPECT_TRUE(keyring.texts.empty());
    EXPECT_FALSE(std::filesystem::exists(keeper->file()));
    again->reload();
    EXPECT_FALSE(again->currentSession());
}

TEST_F(AccountKeeperTest, WhatCannotBeKeptChangesNothing) {
    auto keeper = open();
    ASSERT_TRUE(keeper->signedIn(account("ada", "device-1"), "token-1"));
    keyring.isFull = true;
    EXPECT_FALSE(keeper->signedIn(account("bob", "device-2"), "token-2"));
    EXPECT_EQ(keeper->currentSession()->accountID, "id-of-ada");
    EXPECT_EQ(open()->state().account->name, "ada");

    keyring.isLocked = true;
    auto locked = open();
    locked->waitForSecret();
    EXPECT_TRUE(locked->state().account);
    EXPECT_FALSE(locked->state().secretPlace);
    EXPECT_FALSE(locked->currentSession());
    EXPECT_EQ(locked->knownAccount(), (CloudSession{"id-of-ada", "", "epoch-1"})) << "nobody has signed out";
    std::ofstream(keeper->file()) << "{\"service\": \"https://cloud.example\"";
    EXPECT_FALSE(open()->state().account);
}

TEST_F(AccountKeeperTest, WhoeverWatchesTheFileDoesNotTakeASignInForASignOut) {
    auto keeper = open();
    ASSERT_TRUE(keeper->signedIn(account("ada", "device-1"), "token-1"));
    std::vector<std::string> seen;
    const auto observation = keeper->observeSession([&] {
        const auto session = keeper->currentSession();
        seen.push_back(session ? session->accountID : "nobody");
        // The word of the file system may come at any point of it.
        keeper->reload();
    });
    keyring.whileItWorks = [&] { keeper->reload(); };
    ASSERT_TRUE(keeper->signedIn(account("bob", "device-2"), "token-2"));
    EXPECT_THAT(seen, ElementsAre("id-of-bob"));
    EXPECT_EQ(keeper->currentSession()->deviceToken, "token-2");
}

}  // namespace
}  // namespace zun
