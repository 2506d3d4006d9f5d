#pragma once

// The account of one home at a service whose answers the test writes, with a keyring in memory, in virtual time. The
// service answers from its queue, never within the call.

#include <map>

#include "account/AccountClient.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "shell/AccountModel.h"
#include "support/ScriptedCloudTransport.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {

class MemoryKeyring final : public SecretStore {
  public:
    // With a user, it is locked: the user looks at its question, and has unlocked it on return unless it was withdrawn.
    MemoryKeyring(std::map<std::string, std::string>& texts, const std::function<void()>& user)
        : _texts(texts), _user(user) {}
    std::optional<Secret> find(const std::string& key) override {
        const auto found = _texts.find(key);
        if (found == _texts.end()) return std::nullopt;
        return Secret{found->second, SecretPlace::SecretService};
    }
    SavedSecret save(const std::string& key, const std::string& text, const std::string&) override {
        _isWithdrawn = false;
        if (_user) {
            _tell(KeyringQuestion::Asked);
            _user();
            _tell(KeyringQuestion::Over);
        }
        if (_isWithdrawn) return SecretRefusal::Withdrawn;
        _texts[key] = text;
        return SecretPlace::SecretService;
    }
    void remove(const std::string& key) override { _texts.erase(key); }
    void setQuestionBlock(std::function<void(KeyringQuestion)> block) override { _tell = std::move(block); }
    void withdraw() override { _isWithdrawn = true; }

  private:
    std::map<std::string, std::string>& _texts;
    const std::function<void()>& _user;
    std::function<void(KeyringQuestion)> _tell;
    bool _isWithdrawn = false;
};

class ScriptedSyncStatus final : public SyncStatus, public KeyValueObservable {
  public:
    [[nodiscard]] bool isSyncing() const override { return runs; }
    [[nodiscard]] Observation observeIsSyncing(std::function<void()> handler) override {
        return observe({"isSyncing"}, [handler = std::move(handler)](std::string_view) { handler(); });
    }
    void syncChangesFromCloudKit() override { ++passes; }
    void set(bool isSyncing) {
        runs = isSyncing;
        didChangeValueForKey("isSyncing");
    }
    bool runs = false;
    int passes = 0;
};

class AccountWorld {
  public:
    AccountWorld() {
        service->script = [this](const cloud::Request& request) { return answer(request); };
        keeper.waitForSecret();
    }

    // By default everything goes well; `refusal` is answered instead if there is one.
    cloud::Answer answer(const cloud::Request& request) {
        if (refusal) return *refusal;
        if (std::holds_alternative<cloud::SignIn>(request) || std::holds_alternative<cloud::CreateAccount>(request))
            return cloud::SignedIn{"id-ada", "ada", "Ada Lovelace", "ada@example.org", "device-1", "token-1"};
        if (std::holds_alternative<cloud::FetchDevices>(request)) return cloud::Devices{devices};
        if (const auto* revoked = std::get_if<cloud::RevokeDevice>(&request))
            std::erase_if(devices, [&](const auto& each) { return each.deviceID == revoked->deviceID; });
        return cloud::Done{};
    }
    [[nodiscard]] AccountModel::Collaborators collaborators(const LocalizedStrings& strings) {
        return {keeper,
                client,
                sync,
                settings,
                dispatch,
                strings,
                "Ada’s laptop",
                [this](const std::string& url) -> std::variant<OfferedCertificate, CKError> {
                    lookedAt.push_back(url);
                    if (certificate) return *certificate;
                    return CKError{CKErrorCode::NetworkFailure, "nothing there", {}};
                },
                [this] {
                    EXPECT_FALSE(dispatch.main()->isCurrent());
                    ++reports;
                    return report;
                },
                [this] {
                    EXPECT_FALSE(dispatch.main()->isCurrent());
                    return versions;
                },
                [this](const KeptVersion& version) {
                    EXPECT_FALSE(dispatch.main()->isCurrent());
                    broughtBack.push_back(version.number);
                }};
    }
    void signIn(AccountModel& model) {
        model.signIn({"cloud.example.org", "ada", "correct horse"});
        dispatch.runUntilIdle();
    }
    [[nodiscard]] KeptVersion version(std::int64_t number, KeptReason reason, const std::string& title,
                                      const std::string& notes = {}) const {
        KeptVersion kept{number, environment.now(), reason, {}};
        kept.record.reminderID = "id-" + std::to_string(number);
        kept.record.title = title;
        kept.record.notes = notes;
        return kept;
    }

    TemporaryFolder folder;
    SimulatedDispatch dispatch{1};
    TestEnvironment environment{"2026-01-14T10:00:00Z", &dispatch};
    std::map<std::string, std::string> keyring;
    std::function<void()> userOfKeyring;
    AccountKeeper keeper{{folder.path() / "configuration", folder.path() / "data"},
                         std::make_unique<MemoryKeyring>(keyring, userOfKeyring),
                         dispatch};
    std::shared_ptr<ScriptedCloudTransport> service = std::make_shared<ScriptedCloudTransport>();
    std::vector<ServiceAddress> dialled;
    TransportFactory makeTransport = [this](const ServiceAddress& address) {
        dialled.push_back(address);
        return service;
    };
    AccountTransport transport{keeper, makeTransport};
    AccountClient client{{keeper, transport, makeTransport}};
    ScriptedSyncStatus sync;
    ZNUserDefaults defaults{folder.path()};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    OptionalError refusal;
    std::optional<OfferedCertificate> certificate;
    std::vector<std::string> lookedAt;
    AccountSyncReport report;
    int reports = 0;
    std::vector<KeptVersion> versions;
    std::vector<std::int64_t> broughtBack;
    std::vector<cloud::Device> devices = {
        {"device-1", "Ada’s laptop", NSDate(), NSDate(), true},
        {"device-2", "The workshop", NSDate(), NSDate(), false},
    };
};

}  // namespace zun
