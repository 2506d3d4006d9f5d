#include "apps/zunctl/CloudForCommands.h"

#include <fcntl.h>
#include <sys/file.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <iostream>

#include "apps/zunctl/ApplicationCaller.h"
#include "platform/cloudkit/ServiceCertificate.h"
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

// Turns off the terminal's echo while it lives; a standard input that is no terminal has none.
class WithoutEcho {
  public:
    WithoutEcho() : _isTerminal(::tcgetattr(STDIN_FILENO, &_former) == 0) {
        if (!_isTerminal) return;
        termios silent = _former;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~WithoutEcho() {
        if (_isTerminal) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &_former);
    }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;

  private:
    termios _former{};
    bool _isTerminal;
};

std::string hostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

std::optional<std::string> fingerprintOf(const std::string& url) {
    const auto certificate = fetchServiceCertificate(url);
    const auto* shown = std::get_if<ServiceCertificate>(&certificate);
    return shown && !shown->isVouchedFor ? std::optional(shown->fingerprint) : std::nullopt;
}

}  // namespace

CloudForCommands::CloudForCommands(const Home& home, Core& core)
    : _home(home),
      _core(core),
      _cloud(home, core, std::make_unique<TriesAnyway>()),
      _access{core.keeper,   _cloud.client, core.settings,
              core.dispatch, hostName(),    [this](const SyncJournal::Block& completion) { sync(completion); },
              readPassword,  fingerprintOf} {}

void CloudForCommands::sync(const SyncJournal::Block& completion) {
    if (const auto outcome = ApplicationCaller(_home.busName).sync()) return completion(*outcome);
    // One at a time: what two commands push at once, each would find changed by the other.
    std::error_code none;
    std::filesystem::create_directories(_home.runtime, none);
    const FileDescriptor lock(::open((_home.runtime / "sync.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (lock.isOpen()) ::flock(lock.number(), LOCK_EX);
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

std::optional<std::string> readPassword(bool fromStandardInput) {
    const bool asks = !fromStandardInput && ::isatty(STDIN_FILENO) != 0;
    std::optional<WithoutEcho> silence;
    if (asks) {
        std::fputs("Password: ", stderr);
        silence.emplace();
    }
    std::string line;
    const bool isThere = static_cast<bool>(std::getline(std::cin, line));
    if (asks) std::fputs("\n", stderr);
    return isThere ? std::optional(std::move(line)) : std::nullopt;
}

}  // namespace zun
