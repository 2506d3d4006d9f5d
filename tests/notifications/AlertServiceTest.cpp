#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "notifications/AlertWorld.h"
#include "platform/foundation/Log.h"
#include "platform/usernotifications/AlertTuning.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Mood = ScriptedNotificationServer::Mood;
using CloseReason = NotificationServer::CloseReason;

TEST(AlertService, ShowsEachAlertAtItsMomentAndOnce) {
    AlertWorld world;
    world.start();
    world.schedule("a", "2026-01-14T10:05:00Z");
    // Scheduled twice, as two quick saves do.
    world.schedule("a", "2026-01-14T10:05:00Z");
    world.schedule("b", "2026-01-14T10:20:00Z");
    world.pass(5min - 1us);
    EXPECT_THAT(world.noticed(), IsEmpty());
    world.pass(1us);
    EXPECT_THAT(world.noticed(), ElementsAre("a"));
    EXPECT_THAT(world.extended, ElementsAre(ElementsAre("a")));
    EXPECT_TRUE(world.center.wasDelivered("a", world.environment.date("2026-01-14T10:05:00Z")));
    world.pass(15min);
    EXPECT_THAT(world.noticed(), ElementsAre("a", "b"));
    EXPECT_THAT(world.delivered(), ElementsAre("a", "b"));
    EXPECT_THAT(world.center.scheduledNotifications(), IsEmpty());

    const auto& notification = world.server.shown.front();
    EXPECT_EQ(notification.body, "Due now");
    EXPECT_EQ(notification.actionLabel, "Snooze");
    // Nothing left but the look of the next morning.
    EXPECT_EQ(world.alarmClock.alarm(), world.environment.date("2026-01-15T04:00:00Z"));
}

TEST(AlertService, LeavesOneNotificationOfANaggingReminder) {
    AlertWorld world;
    world.start();
    for (const auto* minute : {"05", "15", "25", "35"})
        world.schedule("a", std::string("2026-01-14T10:") + minute + ":00Z");
    world.pass(40min);
    EXPECT_THAT(world.noticed(), ElementsAre("a", "a", "a", "a"));
    EXPECT_THAT(world.server.titles(), ElementsAre("a"));

    // Removing an earlier one leaves the newest on the screen; removing that one closes it.
    auto delivered = world.center.deliveredNotifications();
    ASSERT_THAT(delivered, SizeIs(4));
    world.center.removeDeliveredNotification(delivered[0]);
    world.center.synchronize();
    world.service->alertsChanged();
    EXPECT_THAT(world.server.titles(), ElementsAre("a"));
    for (const auto& one : delivered)
        world.center.removeDeliveredNotification(one);
    world.center.synchronize();
    world.service->alertsChanged();
    EXPECT_THAT(world.server.titles(), IsEmpty());
}

TEST(AlertService, FoldsWhatCameDueUnseen) {
    AlertWorld world;
    for (const auto* minute : {"05", "15", "25", "35"})
        world.schedule("nags", std::string("2026-01-14T10:") + minute + ":00Z");
    world.schedule("once", "2026-01-14T11:00:00Z");
    world.schedule("later", "2026-01-14T18:00:00Z");
    world.environment.advance(3h);  // switched off
    world.start();
    EXPECT_THAT(world.noticed(), ElementsAre("nags", "once"));
    // The first of them stands for all, as the reminder's own date.
    EXPECT_EQ(world.center.deliveredNotifications().front().deliveryDate,
              world.environment.date("2026-01-14T10:05:00Z"));
    EXPECT_TRUE(world.center.wasDelivered("nags", world.environment.date("2026-01-14T10:35:00Z")));

    // The machine sleeps over the last one.
    world.alarmClock.suspend(9h);
    world.pass(1ms);
    EXPECT_THAT(world.noticed(), ElementsAre("nags", "once", "later"));
}

TEST(AlertService, SummarizesManyOfOneMoment) {
    AlertWorld world;
    world.start();
    for (int number = 1; number <= 7; ++number)
        world.schedule("r" + std::to_string(number), "2026-01-14T10:05:00Z");
    world.pass(5min);
    EXPECT_THAT(world.noticed(), ElementsAre("7 reminders are due"));
    EXPECT_EQ(world.server.shown.front().body, "r1\nr2\nr3\nr4\nand 3 more");
    EXPECT_EQ(world.server.shown.front().actionLabel, "");
    EXPECT_THAT(world.delivered(), SizeIs(7));

    // A nag of one of them stands beside it, and further ones join it.
    world.schedule("r1", "2026-01-14T10:15:00Z");
    world.pass(10min);
    EXPECT_THAT(world.server.titles(), ElementsAre("7 reminders are due", "r1"));
    for (int number = 1; number <= 4; ++number)
        world.schedule("s" + std::to_string(number), "2026-01-14T10:30:00Z");
    world.pass(15min);
    EXPECT_THAT(world.server.titles(), ElementsAre("11 reminders are due", "r1"));

    world.server.invoke(world.server.find("11 reminders are due"), NotificationServer::defaultAction);
    ASSERT_THAT(world.activations, SizeIs(1));
    EXPECT_EQ(world.activations.front().kind, AlertActivation::Kind::ShowStack);
}

TEST(AlertService, HandsAnswersToTheApplication) {
    struct Case {
        const char* action;
        AlertActivation::Kind kind;
    };
    for (const auto& expected :
         {Case{"default", AlertActivation::Kind::ShowReminder}, Case{"open", AlertActivation::Kind::ShowReminder},
          Case{"snooze", AlertActivation::Kind::SnoozeReminder}}) {
        SCOPED_TRACE(expected.action);
        AlertWorld world;
        world.start();
        world.schedule("a", "2026-01-14T10:05:00Z");
        world.pass(5min);
        const auto identifier = world.center.deliveredNotifications().front().identifier;
        world.server.invoke(world.server.find("a"), expected.action);
        ASSERT_THAT(world.activations, SizeIs(1));
        EXPECT_EQ(world.activations.front().kind, expected.kind);
        EXPECT_EQ(world.activations.front().reminderID, "a");
        EXPECT_EQ(world.activations.front().identifier, identifier);
        EXPECT_EQ(world.activations.front().activationToken, "token");
        world.server.invoke(77, expected.action);  // somebody else's
        EXPECT_THAT(world.activations, SizeIs(1));
    }
}

TEST(AlertService, TellsDismissedFromExpired) {
    for (const auto reason :
         {CloseReason::Expired, CloseReason::Dismissed, CloseReason::Closed, CloseReason::Undefined}) {
        SCOPED_TRACE(static_cast<int>(reason));
        AlertWorld world;
        world.start();
        world.schedule("a", "2026-01-14T10:05:00Z");
        world.pass(5min);
        world.server.leave(world.server.find("a"), reason);
        EXPECT_THAT(world.delivered(), SizeIs(reason == CloseReason::Dismissed ? 0 : 1));
        // A nag comes up anew; the old identifier is not used for it.
        world.schedule("a", "2026-01-14T10:15:00Z");
        world.pass(10min);
        EXPECT_THAT(world.server.titles(), ElementsAre("a"));
    }
}

TEST(AlertService, WaitsForAServer) {
    for (const auto mood : {Mood::Absent, Mood::Refuses}) {
        AlertWorld world;
        world.server.mood = mood;
        world.start();
        world.schedule("a", "2026-01-14T10:05:00Z");
        world.pass(1h);
        EXPECT_THAT(world.noticed(), IsEmpty());
        EXPECT_THAT(world.center.scheduledNotifications(), SizeIs(1)) << "it stays due";
        if (mood == Mood::Absent) {
            world.server.restart();
            world.dispatch.runUntilIdle();
        } else {
            world.server.mood = Mood::Healthy;
            world.pass(alertTuning::longestRetry);
        }
        EXPECT_THAT(world.noticed(), ElementsAre("a"));
        world.pass(24h);
        EXPECT_THAT(world.noticed(), ElementsAre("a"));
    }
}

TEST(AlertService, ShowsOnceWhatAServerWasStartedFor) {
    for (const int alerts : {1, 2, 5}) {
        AlertWorld world;
        world.start();
        world.schedule("before", "2026-01-14T10:01:00Z");
        world.pass(2min);
        for (int number = 0; number < alerts; ++number)
            world.schedule(std::to_string(number), "2026-01-14T10:05:00Z");
        // The bus tells that it is there before it answers.
        world.server.beforeAnswer = [&] { world.server.appear(); };
        world.pass(1h);
        EXPECT_THAT(world.noticed(), SizeIs(alerts == 5 ? 2 : alerts + 1));
        EXPECT_THAT(world.delivered(), SizeIs(alerts + 1));
    }
}

TEST(AlertService, PutsTheScreenRightAfterAServerOrTheServiceCameBack) {
    for (const bool serverEnds : {true, false}) {
        SCOPED_TRACE(serverEnds);
        AlertWorld world;
        world.start();
        world.schedule("a", "2026-01-14T10:05:00Z");
        world.schedule("b", "2026-01-14T10:06:00Z");
        world.pass(10min);
        world.server.leave(world.server.find("b"), CloseReason::Dismissed);
        if (serverEnds) {
            world.server.restart();
            world.dispatch.runUntilIdle();
        } else {
            world.kill();
            world.server.screen.clear();  // a server that drops what its sender leaves behind
            world.start();
        }
        EXPECT_THAT(world.server.titles(), ElementsAre("a"));
        EXPECT_THAT(world.noticed(), ElementsAre("a", "b")) << "without a sound";
        // What stands there now still answers, and is replaced in its place.
        world.schedule("a", "2026-01-14T10:20:00Z");
        world.pass(10min);
        EXPECT_THAT(world.server.titles(), ElementsAre("a"));
        world.server.invoke(world.server.find("a"), "snooze");
        EXPECT_THAT(world.activations, SizeIs(1));
    }
    // In a new session, what was seen in the old one does not come up again.
    AlertWorld world;
    world.start();
    world.schedule("a", "2026-01-14T10:05:00Z");
    world.pass(10min);
    world.kill();
    world.server.session = "another";
    world.server.screen.clear();
    world.start();
    EXPECT_THAT(world.server.titles(), IsEmpty());
    EXPECT_THAT(world.delivered(), ElementsAre("a"));
}

TEST(AlertService, ShowsAgainWhatAKilledServiceHadUnderWay) {
    AlertWorld world;
    world.start();
    world.schedule("a", "2026-01-14T10:05:00Z");
    // It dies when the screen shows the alert, before it has heard of it.
    world.server.beforeAnswer = [&] { world.service.reset(); };
    world.pass(5min);
    ASSERT_FALSE(world.service);
    world.start();
    ASSERT_THAT(world.server.shown, SizeIs(2));
    EXPECT_EQ(world.server.shown[0].tag, world.server.shown[1].tag);
    EXPECT_THAT(world.delivered(), ElementsAre("a"));
    world.kill();
    world.start();
    EXPECT_THAT(world.server.shown, SizeIs(2)) << "recorded: not again";
}

TEST(AlertService, FollowsTheClockOnTheWallIntoAnotherZone) {
    struct Case {
        const char *scheduledIn, *at, *movedTo, *expected;
    };
    for (const auto& one : {
             Case{"Europe/Berlin", "2026-01-15T08:00:00Z", "America/New_York", "2026-01-15T14:00:00Z"},
             Case{"Europe/Berlin", "2026-01-15T08:00:00Z", "Asia/Tokyo", "2026-01-15T00:00:00Z"},
             // 02:30 does not exist there on that day: the clock reads 03:30 then.
             Case{"UTC", "2026-03-29T02:30:00Z", "Europe/Berlin", "2026-03-29T01:30:00Z"},
             // 02:30 comes twice there: the first one.
             Case{"UTC", "2026-10-25T02:30:00Z", "Europe/Berlin", "2026-10-25T00:30:00Z"},
         }) {
        SCOPED_TRACE(one.at);
        AlertWorld world;
        world.environment.setTimeZone(one.scheduledIn);
        const auto expected = world.environment.date(one.expected);
        world.environment.setNow(std::min(expected, world.environment.date(one.at)) - 1h);
        world.start();
        world.schedule("a", one.at, one.scheduledIn);
        world.environment.setTimeZone(one.movedTo);
        world.service->surroundingsChanged();
        world.pass(expected - world.environment.now() - 1ms);
        EXPECT_THAT(world.noticed(), IsEmpty());
        world.pass(1ms);
        EXPECT_THAT(world.noticed(), ElementsAre("a"));
        EXPECT_EQ(world.center.deliveredNotifications().front().deliveryDate, world.environment.date(one.at));
    }
    // There and back again, in an hour that comes twice: as it was.
    AlertWorld world(1, "2026-10-25T00:00:00Z");
    world.environment.setTimeZone("Europe/Berlin");
    world.schedule("a", "2026-10-25T01:30:00Z", "Europe/Berlin");
    world.start();
    for (const auto* zone : {"Asia/Tokyo", "Europe/Berlin"}) {
        world.environment.setTimeZone(zone);
        world.store.adaptTo(*world.environment.timeZone());
    }
    EXPECT_EQ(world.store.nextDueDate(), world.environment.date("2026-10-25T01:30:00Z"));
}

TEST(AlertService, BearsAClockThatIsSet) {
    AlertWorld world;
    world.start();
    world.schedule("a", "2026-01-14T11:00:00Z");
    const auto set = [&](auto difference) {
        world.alarmClock.setClock(world.environment.now() + difference);
        world.dispatch.runUntilIdle();
    };
    set(-24h);
    set(24h);
    EXPECT_THAT(world.noticed(), IsEmpty());
    // Forth over the moment: at once. Back and over it again: not twice, even if a save schedules it again.
    set(2h);
    EXPECT_THAT(world.noticed(), ElementsAre("a"));
    set(-2h);
    world.schedule("a", "2026-01-14T11:00:00Z");
    world.pass(3h);
    EXPECT_THAT(world.noticed(), ElementsAre("a"));
    EXPECT_EQ(world.looks, 5) << "each change is a reason to look at the reminders";
}

TEST(AlertService, LooksAtTheRemindersOnceADayAndWhenTheyHaveChanged) {
    AlertWorld world;
    world.start();
    EXPECT_EQ(world.looks, 1);
    world.pass(24h);
    EXPECT_EQ(world.looks, 2);
    for (int change = 0; change < 10; ++change) {
        world.service->remindersChanged();
        world.pass(10s);
    }
    EXPECT_EQ(world.looks, 2);
    world.pass(alertTuning::quietBeforeLook);
    EXPECT_EQ(world.looks, 3);
}

TEST(AlertService, DoesNotShowAgainWhatItCannotRecord) {
    ScopedLogSink silence([](std::string_view) {});
    AlertWorld world;
    world.start();
    world.schedule("a", "2026-01-14T10:05:00Z");
    // The disk fails just then: the file is a folder now.
    const auto file = StoredNotificationCenter::storeFolder(world.folder.path()) / "alerts.sqlite";
    const auto elsewhere = world.folder.path() / "elsewhere.sqlite";
    world.server.beforeAnswer = [&] {
        std::filesystem::rename(file, elsewhere);
        std::filesystem::create_directory(file);
    };
    world.pass(6min);
    EXPECT_THAT(world.noticed(), ElementsAre("a"));
    std::filesystem::remove(file);
    std::filesystem::rename(elsewhere, file);
    world.pass(alertTuning::longestRetry);
    EXPECT_THAT(world.noticed(), ElementsAre("a"));
    EXPECT_THAT(world.delivered(), ElementsAre("a"));
}

}  // namespace
}  // namespace zun
