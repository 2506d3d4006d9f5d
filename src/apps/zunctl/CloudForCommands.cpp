#include "apps/zunctl/CloudForCommands.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "ZunDataModel/store/StoreBackup.h"
#include "apps/zunctl/ApplicationCaller.h"
#include "apps/zunctl/PasswordPrompt.h"
#include "platform/foundation/DurableFile.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

// A command that is asked to sync tries; what is not there, the request itself will find out.
class TriesAnyway final : public Reachability {
  public:
    void setReachableBlock(std::function<void()> block) override { _reachable = std::move(block); }
    void setUnreachableBlock(std::function<void()>) override {}
    void startNotifier() override {
        if (_reachable) _reachable();
    }
    [[nodiscard]] NetworkStatus currentReachabilityStatus() const override { return NetworkStatus::ReachableViaWiFi; }

  private:
    std::function<void()> _reachable;
};

// Keeps other commands from syncing while it lives.
class SyncLock {
  public:
    explicit SyncLock(const std::filesystem::path& folder) : _file(open(folder)) {
        int result = 0;
        do {
            result = _file.isOpen() ? ::flock(_file.number(), LOCK_EX) : -1;
        } while (_file.isOpen() && result != 0 && errno == EINTR);
        if (result != 0) _failure = path(folder).native() + ": " + std::generic_category().message(errno);
    }
    // Why there is no lock; empty if there is one.
    [[nodiscard]] const std::string& failure() const { return _failure; }

  private:
    static std::filesystem::path path(const std::filesystem::path& folder) { return folder / "sync.lock"; }
    static int open(const std::filesystem::path& folder) {
        // Where it cannot be made, opening the file says so.
        std::error_code ignored;
        std::filesystem::create_directories(folder, ignored);
        return ::open(path(folder).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    }

    const FileDescriptor _file;
    std::string _failure;
};

std::string hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

// Somebody at a terminal sees nothing happen, while the desktop has opened a window elsewhere.
void sayThatKeyringAsks() {
    if (::isatty(STDERR_FILENO) != 0) std::fputs("The keyring is locked: the desktop asks for its password.\n", stderr);
}

std::optional<ServiceCertificate> certificateOf(const std::string& url) {
    auto seen = fetchServiceCertificate(url);
    auto* shown = std::get_if<ServiceCertificate>(&seen);
    return shown ? std::optional(std::move(*shown)) : std::nullopt;
}

std::optional<std::filesystem::path> newestBackupIn(const std::filesystem::path& folder) {
    const auto backups = listBackups(StoreFiles(folder));
    return backups.empty() ? std::nullopt : std::optional(backups.front());
}

}  // namespace

CloudForCommands::CloudForCommands(const Home& home, Core& core)
    : _home(home),
      _core(core),
      _keyring(core.keeper.observeKeyring([&keeper = core.keeper] {
          if (keeper.isKeyringAsking()) sayThatKeyringAsks();
      })),
      _cloud(home, core, std::make_unique<TriesAnyway>()),
      _access{core.keeper,
              _cloud.client,
              core.settings,
              core.dispatch,
              hostName(),
              SyncFailureFile(home.state),
              [this](const SyncJournal::Block& completion) { sync(completion); },
              readPassword,
              certificateOf,
              [&home] { return newestBackupIn(home.data); }} {}

void CloudForCommands::sync(const SyncJournal::Block& completion) {
    const auto say = [isSaid = std::make_shared<std::atomic<bool>>(false)] {
        if (!isSaid->exchange(true)) sayThatKeyringAsks();
    };
    if (const auto outcome = ApplicationCaller(_home.busName).sync(say)) return completion(*outcome);
    // One at a time: what two commands push at once, each would find changed by the other.
    const SyncLock lock(_home.runtime);
    if (!lock.failure().empty()) {
        SyncOutcome outcome;
        outcome.ending = SyncOutcome::Ending::Hindered;
        outcome.hindrance = lock.failure();
        return completion(outcome);
    }
    _core.keeper.waitForSecret();
    _core.database.takeUnfinishedPushesForFailed();
    // How long a pass took belongs into the application's journal, not between the lines of a terminal.
    const ScopedLogSink silence([](std::string_view) {});
    await([this](const Block& done) { _cloud.transport.learnEpoch(done); });
    const auto before = _cloud.manager.traffic();
    auto outcome = runPass();
    // Deletions go up at the beginning of a pass, when a new process does not know yet which zone they are for.
    if (outcome.ending == SyncOutcome::Ending::Done && _core.manager.numberOfRemindersToSend() > 0) outcome = runPass();
    const auto after = _cloud.manager.traffic();
    outcome.traffic = {after.sent - before.sent, after.received - before.received};
    completion(outcome);
}

SyncOutcome CloudForCommands::runPass() {
    SyncOutcome outcome;
    await([&](const Block& done) {
        _cloud.journal.syncNow([&outcome, done](const SyncOutcome& ended) {
            outcome = ended;
            done();
        });
    });
    // What came down is counted when it is durable.
    _core.manager.waitUntilSettled();
    return outcome;
}

void CloudForCommands::await(const std::function<void(const Block& done)>& start) {
    std::atomic<bool> isDone = false;
    start([&isDone, &dispatch = _core.dispatch] {
        isDone = true;
        dispatch.notify();
    });
    _core.dispatch.waitUntil([&isDone] { return isDone.load(); });
}

}  // namespace zun
