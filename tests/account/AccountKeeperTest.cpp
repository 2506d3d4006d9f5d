#include <gmock/gmock.h>

#include <fstream>
#include <map>

#include "account/AccountKeeper.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using testing::ElementsAre;
using SigningIn = AccountKeeper::SigningIn;

// A keyring in memory, which can be locked, refuse to write, or be taken away. The user looks at the question of a
// locked one with `user`, and has answered once that returns; what is withdrawn meanwhile they never see.
struct Keyring {
    std::map<std::string, std::string> texts;
    bool isLocked = false;
    bool isFull = false;
    bool isWithdrawn = false;
    int questions = 0;
    std::function<void()> user;
    std::function<void()> whileItWorks;  // before a text is removed
};
class MemorySecretStore final : public SecretStore {
  public:
    explicit MemorySecretStore(Keyring& keyring) : _keyring(keyring) {}
    std::optional<Secret> find(const std::string& key) override {
        ask();
        const auto found = _keyring.texts.find(key);
        if (_keyring.isLocked || found == _keyring.texts.end()) return std::nullopt;
        return Secret{found->second, SecretPlace::SecretService};
    }
    SavedSecret save(const std::string& key, const std::string& text, const std::string&) override {
        ask();
        if (_keyring.isWithdrawn) return SecretRefusal::Withdrawn;
        if (_keyring.isFull) return SecretRefusal::CannotKeep;
        _keyring.texts[key] = text;
        return SecretPlace::SecretService;
    }
    void remove(const std::string& key) override {
        if (_keyring.whileItWorks) _keyring.whileItWorks();
        _keyring.texts.erase(key);
    }
    void setQuestionBlock(std::function<void(KeyringQuestion)> block) override { _tell = std::move(block); }
    void withdraw() override { _keyring.isWithdrawn = true; }

  private:
    void ask() {
        _keyring.isWithdrawn = false;
        if (!_keyring.isLocked) return;
        ++_keyring.questions;
        _tell(KeyringQuestion::Asked);
        if (_keyring.user) _keyring.user();
        _tell(KeyringQuestion::Over);
    }

    Keyring& _keyring;
    std::function<void(KeyringQuestion)> _tell;
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
    ASSERT_EQ(keeper->signedIn(account("ada", "device-1"), "token-1"), SigningIn::Done);
    EXPECT_EQ(keeper->currentSession(), (CloudSession{"id-of-ada", "token-1", "epoch-1"}));
    EXPECT_EQ(keeper->currentSession()->credential(), "token-1.epoch-1");
    keeper->setServiceEpoch("epoch-2");
    keeper->setServiceEpoch("epoch-2");
    EXPECT_EQ(changes, 2);

    auto again = open();
    EXPECT_FALSE(again->currentSession()) << "the keyring has not answered yet";
    again->lookForSecret();
    EXPECT_FALSE(again->currentSession());
    dispatch.runUntilIdle();
    EXPECT_EQ(again->currentSession(), keeper->currentSession());
    EXPECT_EQ(again->state().account->serviceEpoch, "epoch-2");

    ASSERT_EQ(again->signedIn(account("bob", "device-2"), "token-2"), SigningIn::Done);
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
    ASSERT_EQ(keeper->signedIn(account("ada", "device-1"), "token-1"), SigningIn::Done);
    keyring.isFull = true;
    EXPECT_EQ(keeper->signedIn(account("bob", "device-2"), "token-2"), SigningIn::CannotKeep);
    EXPECT_EQ(keeper->currentSession()->accountID, "id-of-ada");
    EXPECT_EQ(open()->state().account->name, "ada");

    keyring.isLocked = true;
    auto locked = open();
    locked->waitForSecret();
    EXPECT_TRUE(locked->state().account);
    EXPECT_FALSE(locked->state().secretPlace);
    EXPECT_FALSE(locked->currentSession());
    EXPECT_EQ(locked->knownAccount(), (CloudSession{"id-of-ada", "", "epoch-1"})) << "nobody has signed out";
    keyring.isLocked = false;
    locked->reload([] {});
    dispatch.runUntilIdle();
    EXPECT_TRUE(locked->currentSession()) << "the keyring was unlocked meanwhile";
    std::ofstream(keeper->file()) << "{\"service\": \"https://cloud.example\"";
    EXPECT_FALSE(open()->state().account);
}

TEST_F(AccountKeeperTest, AsksTheUserOnlyForWhoWantsTheSecretAndOnceAtATime) {
    ASSERT_EQ(open()->signedIn(account("ada", "device-1"), "token-1"), SigningIn::Done);
    keyring.isLocked = true;
    {
        const auto keeper = open();
        keeper->reload();
    }
    EXPECT_EQ(keyring.questions, 0) << "a program that wants nothing of the cloud";
    const auto keeper = open();
    std::vector<bool> told;
    const auto observation = keeper->observeKeyring([&] { told.push_back(keeper->isKeyringAsking()); });
    keyring.user = [&] {
        keeper->lookForSecret();
        keyring.isLocked = false;
    };
    keeper->lookForSecret();
    keeper->waitForSecret();
    EXPECT_EQ(keyring.questions, 1);
    EXPECT_THAT(told, ElementsAre(true, false));
    EXPECT_TRUE(keeper->currentSession());
}

TEST_F(AccountKeeperTest, AWithdrawnSignInKeepsNothingAndAnEndingProgramAsksNobody) {
    auto keeper = open();
    ASSERT_EQ(keeper->signedIn(account("ada", "device-1"), "token-1"), SigningIn::Done);
    keyring.isLocked = true;
    keyring.user = [&] { keeper->withdrawFromKeyring(); };
    EXPECT_EQ(keeper->signedIn(account("bob", "device-2"), "token-2"), SigningIn::Withdrawn);
    EXPECT_EQ(keeper->currentSession()->accountID, "id-of-ada");
    EXPECT_EQ(open()->state().account->name, "ada");
    EXPECT_THAT(keyring.texts, ElementsAre(testing::Pair("account-device-1", "token-1")));

    keyring.user = [&] { EXPECT_TRUE(keyring.isWithdrawn) << "it would be waited for"; };
    keeper->stopAsking();
    EXPECT_EQ(keeper->signedIn(account("bob", "device-2"), "token-2"), SigningIn::Withdrawn);
}

TEST_F(AccountKeeperTest, WhoeverWatchesTheFileDoesNotTakeASignInForASignOut) {
    auto keeper = open();
    ASSERT_EQ(keeper->signedIn(account("ada", "device-1"), "token-1"), SigningIn::Done);
    std::vector<std::string> seen;
    const auto observation = keeper->observeSession([&] {
        const auto session = keeper->currentSession();
        seen.push_back(session ? session->accountID : "nobody");
        // The word of the file system may come at any point of it.
        keeper->reload();
    });
    keyring.whileItWorks = [&] { keeper->reload(); };
    ASSERT_EQ(keeper->signedIn(account("bob", "device-2"), "token-2"), SigningIn::Done);
    EXPECT_THAT(seen, ElementsAre("id-of-bob"));
    EXPECT_EQ(keeper->currentSession()->deviceToken, "token-2");
}

}  // namespace
}  // namespace zun
