#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "core/ManagerWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;

TEST(Snoozing, MovesTheFireDateByTheSetting) {
    struct Case {
        const char* name;
        std::uint64_t setting;
        const char* due;   // empty for an open-ended reminder
        const char* date;  // empty where the setting decides
        const char* expected;
    };
    const Case cases[] = {
        {"next day, due later today: not this afternoon", 0, "2026-01-14T16:30:20", "", "2026-01-15T16:30:00"},
        {"next day, due earlier today", 0, "2026-01-14T09:00", "", "2026-01-15T09:00"},
        {"next day, overdue for days", 0, "2026-01-10T09:00", "", "2026-01-15T09:00"},
        {"next day, no date: the morning hour", 0, "", "", "2026-01-15T07:00"},
        {"one hour", 1, "2026-01-14T09:00", "", "2026-01-14T11:00"},
        {"fifteen minutes", 2, "2026-01-14T09:00", "", "2026-01-14T10:15"},
        {"a chosen date", 0, "2026-01-14T09:00", "2026-03-01T12:34:56.789Z", "2026-03-01T12:34:56.789Z"},
        {"a chosen date against the setting", 2, "2026-01-14T09:00", "2026-03-01T12:00", "2026-03-01T12:00"},
        {"a setting of another program", 9, "2026-01-14T09:00", "2026-03-01T12:00", ""},
    };
    for (const auto& tested : cases) {
        SCOPED_TRACE(tested.name);
        ManagerWorld world;
        world.settings.setSnoozeType(tested.setting);
        world.settings.setMorningHour(7);
        auto attributes = world.dated("s", *tested.due ? tested.due : "2026-01-01T00:00");
        if (!*tested.due) attributes.start_date = attributes.due_date = attributes.fire_date = std::nullopt;
        attributes.rank = 4;
        attributes.snoozeCount = 3;
        const auto reminder = world.store(attributes);
        const auto date = *tested.date ? OptionalDate(world.at(tested.date)) : std::nullopt;
        EXPECT_TRUE(world.manager.snoozeReminder(reminder, date));
        world.settle();

        auto expected = attributes;
        expected.rank = 0;
        expected.fire_date = *tested.expected ? OptionalDate(world.at(tested.expected)) : std::nullopt;
        expected.modified_date = world.environment.now();
        EXPECT_EQ(world.stored("s")->attributes(), expected);
        EXPECT_EQ(world.stored("s")->onGetIsSnoozed(), *tested.expected != '\0');
        // Without a date of its own it comes back to the cards in silence.
        EXPECT_EQ(world.alerts("s").size(), *tested.due && *tested.expected ? 1u : 0u);
    }
}

TEST(Snoozing, LeavesTheDatesOfAReminderAtAPlace) {
    ManagerWorld world;
    auto attributes = world.dated("s", "2026-01-13T09:00");
    attributes.locationLatitude = attributes.locationLongitude = 1;
    attributes.rank = 4;
    world.store(attributes);
    EXPECT_TRUE(world.manager.snoozeReminder(world.stored("s"), world.at("2026-05-05T05:05")));
    world.settle();
    EXPECT_EQ(world.stored("s")->fire_date(), world.at("2026-01-13T09:00"));
    EXPECT_EQ(world.stored("s")->rank(), 0);
}

TEST(Snoozing, IsUndoneToTheDueDateOrTheStart) {
    ManagerWorld world;
    auto series = world.dated("series", "2026-01-01T09:00");
    series.repeat_type = RepeatType::daily;
    series.due_date = world.at("2026-01-14T09:00");
    series.fire_date = world.at("2026-01-14T08:50");
    series.earlyReminderType = 1;
    series.earlyReminderInterval = 10;
    auto single = world.dated("single", "2026-01-14T09:00");
    auto open = world.dated("open", "2026-01-14T09:00");
    open.start_date = open.due_date = open.fire_date = std::nullopt;
    for (const auto& attributes : {series, single, open}) {
        const auto reminder = world.store(attributes);
        world.manager.snoozeReminder(reminder);
        EXPECT_TRUE(reminder->onGetIsSnoozed());
        EXPECT_EQ(reminder->snoozeCount(), 0u);
        world.manager.undoSnoozeForReminder(reminder);
        EXPECT_EQ(reminder->snoozeCount(), 0u);
    }
    world.settle();
    EXPECT_EQ(world.stored("series")->fire_date(), world.at("2026-01-14T09:00")) << "not ten minutes before";
    EXPECT_EQ(world.stored("single")->fire_date(), world.at("2026-01-14T09:00"));
    EXPECT_EQ(world.stored("open")->fire_date(), std::nullopt);
    for (const auto* id : {"series", "single", "open"})
        EXPECT_FALSE(world.stored(id)->onGetIsSnoozed()) << id;
}

TEST(Snoozing, CountsInTheUsersZone) {
    ManagerWorld world(1, "2026-03-28T10:00:00Z");
    world.environment.setTimeZone("Europe/Berlin");
    // In the night after, 02:00 to 03:00 is left out: the half hour before the gap is taken.
    EXPECT_EQ(world.manager.advanceToNextDayWithDueDate(world.at("2026-03-20T02:30")), world.at("2026-03-29T01:30"));
    EXPECT_EQ(world.manager.advanceToNextDayWithDueDate(std::nullopt), world.at("2026-03-29T08:00"));
    // Still the same day in Berlin, the next one in UTC.
    world.environment.setNow(std::string_view("2026-06-10T00:30"));
    EXPECT_EQ(world.manager.advanceToNextDayWithDueDate(world.at("2026-06-01T01:00")), world.at("2026-06-11T01:00"));

    world.environment.setNow(std::string_view("2026-03-25T10:00"));
    EXPECT_EQ(world.manager.advanceToNextWeekWithDueDate(world.at("2026-01-01T15:20:40")),
              world.at("2026-04-01T15:20:00"));
    EXPECT_EQ(world.manager.advanceToNextWeekWithDueDate(std::nullopt), world.at("2026-04-01T00:00"));
}

}  // namespace
}  // namespace zun
