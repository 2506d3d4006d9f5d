#include <gmock/gmock.h>
#include <sqlite3.h>

#include <functional>

#include "platform/foundation/Log.h"
#include "platform/foundation/SystemDispatch.h"
#include "platform/usernotifications/AlertTuning.h"
#include "usernotifications/StoredAlerts.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const auto morning = NSDate(std::chrono::sys_days{std::chrono::year{2026} / 1 / 14} + 9h);

TEST(SharedAlerts, TwoProgramsSeeEachOthersChanges) {
    const TestEnvironment environment;
    const TemporaryFolder folder;
    AlertDevice one(folder.path(), environment), other(folder.path(), environment);
    EXPECT_THAT(other.center.scheduledNotifications(), IsEmpty()) << "there is no file yet";
    one.center.scheduleNotification(alertFor("a", morning));
    EXPECT_THAT(other.center.scheduledNotifications(), IsEmpty()) << "gathered, not written";
    one.dispatch.advance(1s);
    EXPECT_THAT(lines(other.center.scheduledNotifications()), ElementsAre("a 09:00"));
    other.center.removeScheduledNotificationsForReminderID("a");
    other.center.scheduleNotification(alertFor("a", morning + 1h));
    other.center.synchronize();
    EXPECT_THAT(lines(one.center.scheduledNotifications()), ElementsAre("a 10:00"));
    one.deliver(morning + 1h);
    EXPECT_TRUE(other.center.wasDelivered("a", morning + 1h));
    EXPECT_THAT(lines(other.center.deliveredNotifications()), ElementsAre("a 10:00"));
}

TEST(SharedAlerts, AProgramThatEndsWritesWhatItGathered) {
    const TestEnvironment environment;
    const TemporaryFolder folder;
    AlertDevice(folder.path(), environment).center.scheduleNotification(alertFor("a", morning));
    EXPECT_THAT(AlertDevice(folder.path(), environment).center.scheduledNotifications(), SizeIs(1));
}

TEST(SharedAlerts, RemovingADeliveredOneClosesItUnlessANewerStandsThere) {
    const TestEnvironment environment;
    const TemporaryFolder folder;
    AlertDevice device(folder.path(), environment);
    for (const auto time : {0min, 10min}) {
        device.center.scheduleNotification(alertFor("nagging", morning + time));
        device.deliver(morning + time, 5);
    }
    const auto delivered = device.center.deliveredNotifications();
    ASSERT_THAT(delivered, SizeIs(2));
    device.center.removeDeliveredNotification(delivered[0]);
    device.center.synchronize();
    EXPECT_THAT(device.service.takeClosings("bus/1"), IsEmpty());
    device.center.removeDeliveredNotification(delivered[1]);
    device.center.synchronize();
    EXPECT_THAT(device.service.takeClosings("bus/1"), ElementsAre(5));
    EXPECT_THAT(device.service.takeClosings("bus/1"), IsEmpty()) << "once";
}

// A program with a loop of its own, as the application has.
class Listener final : public NSUserNotificationCenterDelegate {
  public:
    Listener(const std::filesystem::path& folder, const Environment& environment)
        : center(folder, {dispatch, environment}) {}
    void didDeliverNotification(const NSUserNotification& notification) override { heard.push_back(notification); }
    void didActivateNotification(const NSUserNotification&) override {}
    // False if they have not come after a time that is long for any machine.
    bool waitFor(std::size_t count) {
        bool isLate = false;
        loop->asyncAfter(20s, [&] { isLate = true; });
        loop->runUntil([&] { return isLate || heard.size() >= count; });
        loop->dropBlocks();
        return !isLate;
    }

    std::shared_ptr<LoopQueue> loop = std::make_shared<LoopQueue>();
    SystemDispatch dispatch{loop};
    StoredNotificationCenter center;
    std::vector<NSUserNotification> heard;
};

TEST(SharedAlerts, TellsTheDelegateOfEachDeliveryOnce) {
    const TestEnvironment environment;
    const TemporaryFolder folder;
    AlertDevice device(folder.path(), environment);
    const auto deliver = [&](const std::string& reminderID, std::chrono::minutes time) {
        device.center.scheduleNotification(alertFor(reminderID, morning + time));
        device.deliver(morning + time);
        ringBell(StoredNotificationCenter::bell(folder.path()));
    };
    deliver("before", 0min);
    Listener listener(folder.path(), environment);
    listener.center.setDelegate(&listener);
    deliver("a", 1min);
    ASSERT_TRUE(listener.waitFor(1));
    // Bells that ring for other changes tell nothing anew, nor do removals.
    listener.center.scheduleNotification(alertFor("x", morning + 50min));
    listener.center.removeDeliveredNotification(listener.heard.front());
    listener.center.synchronize();
    deliver("b", 2min);
    deliver("c", 3min);
    ASSERT_TRUE(listener.waitFor(3));
    EXPECT_THAT(lines(listener.heard), ElementsAre("a 09:01", "b 09:02", "c 09:03"));

    // A fresh file, after the old one was damaged, counts from the start again.
    {
        const ScopedLogSink silence([](std::string_view) {});
        std::filesystem::remove(StoredNotificationCenter::storeFolder(folder.path()) / "alerts.sqlite");
        deliver("d", 4min);
        ASSERT_TRUE(listener.waitFor(4));
        EXPECT_EQ(lines(listener.heard).back(), "d 09:04");
    }
    listener.center.setDelegate(nullptr);
    deliver("e", 5min);
    listener.center.setDelegate(&listener);
    deliver("f", 6min);
    ASSERT_TRUE(listener.waitFor(5));
    EXPECT_EQ(lines(listener.heard).back(), "f 09:06");
}

// Counts what the statements of every connection opened meanwhile do: steps of SQLite's machine, and rows that were
// walked for want of an index.
class StatementMeter {
  public:
    StatementMeter() {
        current() = this;
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(&opened));
    }
    ~StatementMeter() {
        sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(&opened));
        current() = nullptr;
    }
    std::int64_t steps = 0, walked = 0;
    std::string mostSteps;
    sqlite3* lastOpened = nullptr;

  private:
    static StatementMeter*& current() {
        static StatementMeter* meter = nullptr;
        return meter;
    }
    static int opened(sqlite3* database, char**, const void*) {
        current()->lastOpened = database;
        sqlite3_trace_v2(database, SQLITE_TRACE_PROFILE, &ended, nullptr);
        return SQLITE_OK;
    }
    static int ended(unsigned, void*, void* statement, void*) {
        if (!current()) return 0;
        auto* const ran = static_cast<sqlite3_stmt*>(statement);
        const auto steps = sqlite3_stmt_status(ran, SQLITE_STMTSTATUS_VM_STEP, 1);
        current()->steps += steps;
        current()->walked += sqlite3_stmt_status(ran, SQLITE_STMTSTATUS_FULLSCAN_STEP, 1);
        if (steps > 400) current()->mostSteps += std::string("\n") + sqlite3_sql(ran);
        return 0;
    }
};

TEST(SharedAlerts, AProgramWaitsForAnotherOnesLongChange) {
    const TestEnvironment environment;
    const TemporaryFolder folder;
    const StatementMeter meter;
    AlertDevice device(folder.path(), environment);
    device.center.scheduleNotification(alertFor("a", morning));
    device.center.synchronize();
    int milliseconds = 0;
    const auto read = [](void* result, int, char** values, char**) {
        *static_cast<int*>(result) = std::stoi(values[0]);
        return 0;
    };
    sqlite3_exec(meter.lastOpened, "PRAGMA busy_timeout", read, &milliseconds, nullptr);
    EXPECT_EQ(std::chrono::milliseconds(milliseconds), alertTuning::lockWait);
}

TEST(SharedAlerts, NothingWalksAHundredThousandScheduledOnes) {
    const TestEnvironment environment;
    const TemporaryFolder folder;
    StatementMeter meter;
    AlertDevice device(folder.path(), environment);
    const auto farAhead = morning + 1000h;
    for (int number = 0; number < 100'000; ++number)
        device.center.scheduleNotification(alertFor("r" + std::to_string(number / 4), farAhead + number * 1s));
    // Many that were shown, too.
    for (int number = 0; number < 5'000; ++number)
        device.center.scheduleNotification(alertFor("s" + std::to_string(number), morning - number * 1s));
    device.center.synchronize();
    const auto missed = device.service.due(morning, 4);
    ASSERT_EQ(missed.reminders, 5'000u);
    device.service.recordShown(morning, missed, std::nullopt, {3, "bus/1", true});

    const auto expectFew = [&](const char* what, std::int64_t most, const std::function<void()>& action) {
        meter.steps = meter.walked = 0;
        meter.mostSteps.clear();
        action();
        EXPECT_GT(meter.steps, 0) << what;
        EXPECT_LT(meter.steps, most) << what << meter.mostSteps;
        EXPECT_LE(meter.walked, 1) << what;
    };
    expectFew("replacing one reminder's alerts", 1500, [&] {
        device.center.removeScheduledNotificationsForReminderID("r12345");
        for (int number = 0; number < 4; ++number)
            device.center.scheduleNotification(alertFor("r12345", morning + 1h + number * 10min));
        device.center.synchronize();
        EXPECT_THAT(device.center.scheduledNotificationsForReminderID("r12345"), SizeIs(4));
    });
    expectFew("asking when the next is due", 400, [&] {
        device.service.adaptTo(*NSTimeZone::fromVariable("Europe/Berlin"));
        EXPECT_EQ(device.service.nextDueDate(), morning + 1h);
    });
    expectFew("delivering one", 3000, [&] {
        EXPECT_TRUE(device.deliver(morning + 1h, 9));
        EXPECT_EQ(device.service.placeOfReminder("r12345", "bus/1"), 9u);
        EXPECT_TRUE(device.center.wasDelivered("r12345", morning + 1h));
        EXPECT_EQ(device.service.lastDeliveryDate("r12345"), morning + 90min);
        EXPECT_THAT(device.service.takeClosings("bus/1"), IsEmpty());
    });
    expectFew("delivering a summary", 4000, [&] {
        for (int number = 0; number < 6; ++number)
            device.center.scheduleNotification(alertFor("t" + std::to_string(number), morning + 61min));
        device.center.synchronize();
        const auto due = device.service.due(morning + 61min, 4);
        EXPECT_EQ(due.reminders, 6u);
        EXPECT_TRUE(device.service.recordShown(morning + 61min, due, std::nullopt, {4, "bus/1", true}));
        EXPECT_EQ(device.service.placeOfSummary("bus/1"), 4u);
    });
    expectFew("hearing of one on the screen", 1500, [&] {
        EXPECT_THAT(device.service.standingAt(9, "bus/1", 1), SizeIs(1));
        EXPECT_TRUE(device.service.leftScreen(9, "bus/1"));
    });
    expectFew("forgetting", 400, [&] {
        device.service.forgetShownBefore(morning - 2400h);
        EXPECT_FALSE(device.service.forgetShownAfter(morning + 1h, morning + 36h));
    });
}

}  // namespace
}  // namespace zun
