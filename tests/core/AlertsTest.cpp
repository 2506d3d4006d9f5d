#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "core/ManagerWorld.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using Strings = std::vector<std::string>;
using Change = std::function<void(ReminderAttributes&)>;

Change early(std::uint64_t type, std::uint64_t interval) {
    return [=](ReminderAttributes& attributes) {
        attributes.earlyReminderType = type;
        attributes.earlyReminderInterval = interval;
        attributes.fire_date = ZNReminderObject(attributes).dateAdjustedForEarlyReminderType(attributes.due_date);
    };
}

// Now is Wednesday 14 January 2026, 10:00, in UTC.
struct Case {
    const char* name;
    const char* start;
    std::uint64_t repeatType;
    Change change;
    Strings expected;
};

const Change asItIs = [](ReminderAttributes&) {};

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"ahead", "2026-01-14T10:00:00.000001", 0, asItIs, {"2026-01-14T10:00:00.000001"}},
        {"at this moment", "2026-01-14T10:00", 0, asItIs, {}},
        {"past", "2026-01-14T09:59", 0, asItIs, {}},
        {"years ahead, early", "2030-02-01T09:00", 0, early(4, 2), {"2030-01-18T09:00:00"}},
        {"completed",
         "2026-01-15T09:00",
         0,
         [](auto& attributes) { attributes.completed_date = attributes.created_date; },
         {}},
        {"silent",
         "2026-01-15T09:00",
         RepeatType::daily,
         [](auto& attributes) { attributes.shouldSuppressNotifications = true; },
         {}},
        {"at a place",
         "2026-01-15T09:00",
         0,
         [](auto& attributes) { attributes.locationLatitude = attributes.locationLongitude = 1; },
         {}},
        {"half a place is none",
         "2026-01-15T09:00",
         0,
         [](auto& attributes) { attributes.locationLatitude = 1; },
         {"2026-01-15T09:00:00"}},
        {"without a date of its own",
         "2026-01-15T09:00",
         0,
         [](auto& attributes) { attributes.start_date = std::nullopt; },
         {}},
        {"snoozed to another day",
         "2026-01-10T09:00",
         0,
         [](auto& attributes) { attributes.fire_date = *attributes.fire_date + 10 * 24h; },
         {"2026-01-20T09:00:00"}},
        {"nagging",
         "2026-01-14T10:30",
         0,
         [](auto& attributes) { attributes.naggingNotifications = true; },
         {"2026-01-14T10:30:00", "2026-01-14T10:40:00", "2026-01-14T10:50:00", "2026-01-14T11:00:00"}},
        // A single reminder whose moment has passed is gated; a nag of this moment is not.
        {"nagging since 15 minutes",
         "2026-01-14T09:45",
         0,
         [](auto& attributes) { attributes.naggingNotifications = true; },
         {}},
        {"nagging as of now",
         "2026-01-14T10:00",
         0,
         [](auto& attributes) { attributes.naggingNotifications = true; },
         {"2026-01-14T10:10:00", "2026-01-14T10:20:00", "2026-01-14T10:30:00"}},
        {"nagging since 15 minutes in a yearly series",
         "2026-01-14T09:45",
         RepeatType::yearly,
         [](auto& attributes) { attributes.naggingNotifications = true; },
         {"2026-01-14T10:05:00", "2026-01-14T10:15:00"}},
        {"daily ahead: the week behind the first, its end left out",
         "2026-01-20T09:00",
         RepeatType::daily,
         asItIs,
         {"2026-01-20T09:00:00", "2026-01-21T09:00:00", "2026-01-22T09:00:00", "2026-01-23T09:00:00",
          "2026-01-24T09:00:00", "2026-01-25T09:00:00", "2026-01-26T09:00:00"}},
        {"every third day alerts each day; past, so from now on",
         "2026-01-11T09:00",
         RepeatType::daily,
         [](auto& attributes) { attributes.customRepeatInterval = 3; },
         {"2026-01-15T09:00:00", "2026-01-16T09:00:00", "2026-01-17T09:00:00", "2026-01-18T09:00:00",
          "2026-01-19T09:00:00", "2026-01-20T09:00:00", "2026-01-21T09:00:00"}},
        {"an end date does not count here",
         "2026-01-13T11:00",
         RepeatType::weekly,
         [](auto& attributes) { attributes.end_date = attributes.start_date; },
         {"2026-01-20T11:00:00"}},
        {"weekly: exactly a week behind is not within it",
         "2026-01-15T09:00",
         RepeatType::weekly,
         asItIs,
         {"2026-01-15T09:00:00"}},
        {"early: the present occurrence counts once more",
         "2026-01-08T09:00",
         RepeatType::weekly,
         [](auto& attributes) {
             attributes.due_date = *attributes.start_date + 7 * 24h;
             early(1, 10)(attributes);
         },
         {"2026-01-15T08:50:00", "2026-01-15T08:50:00"}},
        {"early: an occurrence ahead whose moment has passed is left out",
         "2026-01-07T11:00",
         RepeatType::weekly,
         early(2, 2),
         {}},
        {"monthly, past", "2025-12-16T09:00", RepeatType::monthly, asItIs, {"2026-01-16T09:00:00"}},
        {"at a unit that has none", "2026-01-15T09:00", RepeatType::customUnrefined, asItIs, {"2026-01-15T09:00:00"}},
        {"on weekdays: one for each, the present one not again",
         "2026-01-15T09:00",
         RepeatType::weekly,
         [](auto& attributes) {
             attributes.customRepeatDayOrdinals = DayOrdinals{2, 5, 6};
         },
         {"2026-01-15T09:00:00", "2026-01-16T09:00:00", "2026-01-19T09:00:00", "2026-01-22T09:00:00"}},
        {"on weekdays of every second week",
         "2026-01-12T09:00",
         RepeatType::weekly,
         [](auto& attributes) {
             attributes.customRepeatDayOrdinals = DayOrdinals{2};
             attributes.customRepeatInterval = 2;
         },
         {"2026-01-26T09:00:00"}},
        {"on no weekday, whatever the unit",
         "2026-01-15T09:00",
         RepeatType::daily,
         [](auto& attributes) { attributes.customRepeatDayOrdinals = DayOrdinals(); },
         {"2026-01-15T09:00:00"}},
        {"at the end of time",
         "2026-01-15T09:00",
         0,
         [](auto& attributes) {
             attributes.fire_date = NSDate::max();
             attributes.naggingNotifications = true;
         },
         {}},
    };
    return all;
}

TEST(Alerts, AreScheduledByTheReminder) {
    const ScopedLogSink sink([](std::string_view) {});
    for (const auto& tested : cases()) {
        SCOPED_TRACE(tested.name);
        ManagerWorld world;
        auto attributes = world.dated("s", tested.start);
        attributes.repeat_type = tested.repeatType;
        tested.change(attributes);
        const auto reminder = std::make_shared<ZNReminderObject>(attributes);
        world.manager.saveReminder(reminder, ShouldSyncWithiCloud::No);
        world.settle();
        EXPECT_EQ(world.alerts("s"), tested.expected);
        // Once more, and it is still the same set.
        world.manager.updateReminder(reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
        world.settle();
        EXPECT_EQ(world.alerts("s"), tested.expected);
    }
}

TEST(Alerts, SayWhatIsDueSeenFromTheirOwnMoment) {
    ManagerWorld world(1, "2026-03-28T09:00:00Z");
    world.environment.setTimeZone("Europe/Berlin");
    auto attributes = world.dated("s", "2026-03-28T12:00");
    attributes.title = "Tea";
    attributes.repeat_type = RepeatType::daily;
    early(3, 1)(attributes);
    world.manager.saveReminder(std::make_shared<ZNReminderObject>(attributes), ShouldSyncWithiCloud::No);
    world.settle();
    const auto scheduled = world.userNotifications.scheduledNotifications();
    ASSERT_FALSE(scheduled.empty());

    NSUserNotification expected;
    expected.identifier = scheduled.front().identifier;
    expected.userInfo = {{"NOTIFICATION_REMINDER_ID", "s"}};
    // A day is 24 hours here, across the clock change too.
    expected.deliveryDate = world.at("2026-03-28T11:00");
    expected.deliveryTimeZone = "Europe/Berlin";
    expected.title = "Tea";
    expected.subtitle = "Due tomorrow at 12:00\u202fPM";
    expected.hasActionButton = true;
    expected.actionButtonTitle = "Snooze";
    expected.soundName = "NSUserNotificationDefaultSoundName";
    EXPECT_EQ(scheduled.front().subtitle, expected.subtitle);
    EXPECT_EQ(scheduled.front(), expected);
}

TEST(Alerts, FollowTheReminderAsItIsWhenTheirTurnComes) {
    for (std::uint64_t seed = 0; seed < 10; ++seed) {
        ManagerWorld world(seed);
        const auto reminder = std::make_shared<ZNReminderObject>(world.dated("s", "2026-01-15T09:00"));
        world.manager.scheduleNotificationsForReminder(reminder);
        reminder->setReminderID("t");
        reminder->onSetFireDate(world.at("2026-01-16T09:00"));
        world.settle();
        EXPECT_THAT(world.userNotifications.takeLines(), ElementsAre("remove t", "schedule t 2026-01-16T09:00:00Z"));

        // Two in a row: both removals come before both sets.
        world.manager.scheduleNotificationsForReminder(reminder);
        world.manager.scheduleNotificationsForReminder(reminder);
        world.settle();
        EXPECT_THAT(world.alerts("t"), ElementsAre("2026-01-16T09:00:00", "2026-01-16T09:00:00"));
        world.manager.scheduleNotificationsForReminder(reminder);
        world.settle();
        EXPECT_THAT(world.alerts("t"), ElementsAre("2026-01-16T09:00:00"));
    }
}

TEST(Alerts, GoWithTheReminderAndNoOther) {
    const std::vector<std::pair<const char*, std::function<void(ZNReminderManager&, const ReminderPtr&)>>> acts = {
        {"delete", [](auto& manager, auto& reminder) { manager.deleteReminder(reminder, ShouldSyncWithiCloud::No); }},
        {"bulk delete",
         [](auto& manager, auto& reminder) { manager.bulkDeleteReminders({reminder}, ShouldSyncWithiCloud::No); }},
        {"complete", [](auto& manager, auto& reminder) { manager.completeReminder(reminder); }},
        {"silence",
         [](auto& manager, auto& reminder) {
             reminder->setShouldSuppressNotifications(true);
             manager.updateReminder(reminder, ShouldUpdateDateModified::No, ShouldSyncWithiCloud::No);
         }},
    };
    for (const auto& [name, act] : acts) {
        SCOPED_TRACE(name);
        ManagerWorld world;
        for (const auto* id : {"s", "other"}) {
            world.manager.saveReminder(std::make_shared<ZNReminderObject>(world.dated(id, "2026-01-15T09:00")),
                                       ShouldSyncWithiCloud::No);
        }
        world.settle();
        ASSERT_EQ(world.alerts("s").size(), 1u);
        act(world.manager, world.stored("s"));
        world.settle();
        EXPECT_THAT(world.alerts("s"), IsEmpty());
        EXPECT_EQ(world.alerts("other").size(), 1u);
        // A record that was never stored has no alerts, and takes none with it.
        world.manager.deleteReminder(std::make_shared<ZNReminderObject>(), ShouldSyncWithiCloud::No);
        world.settle();
        EXPECT_EQ(world.alerts("other").size(), 1u);
    }
}

TEST(Alerts, AreMadeAnewForAllThatFireFromADateOn) {
    ManagerWorld world;
    world.store(world.dated("past", "2026-01-13T09:00"));
    world.store(world.dated("soon", "2026-01-15T09:00"));
    world.store(world.dated("later", "2026-02-15T09:00"));
    auto silent = world.dated("silent", "2026-02-15T09:00");
    silent.shouldSuppressNotifications = true;
    world.store(silent);
    int done = 0;
    const auto countDone = [&] { ++done; };

    world.manager.scheduleNotificationsForRemindersOnOrAfterDate(world.at("2026-02-15T09:00"), countDone);
    EXPECT_EQ(done, 1) << "the block does not wait for the alerts";
    EXPECT_THAT(world.userNotifications.scheduledNotifications(), IsEmpty());
    world.settle();
    EXPECT_THAT(world.userNotifications.takeLines(),
                ElementsAre("remove later", "schedule later 2026-02-15T09:00:00Z"));

    world.manager.scheduleNotificationsForRemindersOnOrAfterDate(std::nullopt);
    world.settle();
    EXPECT_THAT(world.alerts("soon"), ElementsAre("2026-01-15T09:00:00"));
    EXPECT_THAT(world.alerts("past"), IsEmpty());

    world.manager.scheduleNotificationsForRemindersOnOrAfterDate(world.at("2027-01-01T00:00"), countDone);
    EXPECT_EQ(done, 1) << "nor is it called where there is nothing to do";
}

TEST(Alerts, AreToppedUpFromTheLastOneUnlessExactly64AreScheduled) {
    for (const std::size_t count : {0u, 63u, 64u, 65u}) {
        SCOPED_TRACE(count);
        ManagerWorld world;
        world.store(world.dated("before", "2026-01-15T09:00"));
        world.store(world.dated("behind", "2026-03-01T09:00"));
        for (std::size_t i = 0; i < count; ++i) {
            NSUserNotification filler;
            filler.deliveryDate = world.at("2026-02-01T00:00") + std::chrono::minutes(i);
            world.userNotifications.scheduleNotification(filler);
        }
        world.manager.updateLocalNotificationsIfNecessaryWithCompletion([] { FAIL(); });
        world.settle();
        EXPECT_EQ(world.alerts("before").size(), count == 0 ? 1u : 0u);
        EXPECT_EQ(world.alerts("behind").size(), count == 64 ? 0u : 1u);
    }
    EXPECT_EQ(ZNReminderManager::earlyReminderInterval(4, 2), 1'209'600.0);
    EXPECT_EQ(ZNReminderManager::earlyReminderInterval(9, 2), 0.0);
}

}  // namespace
}  // namespace zun
