#include "platform/secrets/SecretServiceStore.h"

#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <map>
#include <memory>
#include <vector>

#include "platform/foundation/Bytes.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using Attributes = std::map<std::string, std::string>;
using Paths = std::vector<sdbus::ObjectPath>;
using WireSecret = sdbus::Struct<sdbus::ObjectPath, Bytes, Bytes, std::string>;

constexpr const char* name = "org.freedesktop.secrets";
constexpr const char* servicePath = "/org/freedesktop/secrets";
constexpr const char* serviceInterface = "org.freedesktop.Secret.Service";
constexpr const char* collectionInterface = "org.freedesktop.Secret.Collection";
constexpr const char* itemInterface = "org.freedesktop.Secret.Item";
constexpr const char* promptInterface = "org.freedesktop.Secret.Prompt";
constexpr auto answerWait = 10s;
constexpr auto userWait = 3min;

Attributes attributesOf(const std::string& key) {
    return {{"application", "com.zunlabs.Zun"}, {"key", key}};
}

}  // namespace

// One conversation with the service. Throws sdbus::Error.
class SecretServiceStore::Conversation {
  public:
    explicit Conversation(SecretServiceStore& store)
        : _store(store), _connection(sdbus::createSessionBusConnection()), _service(proxy(servicePath)) {
        _connection->enterEventLoopAsync();
        sdbus::Variant unused;
        _service->callMethod("OpenSession")
            .onInterface(serviceInterface)
            .withTimeout(answerWait)
            .withArguments(std::string("plain"), sdbus::Variant(std::string()))
            .storeResultsTo(unused, _session);
    }

    std::optional<std::string> find(const std::string& key) {
        const auto item = findItem(key);
        if (!item) return std::nullopt;
        WireSecret secret;
        proxy(*item)
            ->callMethod("GetSecret")
            .onInterface(itemInterface)
            .withTimeout(answerWait)
            .withArguments(_session)
            .storeResultsTo(secret);
        const auto& text = secret.get<2>();
        return std::string(text.begin(), text.end());
    }

    bool save(const std::string& key, const std::string& text, const std::string& label) {
        sdbus::ObjectPath collection;
        _service->callMethod("ReadAlias")
            .onInterface(serviceInterface)
            .withTimeout(answerWait)
            .withArguments(std::string("default"))
            .storeResultsTo(collection);
        if (collection == "/" || !unlock(collection)) return false;
        const std::map<std::string, sdbus::Variant> properties = {
            {"org.freedesktop.Secret.Item.Label", sdbus::Variant(label)},
            {"org.freedesktop.Secret.Item.Attributes", sdbus::Variant(attributesOf(key))}};
        const WireSecret secret{_session, Bytes{}, Bytes(text.begin(), text.end()), "text/plain"};
        sdbus::ObjectPath item, prompt;
        proxy(collection)
            ->callMethod("CreateItem")
            .onInterface(collectionInterface)
            .withTimeout(answerWait)
            .withArguments(properties, secret, true)
            .storeResultsTo(item, prompt);
        return prompt == "/" || askUser(prompt);
    }

    void remove(const std::string& key) {
        const auto item = findItem(key);
        if (!item) return;
        sdbus::ObjectPath prompt;
        proxy(*item)->callMethod("Delete").onInterface(itemInterface).withTimeout(answerWait).storeResultsTo(prompt);
        if (prompt != "/") askUser(prompt);
    }

  private:
    std::unique_ptr<sdbus::IProxy> proxy(const std::string& path) {
        return sdbus::createProxy(*_connection, name, path);
    }

    std::optional<sdbus::ObjectPath> findItem(const std::string& key) {
        Paths unlocked, locked;
        _service->callMethod("SearchItems")
            .onInterface(serviceInterface)
            .withTimeout(answerWait)
            .withArguments(attributesOf(key))
            .storeResultsTo(unlocked, locked);
        if (!unlocked.empty()) return unlocked.front();
        if (locked.empty() || !unlock(locked.front())) return std::nullopt;
        return locked.front();
    }

    bool unlock(const sdbus::ObjectPath& object) {
        Paths unlocked;
        sdbus::ObjectPath prompt;
        _service->callMethod("Unlock")
            .onInterface(serviceInterface)
            .withTimeout(answerWait)
            .withArguments(Paths{object})
            .storeResultsTo(unlocked, prompt);
        return prompt == "/" || askUser(prompt);
    }

    // False if the user dismissed it or never answered, or if it was withdrawn.
    bool askUser(const sdbus::ObjectPath& path) {
        if (_store.wasWithdrawn()) return false;
        std::optional<bool> dismissed;
        auto prompt = proxy(path);
        prompt->uponSignal("Completed")
            .onInterface(promptInterface)
            .call([this, &dismissed](const bool& wasDismissed, const sdbus::Variant&) {
                const std::lock_guard lock(_store._mutex);
                dismissed = wasDismissed;
                _store._changed.notify_all();
            });
        prompt->finishRegistration();
        prompt->callMethod("Prompt").onInterface(promptInterface).withTimeout(answerWait).withArguments(std::string());
        tell(KeyringQuestion::Asked);
        std::unique_lock lock(_store._mutex);
        _store._changed.wait_for(
            lock, userWait, [&] { return dismissed.has_value() || _store._withdrawals != _store._withdrawalsBefore; });
        const auto answer = dismissed;
        lock.unlock();
        tell(KeyringQuestion::Over);
        // From here on the signal reaches nobody.
        prompt.reset();
        if (!answer) proxy(path)->callMethod("Dismiss").onInterface(promptInterface).dontExpectReply();
        return answer && !*answer;
    }

    void tell(KeyringQuestion question) const {
        if (_store._questionBlock) _store._questionBlock(question);
    }

    SecretServiceStore& _store;
    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IProxy> _service;
    sdbus::ObjectPath _session;
};

// What `talk` gives, or the fallback where there is no service or it fails. A session without one is nothing to log.
template <class Result>
Result SecretServiceStore::converse(Result fallback, const std::function<Result(Conversation&)>& talk) {
    {
        const std::lock_guard lock(_mutex);
        _withdrawalsBefore = _withdrawals;
    }
    std::optional<Conversation> conversation;
    try {
        conversation.emplace(*this);
        return talk(*conversation);
    } catch (const sdbus::Error& error) {
        if (conversation) NSLog("The keyring did not answer: " + error.getName());
    }
    return fallback;
}

std::optional<std::string> SecretServiceStore::find(const std::string& key) {
    return converse<std::optional<std::string>>(std::nullopt, [&](Conversation& with) { return with.find(key); });
}

bool SecretServiceStore::save(const std::string& key, const std::string& text, const std::string& label) {
    return converse<bool>(false, [&](Conversation& with) { return with.save(key, text, label); });
}

void SecretServiceStore::remove(const std::string& key) {
    converse<bool>(false, [&](Conversation& with) {
        with.remove(key);
        return true;
    });
}

void SecretServiceStore::withdraw() {
    const std::lock_guard lock(_mutex);
    ++_withdrawals;
    _changed.notify_all();
}

bool SecretServiceStore::wasWithdrawn() const {
    const std::lock_guard lock(_mutex);
    return _withdrawals != _withdrawalsBefore;
}

}  // namespace zun
