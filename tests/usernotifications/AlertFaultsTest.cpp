#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "platform/foundation/Log.h"
#include "support/FaultySystem.h"
#include "usernotifications/StoredAlerts.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using faults::Fault;

// What the ended process still tells.
struct Promises {
    std::size_t durable = 0;  // steps that were written when it was said so
    bool struck = false;
};

const TestEnvironment environment{"2026-01-14T10:00:00Z"};

NSDate at(std::chrono::minutes time) {
    return environment.now() + time;
}

// One after the other, each durable before the next. A later one takes nothing for granted that a fault can prevent.
void (*const steps[])(AlertDevice&) = {
    [](AlertDevice& device) {
        device.center.removeScheduledNotificationsForReminderID("r3");
        for (int nag = 0; nag < 4; ++nag)
            device.center.scheduleNotification(alertFor("r3", at(100min + 10min * nag)));
    },
    [](AlertDevice& device) {
        for (int number = 0; number < 12; ++number) {
            auto large = alertFor("large", at(300min));
            large.title = std::string(3000, 'x');
            large.deliveryDate += std::chrono::minutes{number};
            device.center.scheduleNotification(large);
        }
    },
    [](AlertDevice& device) { device.center.removeScheduledNotificationsForReminderID("r5"); },
    [](AlertDevice& device) {
        for (const auto& one : device.center.deliveredNotifications())
            device.center.removeDeliveredNotification(one);
    },
};
constexpr auto stepCount = std::size(steps);

// What the file says, as text. A disk that fails after it has written makes an alert stand there twice, which comes up
// once.
std::string picture(AlertDevice& device) {
    std::string all;
    auto scheduled = lines(device.center.scheduledNotifications());
    scheduled.erase(std::ranges::unique(scheduled).begin(), scheduled.end());
    for (const auto& line : scheduled)
        all += line + "\n";
    all += "delivered\n";
    for (const auto& line : lines(device.center.deliveredNotifications()))
        all += line + "\n";
    for (const auto identifier : device.service.takeClosings("bus/1"))
        all += "close " + std::to_string(identifier) + "\n";
    return all;
}

void prepare(const fs::path& folder) {
    AlertDevice device(folder, environment);
    for (int number = 0; number < 8; ++number)
        device.center.scheduleNotification(alertFor("r" + std::to_string(number), at(10min * number)));
    device.center.synchronize();
    device.deliver(at(5min));
}

void copyInto(const fs::path& from, const fs::path& to) {
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
}

class AlertFaults : public testing::Test {
  protected:
    AlertFaults()
        : _promises(static_cast<Promises*>(
              mmap(nullptr, sizeof(Promises), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~AlertFaults() override { munmap(_promises, sizeof(Promises)); }

    // The picture after each number of steps, made without faults.
    static std::vector<std::string> picturesFrom(const fs::path& prepared) {
        std::vector<std::string> all;
        for (std::size_t count = 0; count <= stepCount; ++count) {
            const TemporaryFolder folder;
            copyInto(prepared, folder.path());
            AlertDevice device(folder.path(), environment);
            for (std::size_t step = 0; step < count; ++step) {
                steps[step](device);
                device.center.synchronize();
            }
            all.push_back(picture(device));
        }
        return all;
    }

    // Runs the steps in a process of its own up to its n-th call; false if it made fewer.
    bool strike(Fault fault, std::uint64_t atCall, const fs::path& folder) {
        *_promises = {};
        const pid_t child = fork();
        if (child == 0) {
            bool hasFailed = false;
            const ScopedLogSink log([&](std::string_view) { hasFailed = true; });
            faults::arm(fault, atCall);
            {
                AlertDevice device(folder, environment);
                for (std::size_t step = 0; step < stepCount; ++step) {
                    hasFailed = false;
                    steps[step](device);
                    device.center.synchronize();
                    if (!hasFailed) _promises->durable = step + 1;
                }
                // What could not be written is tried again; by then the one call that failed works.
                hasFailed = false;
                device.dispatch.advance(1min);
                device.center.synchronize();
                if (!hasFailed) _promises->durable = stepCount;
            }
            _promises->struck = faults::hasStruck();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        const bool ended = WIFEXITED(status) && WEXITSTATUS(status) == faults::killedStatus;
        EXPECT_TRUE(ended || (WIFEXITED(status) && WEXITSTATUS(status) == 0))
            << "the process came to grief: " << status;
        return ended || _promises->struck;
    }

    Promises* _promises;
    ScopedLogSink _quiet{[](std::string_view) {}};
};

// A sanitizer makes each run some ten times as long.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr std::uint64_t stride = 9;
#else
constexpr std::uint64_t stride = 1;
#endif

struct FaultCase {
    const char* name;
    Fault fault;
};
const FaultCase faultCases[] = {{"kill", Fault::Kill},
                                {"power cut", Fault::PowerCut},
                                {"failing call", Fault::Fail},
                                {"full disk", Fault::DiskFull}};

TEST_F(AlertFaults, WhatWasSynchronizedIsThereAndNothingIsInvented) {
    for (const bool isNew : {false, true}) {
        const TemporaryFolder prepared;
        if (!isNew) prepare(prepared.path());
        const auto expected = picturesFrom(prepared.path());
        for (const auto& faultCase : faultCases) {
            std::uint64_t call = 1;
            for (bool struck = true; struck; call += stride) {
                SCOPED_TRACE(std::string(isNew ? "new file, " : "") + faultCase.name + " at call " +
                             std::to_string(call));
                const TemporaryFolder folder;
                copyInto(prepared.path(), folder.path());
                struck = strike(faultCase.fault, call, folder.path());
                if (faultCase.fault == Fault::Fail) {
                    EXPECT_EQ(_promises->durable, stepCount) << "tried again";
                }
                AlertDevice device(folder.path(), environment);
                device.service.check();
                const auto found = picture(device);
                // Some steps look alike where there is nothing to remove: the latest counts.
                const auto which = std::find(expected.rbegin(), expected.rend(), found);
                ASSERT_NE(which, expected.rend()) << found;
                ASSERT_GE(static_cast<std::size_t>(expected.rend() - which), _promises->durable + 1);
                // It goes on from there.
                device.center.scheduleNotification(alertFor("afterwards", at(1min)));
                ASSERT_EQ(device.center.scheduledNotificationsForReminderID("afterwards").size(), 1u);
            }
            // A sweep that met nothing has proved nothing.
            EXPECT_GT(call, 10u) << faultCase.name;
        }
    }
}

TEST_F(AlertFaults, SettingADamagedFileAsideBearsThemToo) {
    const TemporaryFolder prepared;
    prepare(prepared.path());
    const auto below = StoredNotificationCenter::storeFolder(prepared.path());
    std::ofstream(below / "alerts.sqlite", std::ios::in | std::ios::out) << std::string(4096, '\xA5');
    for (const auto& faultCase : faultCases) {
        std::uint64_t call = 1;
        for (bool struck = true; struck; call += stride) {
            SCOPED_TRACE(std::string(faultCase.name) + " at call " + std::to_string(call));
            const TemporaryFolder folder;
            copyInto(prepared.path(), folder.path());
            struck = strike(faultCase.fault, call, folder.path());
            AlertDevice device(folder.path(), environment);
            device.service.check();
            const auto isScheduled = [&](const char* reminderID) {
                return !device.center.scheduledNotificationsForReminderID(reminderID).empty();
            };
            EXPECT_EQ(isScheduled("r3"), _promises->durable >= 1 || isScheduled("r3"));
            EXPECT_EQ(isScheduled("large"), _promises->durable >= 2 || isScheduled("large"));
            EXPECT_TRUE(device.service.mustBeFilled()) << "with what the damaged one had";
            device.center.scheduleNotification(alertFor("afterwards", at(1min)));
            ASSERT_EQ(device.center.scheduledNotificationsForReminderID("afterwards").size(), 1u);
            const auto kept =
                std::ranges::count_if(fs::directory_iterator(StoredNotificationCenter::storeFolder(folder.path())),
                                      [](const fs::directory_entry& entry) {
                                          return entry.path().filename().string().starts_with("alerts-damaged-");
                                      });
            ASSERT_EQ(kept, 1);
        }
        EXPECT_GT(call, 10u) << faultCase.name;
    }
}

}  // namespace
}  // namespace zun
