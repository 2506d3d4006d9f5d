#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "core/ManagerWorld.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Now is Wednesday 14 January 2026, 10:00, in UTC.
class Completing : public testing::TestWithParam<int> {
  protected:
    Completing() : world(static_cast<std::uint64_t>(GetParam())) {}

    ReminderAttributes series(std::string_view start, std::uint64_t type, std::string_view due) const {
        auto attributes = world.dated("s", start);
        attributes.repeat_type = type;
        attributes.due_date = attributes.fire_date = world.at(due);
        return attributes;
    }
    // Completes what is stored under "s" and gives what the block got.
    ReminderPtr complete() {
        ReminderPtr completed;
        world.manager.completeReminder(world.stored("s"), [&](const ReminderPtr& reminder) { completed = reminder; });
        EXPECT_NE(completed, nullptr) << "the block runs before the call returns";
        world.settle();
        return completed;
    }
    void undo(const std::string& completedID) {
        world.manager.undoCompletionForReminder(world.stored(completedID));
        world.settle();
    }

    ManagerWorld world;
};

const std::string copyID = "s+2026-01-14T10:00:00.000Z";

TEST_P(Completing, AOneOffReminderCompletesInPlaceAndComesBackAsItWas) {
    auto attributes = world.dated("s", "2026-01-13T09:00");
    attributes.fire_date = world.at("2026-01-13T08:50");
    attributes.rank = 7;
    world.store(attributes);
    const auto completed = complete();
    EXPECT_THAT(world.storedIDs(), ElementsAre("s"));
    EXPECT_EQ(completed->reminderID(), "s");
    EXPECT_EQ(world.stored("s")->completed_date(), world.environment.now());
    EXPECT_EQ(world.stored("s")->rank(), 0);

    undo("s");
    auto expected = attributes;
    expected.rank = 0;
    expected.modified_date = world.environment.now();
    EXPECT_EQ(world.stored("s")->attributes(), expected);
    EXPECT_THAT(world.userNotifications.takeLines(), ElementsAre("remove s", "remove s"));
}

TEST_P(Completing, AnOpenEndedReminderComesBackWithoutDates) {
    auto attributes = world.dated("s", "2026-01-13T09:00");
    attributes.start_date = std::nullopt;
    world.store(attributes);
    complete();
    undo("s");
    EXPECT_FALSE(world.stored("s")->due_date().has_value());
    EXPECT_FALSE(world.stored("s")->fire_date().has_value());
    EXPECT_FALSE(world.stored("s")->completed_date().has_value());
}

TEST_P(Completing, ASeriesLeavesACopyAndMovesOn) {
    auto attributes = series("2026-01-05T09:00", RepeatType::daily, "2026-01-14T09:00");
    attributes.fire_date = world.at("2026-01-14T08:50");
    attributes.earlyReminderType = 1;
    attributes.earlyReminderInterval = 10;
    attributes.checklist = "[x]milk\n[ ]eggs\n[x][x]";
    attributes.rank = 3;
    attributes.didPersistToiCloud = true;
    attributes.notes = "notes";
    world.store(attributes);
    world.settings.setShouldUseCloudKit(true);
    const auto copy = complete();

    EXPECT_EQ(copy->reminderID(), copyID);
    auto expectedCopy = attributes;
    expectedCopy.reminderID = copyID;
    expectedCopy.completed_date = world.environment.now();
    expectedCopy.rank = 0;
    expectedCopy.didPersistToiCloud = false;
    EXPECT_EQ(world.stored(copyID)->attributes(), expectedCopy);

    auto expectedSeries = attributes;
    expectedSeries.due_date = world.at("2026-01-15T09:00");
    expectedSeries.fire_date = world.at("2026-01-15T08:50");
    expectedSeries.checklist = "[ ]milk\n[ ]eggs\n[ ][ ]";
    expectedSeries.rank = 0;
    expectedSeries.modified_date = world.environment.now();
    EXPECT_EQ(world.stored("s")->attributes(), expectedSeries);
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("save " + copyID + " retry", "update s retry"));
    EXPECT_THAT(world.alerts(copyID), IsEmpty());
    EXPECT_EQ(world.alerts("s").front(), "2026-01-15T08:50:00");
}

TEST_P(Completing, TwoCompletionsWithinAMillisecondAreTwo) {
    world.store(series("2026-01-05T09:00", RepeatType::daily, "2026-01-14T09:00"));
    complete();
    const auto second = complete()->reminderID().value();
    EXPECT_THAT(world.storedIDs(), UnorderedElementsAre("s", copyID, second));
    EXPECT_EQ(second, "s+2026-01-14T10:00:00.001Z");
    undo(second);
    EXPECT_THAT(world.storedIDs(), UnorderedElementsAre("s", copyID));
    EXPECT_EQ(world.stored("s")->due_date(), world.at("2026-01-15T09:00"));
}

struct NextDate {
    const char* name;
    const char* start;
    std::uint64_t type;
    std::uint64_t interval;
    DayOrdinals ordinals;
    const char* due;
    const char* fire;
    const char* end;
    const char* expected;  // empty where the series ends
};

TEST_P(Completing, TheNextDateFollowsTheRule) {
    using namespace RepeatType;
    const NextDate cases[] = {
        {"weekly, a day ahead: the one after",
         "2026-01-08T09:00",
         weekly,
         0,
         {},
         "2026-01-15T09:00",
         "",
         "",
         "2026-01-22T09:00"},
        {"daily, days late: none made up",
         "2026-01-01T09:00",
         daily,
         0,
         {},
         "2026-01-05T09:00",
         "",
         "",
         "2026-01-15T09:00"},
        {"a stored interval of 1", "2026-01-01T09:00", daily, 1, {}, "2026-01-05T09:00", "", "", "2026-01-15T09:00"},
        {"every third day", "2026-01-01T09:00", daily, 3, {}, "2026-01-13T09:00", "", "", "2026-01-16T09:00"},
        {"monthly from the 31st", "2025-12-31T09:00", monthly, 0, {}, "2026-01-31T09:00", "", "", "2026-02-28T09:00"},
        {"weekdays", "2026-01-05T09:00", weekly, 0, {2, 4, 6}, "2026-01-14T09:00", "", "", "2026-01-16T09:00"},
        {"empty ordinals are none", "2026-01-07T09:00", weekly, 0, DayOrdinals{}, "2026-01-14T09:00", "", "",
         "2026-01-21T09:00"},
        {"snoozed ahead: from now",
         "2026-01-01T09:00",
         daily,
         0,
         {},
         "2026-01-20T09:00",
         "2026-01-21T09:00",
         "",
         "2026-01-15T09:00"},
        {"exactly the end date",
         "2026-01-07T09:00",
         weekly,
         0,
         {},
         "2026-01-14T09:00",
         "",
         "2026-01-21T09:00",
         "2026-01-21T09:00"},
        {"past the end date", "2026-01-07T09:00", weekly, 0, {}, "2026-01-14T09:00", "", "2026-01-21T08:59:59", ""},
        {"ended before now", "2026-01-07T09:00", weekly, 0, {}, "2026-01-07T09:00", "", "2026-01-14T09:59:59", ""},
        {"no unit", "2026-01-07T09:00", customUnrefined, 2, {}, "2026-01-07T09:00", "", "", ""},
        {"unknown type", "2026-01-07T09:00", 77, 0, {}, "2026-01-07T09:00", "", "", ""},
    };
    const ScopedLogSink sink([](std::string_view) {});
    for (const auto& tested : cases) {
        SCOPED_TRACE(tested.name);
        auto attributes = series(tested.start, tested.type, tested.due);
        attributes.reminderID = tested.name;
        attributes.customRepeatInterval = tested.interval;
        if (!tested.ordinals.empty() || tested.name == std::string("empty ordinals are none")) {
            attributes.customRepeatDayOrdinals = tested.ordinals;
        }
        if (*tested.fire) attributes.fire_date = world.at(tested.fire);
        if (*tested.end) attributes.end_date = world.at(tested.end);
        world.manager.completeReminder(world.store(attributes));
        world.settle();
        const auto after = world.stored(tested.name);
        ASSERT_EQ(after != nullptr, *tested.expected != '\0');
        if (after) {
            EXPECT_EQ(after->due_date(), world.at(tested.expected));
            EXPECT_EQ(after->fire_date(), world.at(tested.expected));
        }
        EXPECT_NE(world.stored(std::string(tested.name) + "+2026-01-14T10:00:00.000Z"), nullptr);
    }
}

TEST_P(Completing, UndoBringsTheSeriesBackToItsOccurrence) {
    auto attributes = series("2026-01-05T09:00", RepeatType::daily, "2026-01-14T09:00");
    attributes.earlyReminderType = 1;
    attributes.earlyReminderInterval = 10;
    attributes.checklist = "[x]milk";
    world.store(attributes);
    complete();
    const auto edited = world.stored("s");
    edited->setEarlyReminderInterval(30);
    world.manager.updateReminder(edited, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
    world.settle();
    world.userNotifications.takeLines();
    world.settings.setShouldUseCloudKit(true);

    undo(copyID);
    EXPECT_THAT(world.storedIDs(), ElementsAre("s"));
    EXPECT_EQ(world.stored("s")->due_date(), world.at("2026-01-14T09:00"));
    EXPECT_EQ(world.stored("s")->fire_date(), world.at("2026-01-14T08:50"))
        << "the early reminder of the completed one";
    EXPECT_EQ(world.stored("s")->earlyReminderInterval(), 30u);
    EXPECT_EQ(world.stored("s")->checklist(), "[ ]milk") << "ticks are not restored";
    EXPECT_EQ(world.stored("s")->modified_date(), world.environment.now());
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("delete " + copyID, "update s retry"));
    EXPECT_THAT(world.userNotifications.takeLines(),
                AllOf(Contains("remove " + copyID), Contains("schedule s 2026-01-15T08:30:00Z")));
}

TEST_P(Completing, UndoOfAnEarlyCompletionGoesBackOverTheOneSteppedOver) {
    for (const auto& ordinals : {DayOrdinals(), DayOrdinals{5}}) {  // 5 is Thursday
        auto attributes = series("2026-01-08T09:00", RepeatType::weekly, "2026-01-15T09:00");
        if (!ordinals.empty()) attributes.customRepeatDayOrdinals = ordinals;
        world.store(attributes);
        complete();
        EXPECT_EQ(world.stored("s")->due_date(), world.at("2026-01-22T09:00"));
        undo(copyID);
        EXPECT_EQ(world.stored("s")->due_date(), world.at("2026-01-15T09:00"));
        world.manager.clearCoreData();
        world.settle();
    }
}

TEST_P(Completing, ASearchThatGivesNothingLeavesTheDueDate) {
    // Completed, and undone, before the weekdays of the rule begin.
    auto attributes = series("2026-02-02T09:00", RepeatType::weekly, "2026-01-10T09:00");
    attributes.customRepeatDayOrdinals = DayOrdinals{2};
    const auto reminder = world.store(attributes);
    const ScopedLogSink sink([](std::string_view) {});
    EXPECT_EQ(world.manager.findEarliestDueDateBeforeTodayWithReminder(*reminder), world.at("2026-01-10T09:00"));
    reminder->onSetStartDate(std::nullopt);
    EXPECT_EQ(world.manager.findEarliestDueDateBeforeTodayWithReminder(*reminder), std::nullopt);
}

TEST_P(Completing, ASeriesThatHasEndedIsDeletedAndUndoRestoresIt) {
    for (const auto gone : {FakeCloud::Answer::Success, FakeCloud::Answer::Error}) {
        SCOPED_TRACE(static_cast<int>(gone));
        auto attributes = series("2026-01-07T09:00", RepeatType::weekly, "2026-01-14T09:00");
        attributes.end_date = world.at("2026-01-14T09:00");
        attributes.checklist = "[x]milk";
        world.store(attributes);
        world.settings.setShouldUseCloudKit(true);
        world.cloud.setAnswer(gone);
        complete();
        // Where the cloud could not be told, the series is still there as a tombstone; for the user it is gone alike.
        EXPECT_EQ(world.stored("s") != nullptr, gone == FakeCloud::Answer::Error);
        EXPECT_EQ(ManagerWorld::ids(world.manager.fetchAllCompletedReminders()), std::vector{copyID});
        world.cloud.takeLines();
        world.userNotifications.takeLines();

        world.cloud.setAnswer(FakeCloud::Answer::None);
        undo(copyID);
        auto expected = attributes;
        expected.modified_date = world.stored("s")->modified_date();
        EXPECT_EQ(world.stored("s")->attributes(), expected);
        EXPECT_THAT(world.storedIDs(), ElementsAre("s"));
        EXPECT_THAT(world.cloud.takeLines(), ElementsAre("delete " + copyID, "save s retry"));
        EXPECT_THAT(world.userNotifications.takeLines(),
                    AllOf(Contains("remove " + copyID), Contains("schedule s 2026-01-21T09:00:00Z")));
        world.manager.clearCoreData();
        world.settle();
    }
}

TEST_P(Completing, AFailedDeleteOfTheCopyLeavesATombstoneOfTheCopyOnly) {
    auto attributes = series("2026-01-07T09:00", RepeatType::weekly, "2026-01-14T09:00");
    attributes.end_date = world.at("2026-01-14T09:00");
    world.store(attributes);
    complete();
    world.settings.setShouldUseCloudKit(true);
    world.cloud.setAnswer(FakeCloud::Answer::Error);
    undo(copyID);
    EXPECT_EQ(ManagerWorld::ids(world.manager.fetchAllRemindersToDelete()), std::vector{copyID});
    EXPECT_FALSE(world.stored("s")->shouldDeleteRemote().value_or(false));
}

TEST_P(Completing, AReminderAtAPlaceStaysArmed) {
    auto attributes = world.dated("s", "2026-01-13T09:00");
    attributes.repeat_type = RepeatType::atLocation;
    attributes.locationLatitude = 52.5;
    attributes.locationLongitude = 13.4;
    attributes.start_date = std::nullopt;
    world.store(attributes);
    complete();
    auto expected = attributes;
    expected.modified_date = world.environment.now();
    EXPECT_EQ(world.stored("s")->attributes(), expected);
    EXPECT_EQ(ManagerWorld::ids(world.manager.fetchAllCompletedReminders()), std::vector{copyID});
}

TEST_P(Completing, ARepeatWithoutADateEndsAndACompletedSeriesFromElsewhereComesBack) {
    auto attributes = world.dated("s", "2026-01-13T09:00");
    attributes.start_date = attributes.due_date = attributes.fire_date = std::nullopt;
    attributes.repeat_type = RepeatType::daily;
    world.store(attributes);
    complete();
    EXPECT_THAT(world.storedIDs(), ElementsAre(copyID));

    // A record that is completed and repeats, but is nobody's copy.
    auto elsewhere = series("2026-01-05T09:00", RepeatType::daily, "2026-01-14T09:00");
    elsewhere.completed_date = world.at("2026-01-14T09:30");
    world.store(elsewhere);
    undo("s");
    ASSERT_NE(world.stored("s"), nullptr);
    EXPECT_FALSE(world.stored("s")->completed_date().has_value());
    EXPECT_EQ(world.stored("s")->due_date(), world.at("2026-01-14T09:00"));
}

TEST_P(Completing, UndoWorksOnThePartBeforeTheFirstPlus) {
    auto attributes = series("2026-01-05T09:00", RepeatType::daily, "2026-01-14T09:00");
    world.store(attributes);
    complete();
    world.dispatch.advance(24h);
    complete();
    EXPECT_EQ(world.manager.fetchAllCompletedReminders().size(), 2u);
    undo("s+2026-01-15T10:00:00.000Z");
    EXPECT_EQ(world.stored("s")->due_date(), world.at("2026-01-15T09:00"));
    EXPECT_THAT(world.storedIDs(), UnorderedElementsAre("s", copyID));
}

TEST_P(Completing, OccurrencesObeyTheRule) {
    auto attributes = series("2026-01-05T09:00", RepeatType::weekly, "2026-01-14T09:00");
    attributes.customRepeatInterval = 2;
    attributes.customRepeatDayOrdinals = DayOrdinals{2, 4};  // Monday and Wednesday
    attributes.end_date = world.at("2026-01-21T09:00");
    const ZNReminderObject reminder(attributes);
    const auto from = world.at("2026-01-01T00:00");
    const auto to = world.at("2027-01-01T00:00");
    EXPECT_THAT(world.manager.occurrencesOfReminder(reminder, from, to, 100),
                ElementsAre(world.at("2026-01-05T09:00"), world.at("2026-01-07T09:00"), world.at("2026-01-19T09:00"),
                            world.at("2026-01-21T09:00")));
    EXPECT_THAT(world.manager.occurrencesOfReminder(reminder, from, to, 1), ElementsAre(world.at("2026-01-05T09:00")));
    EXPECT_THAT(world.manager.occurrencesOfReminder(ZNReminderObject(), from, to, 100), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Seeds, Completing, testing::Range(0, 4));

}  // namespace
}  // namespace zun
