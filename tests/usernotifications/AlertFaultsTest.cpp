#include <gmock/gmock.h>

#include <fstream>

#include "platform/foundation/Log.h"
#include "support/FaultSweep.h"
#include "usernotifications/StoredAlerts.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using faults::Fault;

// What the ended process still tells.
struct Promises {
    std::size_t durable = 0;  // steps that were written when it was said so
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

    bool strike(Fault fault, std::uint64_t atCall, const fs::path& folder) {
        return _process.strike(fault, atCall, [&folder](Promises& promises) {
            bool hasFailed = false;
            const ScopedLogSink log([&](std::string_view) { hasFailed = true; });
            AlertDevice device(folder, environment);
            for (std::size_t step = 0; step < stepCount; ++step) {
                hasFailed = false;
                steps[step](device);
                device.center.synchronize();
                if (!hasFailed) promises.durable = step + 1;
            }
            // What could not be written is tried again; by then the one call that failed works.
            hasFailed = false;
            device.dispatch.advance(1min);
            device.center.synchronize();
            if (!hasFailed) promises.durable = stepCount;
        });
    }
    std::size_t durable() const { return _process.promises().durable; }
    // It goes on from whatever it found.
    static void goOn(AlertDevice& device) {
        device.center.scheduleNotification(alertFor("afterwards", at(1min)));
        EXPECT_EQ(device.center.scheduledNotificationsForReminderID("afterwards").size(), 1u);
    }

    faults::StruckProcess<Promises> _process;
    ScopedLogSink _quiet{[](std::string_view) {}};
};

TEST_F(AlertFaults, WhatWasSynchronizedIsThereAndNothingIsInvented) {
    for (const bool isNew : {false, true}) {
        const TemporaryFolder prepared;
        if (!isNew) prepare(prepared.path());
        const auto expected = picturesFrom(prepared.path());
        const auto each = [&](Fault fault, std::uint64_t call, const fs::path& folder) {
            const bool struck = strike(fault, call, folder);
            if (fault == Fault::Fail) {
                EXPECT_EQ(durable(), stepCount) << "tried again";
            }
            AlertDevice device(folder, environment);
            device.service.check();
            const auto found = picture(device);
            // Some steps look alike where there is nothing to remove: the latest counts.
            const auto which = std::find(expected.rbegin(), expected.rend(), found);
            EXPECT_NE(which, expected.rend()) << found;
            EXPECT_GE(static_cast<std::size_t>(expected.rend() - which), durable() + 1);
            goOn(device);
            return struck;
        };
        faults::sweep(isNew ? "new file" : "known file", prepared.path(), each);
    }
}

TEST_F(AlertFaults, SettingADamagedFileAsideBearsThemToo) {
    const TemporaryFolder prepared;
    prepare(prepared.path());
    const auto below = StoredNotificationCenter::storeFolder(prepared.path());
    std::ofstream(below / "alerts.sqlite", std::ios::in | std::ios::out) << std::string(4096, '\xA5');
    faults::sweep("damaged file", prepared.path(), [&](Fault fault, std::uint64_t call, const fs::path& folder) {
        const bool struck = strike(fault, call, folder);
        AlertDevice device(folder, environment);
        device.service.check();
        const auto isScheduled = [&](const char* reminderID) {
            return !device.center.scheduledNotificationsForReminderID(reminderID).empty();
        };
        EXPECT_TRUE(durable() < 1 || isScheduled("r3"));
        EXPECT_TRUE(durable() < 2 || isScheduled("large"));
        EXPECT_TRUE(device.service.mustBeFilled()) << "with what the damaged one had";
        goOn(device);
        const auto kept =
            std::ranges::count_if(fs::directory_iterator(StoredNotificationCenter::storeFolder(folder)),
                                  [](const fs::directory_entry& entry) {
                                      return entry.path().filename().string().starts_with("alerts-damaged-");
                                  });
        EXPECT_EQ(kept, 1);
        return struck;
    });
}

}  // namespace
}  // namespace zun
