#include <gmock/gmock.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/stat.h>

#include <future>
#include <map>
#include <memory>

#include "platform/foundation/Bytes.h"
#include "platform/secrets/SecretStore.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using testing::ElementsAre;
using Attributes = std::map<std::string, std::string>;
using Paths = std::vector<sdbus::ObjectPath>;
using WireSecret = sdbus::Struct<sdbus::ObjectPath, Bytes, Bytes, std::string>;

// A keyring with one collection, on the session bus of the test.
class KeyringStandIn {
  public:
    enum class User { Unlocks, Dismisses, LooksAway };

    explicit KeyringStandIn(User user = User::Unlocks, bool isLocked = false)
        : _user(user), _isLocked(isLocked), _connection(sdbus::createSessionBusConnection("org.freedesktop.secrets")) {
        const char* service = "org.freedesktop.Secret.Service";
        _service = sdbus::createObject(*_connection, "/org/freedesktop/secrets");
        _service->registerMethod("OpenSession")
            .onInterface(service)
            .implementedAs([](const std::string&, const sdbus::Variant&) {
                return std::make_tuple(sdbus::Variant(std::string()), sdbus::ObjectPath("/session"));
            });
        _service->registerMethod("ReadAlias").onInterface(service).implementedAs([](const std::string&) {
            return sdbus::ObjectPath("/collection");
        });
        _service->registerMethod("SearchItems").onInterface(service).implementedAs([this](const Attributes& wanted) {
            Paths found;
            if (_item && wanted == _attributes) found.emplace_back("/item");
            return _isLocked ? std::make_tuple(Paths{}, found) : std::make_tuple(found, Paths{});
        });
        _service->registerMethod("Unlock").onInterface(service).implementedAs([this](const Paths& objects) {
            return _isLocked ? std::make_tuple(Paths{}, sdbus::ObjectPath("/prompt"))
                             : std::make_tuple(objects, sdbus::ObjectPath("/"));
        });
        _service->finishRegistration();
        makeCollection();
        makePrompt();
        _connection->enterEventLoopAsync();
    }
    [[nodiscard]] const std::string& label() const { return _label; }
    // Whether the desktop has been told to put its question away.
    [[nodiscard]] std::future<void>& putAway() { return _putAway; }

  private:
    void makeCollection() {
        _collection = sdbus::createObject(*_connection, "/collection");
        _collection->registerMethod("CreateItem")
            .onInterface("org.freedesktop.Secret.Collection")
            .implementedAs(
                [this](const std::map<std::string, sdbus::Variant>& properties, const WireSecret& secret, const bool&) {
                    _attributes = properties.at("org.freedesktop.Secret.Item.Attributes").get<Attributes>();
                    _label = properties.at("org.freedesktop.Secret.Item.Label").get<std::string>();
                    _text = secret.get<2>();
                    makeItem();
                    return std::make_tuple(sdbus::ObjectPath("/item"), sdbus::ObjectPath("/"));
                });
        _collection->finishRegistration();
    }
    void makeItem() {
        if (_item) return;
        _item = sdbus::createObject(*_connection, "/item");
        const char* item = "org.freedesktop.Secret.Item";
        _item->registerMethod("GetSecret").onInterface(item).implementedAs([this](const sdbus::ObjectPath& session) {
            return WireSecret{session, Bytes{}, _text, "text/plain"};
        });
        _item->registerMethod("Delete").onInterface(item).implementedAs([this] {
            _attributes.clear();
            return sdbus::ObjectPath("/");
        });
        _item->finishRegistration();
    }
    void makePrompt() {
        const char* prompt = "org.freedesktop.Secret.Prompt";
        _prompt = sdbus::createObject(*_connection, "/prompt");
        _prompt->registerSignal("Completed").onInterface(prompt).withParameters<bool, sdbus::Variant>();
        _prompt->registerMethod("Prompt").onInterface(prompt).implementedAs([this, prompt](const std::string&) {
            if (_user == User::LooksAway) return;
            if (_user == User::Unlocks) _isLocked = false;
            _prompt->emitSignal("Completed")
                .onInterface(prompt)
                .withArguments(_isLocked, sdbus::Variant(std::string()));
        });
        _prompt->registerMethod("Dismiss").onInterface(prompt).implementedAs([this] { _wasPutAway.set_value(); });
        _prompt->finishRegistration();
    }

    User _user;
    bool _isLocked;
    Attributes _attributes;
    std::string _label;
    Bytes _text;
    std::promise<void> _wasPutAway;
    std::future<void> _putAway = _wasPutAway.get_future();
    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IObject> _service, _collection, _item, _prompt;
};

class SecretStoreTest : public testing::Test {
  protected:
    [[nodiscard]] std::filesystem::path file() const { return folder.path() / "kept/account.secret"; }

    TemporaryFolder folder;
    std::unique_ptr<SecretStore> store = makeSecretStore(folder.path() / "kept");
};

TEST_F(SecretStoreTest, WithoutAKeyringAFileForTheUserAloneKeepsIt) {
    EXPECT_FALSE(store->find("account"));
    const std::string text("to\0ken", 6);
    EXPECT_EQ(store->save("account", text, "Zun"), SavedSecret(SecretPlace::File));
    struct stat status {};
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(store->find("account")->text, text);
    EXPECT_FALSE(store->find("another"));

    // Where nothing can be written, nothing is promised.
    const auto nowhere = makeSecretStore("/proc/nowhere");
    EXPECT_EQ(nowhere->save("account", text, "Zun"), SavedSecret(SecretRefusal::CannotKeep));
    store->remove("account");
    EXPECT_FALSE(store->find("account"));
}

TEST_F(SecretStoreTest, AKeyringTakesItOverFromTheFile) {
    EXPECT_EQ(store->save("account", "old", "Zun"), SavedSecret(SecretPlace::File));
    {
        const KeyringStandIn keyring;
        EXPECT_EQ(store->find("account")->place, SecretPlace::File);
        EXPECT_EQ(store->save("account", "new", "Zun: household"), SavedSecret(SecretPlace::SecretService));
        EXPECT_FALSE(std::filesystem::exists(file()));
        EXPECT_EQ(keyring.label(), "Zun: household");
        EXPECT_EQ(store->find("account")->text, "new");
        EXPECT_EQ(store->find("account")->place, SecretPlace::SecretService);
        EXPECT_FALSE(store->find("another"));
        store->remove("account");
        EXPECT_FALSE(store->find("account"));
    }
    EXPECT_EQ(store->save("account", "again", "Zun"), SavedSecret(SecretPlace::File)) << "the keyring has gone";
}

TEST_F(SecretStoreTest, ALockedKeyringAsksTheUser) {
    std::vector<KeyringQuestion> told;
    store->setQuestionBlock([&](KeyringQuestion question) { told.push_back(question); });
    {
        const KeyringStandIn keyring(KeyringStandIn::User::Unlocks, true);
        EXPECT_EQ(store->save("account", "token", "Zun"), SavedSecret(SecretPlace::SecretService));
        EXPECT_EQ(store->find("account")->text, "token");
    }
    EXPECT_THAT(told, ElementsAre(KeyringQuestion::Asked, KeyringQuestion::Over)) << "once is enough";
    const KeyringStandIn keyring(KeyringStandIn::User::Dismisses, true);
    EXPECT_EQ(store->save("account", "token", "Zun"), SavedSecret(SecretPlace::File));
}

TEST_F(SecretStoreTest, WhatIsWithdrawnKeepsNothingAndTakesTheQuestionAway) {
    store->withdraw();
    KeyringStandIn keyring(KeyringStandIn::User::LooksAway, true);
    std::promise<void> asked;
    store->setQuestionBlock([&](KeyringQuestion question) {
        if (question == KeyringQuestion::Asked) asked.set_value();
    });
    auto saved = std::async(std::launch::async, [&] { return store->save("account", "token", "Zun"); });
    asked.get_future().wait();
    store->withdraw();
    EXPECT_EQ(saved.get(), SavedSecret(SecretRefusal::Withdrawn));
    EXPECT_FALSE(std::filesystem::exists(file()));
    keyring.putAway().wait();
}

}  // namespace
}  // namespace zun
