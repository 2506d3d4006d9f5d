#pragma once

// A device as the programs wire it: a home of its own on the disk, its store, its alerts, and the cloud over HTTP. Its
// main queue is a loop of the thread that makes it; two devices of one thread share one. The calls block.

#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

#include "apps/wiring/Cloud.h"
#include "support/TemporaryFolder.h"

namespace zun {

// A service that is asked is tried.
class AlwaysReachable final : public Reachability {
  public:
    void setReachableBlock(std::function<void()> block) override { _reachable = std::move(block); }
    void setUnreachableBlock(std::function<void()>) override {}
    void startNotifier() override { _reachable(); }
    [[nodiscard]] NetworkStatus currentReachabilityStatus() const override { return NetworkStatus::ReachableViaWiFi; }

  private:
    std::function<void()> _reachable;
};

class BenchDevice {
  public:
    explicit BenchDevice(std::shared_ptr<LoopQueue> main)
        : core(home, std::move(main)), cloud(home, core, std::make_unique<AlwaysReachable>()) {
        core.settings.setShouldUseCloudKit(true);
    }

    void createAccount(const std::string& serviceURL, const std::string& name) {
        finish([&](auto done) {
            cloud.client.createAccount({serviceURL, ""}, {name, "", "", "the password", "", "first"}, done);
        });
    }
    void signIn(const std::string& serviceURL, const std::string& name) {
        finish([&](auto done) { cloud.client.signIn({serviceURL, ""}, {name, "the password", "second"}, done); });
    }
    // One pass to its end and until what it brought is durable.
    ZNCloudKitManager::Traffic sync() {
        const auto before = cloud.manager.traffic();
        finish([&](auto done) {
            cloud.journal.syncNow([done](const SyncOutcome& outcome) {
                const bool isDone = outcome.ending == SyncOutcome::Ending::Done;
                done(isDone ? std::nullopt : std::optional(outcome.error.value_or(CKError{})));
            });
        });
        waitForStore();
        const auto after = cloud.manager.traffic();
        return {after.sent - before.sent, after.received - before.received};
    }
    // Until a pass finds nothing more to do, and nothing waits for the disk.
    void settle() {
        for (bool goesOn = true; goesOn;) {
            const auto [sent, received] = sync();
            goesOn = sent + received > 0;
        }
        core.manager.waitUntilSettled();
    }
    // With the main queue at work meanwhile.
    void waitForStore() {
        std::atomic<bool> isDone = false;
        std::thread waiting([&] {
            core.database.waitForWrites();
            isDone = true;
            core.dispatch.notify();
        });
        core.dispatch.waitUntil([&] { return isDone.load(); });
        waiting.join();
    }
    void waitUntil(const std::function<bool()>& condition) { core.dispatch.waitUntil(condition); }

    TemporaryFolder folder;
    const Home home = Home::find(folder.path());
    Core core;
    Cloud cloud;

  private:
    using Done = std::function<void(const OptionalError&)>;
    void finish(const std::function<void(Done)>& begin) {
        std::mutex mutex;
        std::optional<OptionalError> ending;
        begin([&](const OptionalError& error) {
            {
                const std::lock_guard lock(mutex);
                ending = error;
            }
            core.dispatch.notify();
        });
        core.dispatch.waitUntil([&] {
            const std::lock_guard lock(mutex);
            return ending.has_value();
        });
        if (*ending) throw std::runtime_error("the service or the pass failed: " + (*ending)->description);
    }
};

}  // namespace zun
