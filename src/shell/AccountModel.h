#pragma once

// What the account window shows and does, without the window: who is signed in, what is under way, what came of it, the
// devices, how the sync stands, and the versions that it replaced or deleted. One thing is under way at a time; what is
// asked meanwhile is not heard.
//
//   signed out --signIn, createAccount--> signed in --signOut, deleteAccount--> signed out
//        |  ^                                ^
//        v  | refuseCertificate()            | acceptCertificate()
//      a certificate that nobody vouches for, with its question; also while signed in, when the service has another
//
// Made once and outlives the windows that show it, so that one can be closed and opened again meanwhile. Main thread;
// observers are called there. The network, the keyring, the store and files are left to queues; nothing here blocks but
// the destructor, which waits for the store's reads.

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "ZunDataModel/CloudBookkeeping.h"
#include "account/AccountClient.h"
#include "cards/SyncStatus.h"
#include "platform/foundation/BlocksUnderWay.h"
#include "platform/foundation/KeyValueObserving.h"
#include "platform/foundation/LocalizedStrings.h"
#include "settings/ZNSettingsObject.h"
#include "shell/AccountErrorTexts.h"

namespace zun {

// What a service shows of itself.
struct OfferedCertificate {
    std::string fingerprint;  // SHA-256, as it is kept and shown
    std::string subject, issuer, notAfter;
    bool isVouchedFor = false;  // by the system's authorities, for this address
};

struct AccountSyncReport {
    enum class Ending { Done, Failed, TimedOut, Unreachable };
    OptionalDate lastGoodSync;
    std::size_t waiting = 0;  // reminders whose changes the service has not got yet
    Ending lastEnding = Ending::Done;
    OptionalError lastError;  // of a failure, if the service gave one
};

class AccountModel final : public KeyValueObservable {
  public:
    struct Collaborators {
        AccountKeeper& keeper;
        AccountClient& client;
        SyncStatus& sync;
        ZNSettingsObject& settings;
        Dispatch& dispatch;
        const LocalizedStrings& strings;
        std::string deviceName;  // of this computer, as other devices shall read it
        // These run on queues and may block.
        std::function<std::variant<OfferedCertificate, CKError>(const std::string& URL)> fetchCertificate;
        std::function<AccountSyncReport()> syncReport;
        std::function<std::vector<KeptVersion>()> keptVersions;  // of the last 30 days, newest first
        std::function<void(const KeptVersion&)> bringBack;
    };
    struct Entry {
        std::string address, name, password;
    };
    struct NewAccount {
        std::string displayName, emailAddress, invitation, repeatedPassword;
    };
    struct Notice {
        enum class Tone { Good, Bad };
        Tone tone = Tone::Bad;
        std::string text;
    };
    struct CertificateQuestion {
        std::string serviceURL;
        OfferedCertificate certificate;
        bool hasChanged = false;  // another one was accepted before
    };
    static constexpr std::size_t shortestPassword = 8;

    explicit AccountModel(Collaborators collaborators);
    ~AccountModel();
    AccountModel(const AccountModel&) = delete;
    AccountModel& operator=(const AccountModel&) = delete;

    // ---- what is so; "state" is told after each change.
    [[nodiscard]] AccountKeeper::State account() const { return _with.keeper.state(); }
    // With an account and its secret.
    [[nodiscard]] bool isSignedIn() const;
    // An account is known, but the keyring does not give its secret (yet).
    [[nodiscard]] bool needsSecret() const;
    // The keyring is locked, and the desktop asks for its password.
    [[nodiscard]] bool isKeyringAsking() const { return _with.keeper.isKeyringAsking(); }
    [[nodiscard]] AccountWork work() const { return _work; }
    [[nodiscard]] bool isBusy() const { return _work != AccountWork::None; }
    [[nodiscard]] const std::optional<Notice>& notice() const { return _notice; }
    [[nodiscard]] const std::optional<CertificateQuestion>& certificateQuestion() const { return _question; }
    [[nodiscard]] bool isSyncing() const { return _with.sync.isSyncing(); }
    [[nodiscard]] const AccountSyncReport& syncReport() const { return _report; }
    // What went wrong with the last sync; empty if nothing did.
    [[nodiscard]] std::string syncProblem() const;
    // Absent until they were read.
    [[nodiscard]] const std::optional<std::vector<cloud::Device>>& devices() const { return _devices; }
    [[nodiscard]] const std::string& devicesProblem() const { return _devicesProblem; }
    [[nodiscard]] const std::optional<std::vector<KeptVersion>>& keptVersions() const { return _versions; }
    [[nodiscard]] bool wasBroughtBack(const KeptVersion& version) const {
        return _broughtBack.contains(version.number);
    }

    // ---- what can be done. The outcome becomes the notice. Whoever signs in wants to sync: that is switched on.
    void signIn(const Entry& entry);
    void createAccount(const Entry& entry, const NewAccount& details);
    void acceptCertificate();
    void refuseCertificate();
    // The keyring is not waited for any longer. A sign-in that needs it ends, with nothing kept.
    void goOnWithoutKeyring() { _with.keeper.withdrawFromKeyring(); }
    void signOut();
    void changePassword(const std::string& oldPassword, const std::string& newPassword, const std::string& repeated);
    void deleteAccount(const std::string& password);
    // Into a file that only the user can read, one record a line.
    void exportTo(const std::string& file);
    void signOutDevice(const std::string& deviceID);
    void syncNow() { _with.sync.syncChangesFromCloudKit(); }
    void bringBack(const KeptVersion& version);
    void forgetNotice();

    void readSyncReport();
    void readDevices();
    void readKeptVersions();

  private:
    // A sign-in that may come to a question before it is done.
    struct Attempt {
        ServiceAddress service;
        std::variant<cloud::SignIn, cloud::CreateAccount> request;
    };

    using Done = std::function<void(const OptionalError&)>;
    template <typename... Values>
    [[nodiscard]] std::function<void(const Values&...)> onMain(
        std::type_identity_t<std::function<void(const Values&...)>> block) const;
    void begin(AccountWork work);
    void end(std::optional<Notice> notice);
    void endWith(const OptionalError& error, std::string_view goodKey);
    void complain(std::string_view key);
    void changed() { didChangeValueForKey("state"); }
    // Runs it on the queue; its answer comes to `then` on the main thread.
    void ask(std::function<void(AccountClient&, Done)> question, Done then);

    void enter(const Entry& entry, std::variant<cloud::SignIn, cloud::CreateAccount> request);
    void attempt();
    void attemptEnded(const OptionalError& error);
    using Offered = std::optional<OfferedCertificate>;
    [[nodiscard]] static bool isNews(const OfferedCertificate& offered, const std::string& accepted);
    void lookAtCertificate(const std::string& URL, std::function<void(const Offered&)> then);
    void lookWhetherCertificateChanged();
    void tryWithCertificate(const std::string& fingerprint);
    void keepCertificate(std::string serviceURL, const std::string& fingerprint);
    void accountChanged();
    void writeExport(const std::string& file, const std::vector<std::string>& lines);

    const Collaborators _with;
    const DispatchQueuePtr _queue;
    const std::shared_ptr<int> _life = std::make_shared<int>();  // blocks for the main thread look whether it is there
    AccountWork _work = AccountWork::None;
    std::optional<Notice> _notice;
    std::optional<Attempt> _attempt;
    std::optional<CertificateQuestion> _question;
    bool _isLooking = false;          // at the certificate of the service that is signed in to
    std::string _refusedFingerprint;  // what it showed there, and need not be asked again
    AccountSyncReport _report;
    std::optional<std::vector<cloud::Device>> _devices;
    std::string _devicesProblem;
    std::optional<std::vector<KeptVersion>> _versions;
    std::set<std::int64_t> _broughtBack;
    std::string _accountID;  // whose devices and report these are
    std::vector<Observation> _observations;
    BlocksUnderWay _blocks;
};

template <typename... Values>
std::function<void(const Values&...)> AccountModel::onMain(
    std::type_identity_t<std::function<void(const Values&...)>> block) const {
    return [main = _with.dispatch.main(), life = std::weak_ptr(_life), block](const Values&... values) {
        main->async([life, block, values...] {
            if (life.lock()) block(values...);
        });
    };
}

}  // namespace zun
