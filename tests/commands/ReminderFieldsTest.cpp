#include "commands/ReminderFields.h"

#include <gtest/gtest.h>

#include "support/TestEnvironment.h"

namespace zun {
namespace {

const NSTimeZone& berlin() {
    return *NSTimeZone::named("Europe/Berlin");
}
const TestEnvironment environment;

// Applies the options to the reminder; the error's sentence, or nothing.
std::string apply(const ReminderOptions& options, ZNReminderObject& reminder,
                  RequiresDate requiresDate = RequiresDate::No) {
    const auto read = readFields(options, berlin(), requiresDate);
    if (const auto* error = std::get_if<OptionError>(&read)) return (error->isUsage ? "usage: " : "") + error->message;
    const auto error = applyFields(std::get<ReminderFields>(read), reminder);
    return error ? (error->isUsage ? "usage: " : "") + error->message : "";
}

TEST(ReminderFields, SetsTheThreeDatesAsTheEditorDoes) {
    ZNReminderObject reminder;
    EXPECT_EQ(apply({.title = "a", .date = "2026-02-01T09:00", .early = "1d"}, reminder), "");
    EXPECT_EQ(reminder.start_date(), environment.date("2026-02-01T08:00:00Z"));
    EXPECT_EQ(reminder.due_date(), reminder.start_date());
    EXPECT_EQ(reminder.fire_date(), environment.date("2026-01-31T08:00:00Z"));
    EXPECT_EQ(reminder.earlyReminderType(), 3u);
}

TEST(ReminderFields, ReadsRepeats) {
    struct Case {
        ReminderOptions options;
        std::uint64_t type, interval;
        std::optional<DayOrdinals> ordinals;
    };
    const Case cases[] = {
        {{.date = "2026-02-01", .repeat = "Daily"}, 1, 0, {}},
        {{.date = "2026-02-01", .repeat = "monthly", .every = "2"}, 3, 2, {}},
        {{.date = "2026-02-01", .on = "wed,Mon,wednesday"}, 2, 1, DayOrdinals{4, 2}},
        {{.date = "2026-02-01", .repeat = "yearly", .every = "3", .on = "sun"}, 2, 3, DayOrdinals{1}},
        {{.date = "2026-02-01", .repeat = "none"}, 0, 0, {}},
    };
    for (const auto& each : cases) {
        ZNReminderObject reminder;
        EXPECT_EQ(apply(each.options, reminder), "");
        EXPECT_EQ(reminder.repeat_type(), each.type);
        EXPECT_EQ(reminder.customRepeatInterval(), each.interval);
        EXPECT_EQ(reminder.customRepeatDayOrdinals(), each.ordinals);
    }
}

TEST(ReminderFields, TellsWrongUsageFromWhatCannotBe) {
    const std::pair<ReminderOptions, bool> cases[] = {
        {{.date = "yesterday"}, false},
        {{.date = "2026-02-30"}, false},
        {{.title = " \n"}, false},
        {{.date = "2026-02-01", .repeat = "daily", .every = "0"}, true},
        {{.date = "2026-02-01", .repeat = "daily", .every = "1000"}, true},
        {{.date = "2026-02-01", .repeat = "daily", .every = "-1"}, true},
        {{.date = "2026-02-01", .on = "mon,,wed"}, true},
        {{.date = "2026-02-01", .early = "10"}, true},
        {{.date = "2026-02-01", .early = "m"}, true},
        {{.date = "2026-02-01", .repeat = "daily", .until = "2026-01-31"}, false},
        {{.repeat = "daily"}, false},
        {{.early = "10m"}, false},
        {{.every = "2"}, false},
        {{.date = "2026-02-01", .every = "2"}, false},
        {{.date = "2026-02-01", .until = "2026-03-01"}, false},
        {{.date = "2026-02-01", .repeat = "hourly"}, true},
        {{.date = "2026-02-01", .repeat = "none", .every = "2"}, true},
        {{.notes = "a", .noNotes = true}, true},
        {{.date = "2026-02-01", .noDate = true}, true},
    };
    for (const auto& [options, isUsage] : cases) {
        ZNReminderObject reminder;
        const auto before = reminder.attributes();
        const auto sentence = apply(options, reminder);
        EXPECT_FALSE(sentence.empty());
        EXPECT_EQ(sentence.starts_with("usage: "), isUsage) << sentence;
        EXPECT_EQ(reminder.attributes(), before);
    }
    ZNReminderObject fresh;
    for (const auto& options : {ReminderOptions{.early = "10m"}, ReminderOptions{.date = "2026-02-01", .every = "2"},
                                ReminderOptions{.date = "2026-02-01", .until = "2026-03-01"}}) {
        EXPECT_TRUE(apply(options, fresh, RequiresDate::Yes).starts_with("usage: "));
    }
}

TEST(ReminderFields, WeekdaysKeepTheIntervalAndAnotherRepeatDoesNot) {
    ZNReminderObject reminder;
    ASSERT_EQ(apply({.date = "2026-02-01T09:00", .repeat = "monthly", .every = "3"}, reminder), "");
    EXPECT_EQ(apply({.on = "mon"}, reminder), "");
    EXPECT_EQ(reminder.repeat_type(), RepeatType::weekly);
    EXPECT_EQ(reminder.customRepeatInterval(), 3u);
    EXPECT_EQ(apply({.on = "tue,wed"}, reminder), "");
    EXPECT_EQ(reminder.customRepeatInterval(), 3u);
    EXPECT_EQ(reminder.customRepeatDayOrdinals(), (DayOrdinals{3, 4}));
    EXPECT_EQ(apply({.repeat = "daily"}, reminder), "");
    EXPECT_EQ(reminder.customRepeatInterval(), 0u);
    EXPECT_FALSE(reminder.customRepeatDayOrdinals());
}

TEST(ReminderFields, AnEditDoesNotMindWhatItLeavesAlone) {
    ReminderAttributes attributes;
    attributes.start_date = attributes.due_date = environment.date("2026-02-01T00:00:00Z");
    attributes.end_date = environment.date("2026-01-01T00:00:00Z");
    ZNReminderObject endsTooSoon(attributes);
    EXPECT_EQ(apply({.title = "b", .nag = true}, endsTooSoon), "");
    EXPECT_EQ(endsTooSoon.title(), "b");

    ZNReminderObject early;
    EXPECT_EQ(apply({.date = "0001-01-02T00:00:00Z", .early = "999w"}, early), "");
    EXPECT_EQ(early.fire_date(), environment.date("0001-01-01T00:00:00Z"));
    EXPECT_FALSE(early.onGetIsSnoozed());
}

TEST(ReminderFields, ChangesTheNamedFieldsOnly) {
    ZNReminderObject reminder;
    ASSERT_EQ(
        apply({.title = "a", .notes = "n", .date = "2026-02-01T09:00", .on = "mon", .until = "2026-03-01", .nag = true},
              reminder),
        "");
    const auto end = reminder.end_date();
    EXPECT_EQ(end, environment.date("2026-03-01T22:59:59Z"));
    const auto snoozed = environment.date("2026-02-05T00:00:00Z");
    reminder.onSetFireDate(snoozed);

    EXPECT_EQ(apply({.title = "b", .every = "2", .quiet = true}, reminder), "");
    EXPECT_EQ(reminder.fire_date(), snoozed);
    EXPECT_EQ(reminder.customRepeatDayOrdinals(), DayOrdinals{2});
    EXPECT_EQ(reminder.customRepeatInterval(), 2u);
    EXPECT_TRUE(reminder.naggingNotifications());
    EXPECT_TRUE(reminder.shouldSuppressNotifications());
    EXPECT_EQ(reminder.notes(), "n");
    EXPECT_EQ(reminder.end_date(), end);

    EXPECT_EQ(apply({.early = "2h"}, reminder), "");
    EXPECT_EQ(reminder.fire_date(), environment.date("2026-02-01T06:00:00Z"));

    EXPECT_EQ(apply({.noNag = true, .alerts = true, .noNotes = true, .noDate = true}, reminder), "");
    ReminderAttributes bare;
    bare.title = "b";
    EXPECT_EQ(reminder.attributes(), bare);
}

TEST(ReminderFields, ADateTakesThePlaceOfAPlace) {
    ZNReminderObject reminder;
    reminder.setLocationLatitude(52.5);
    reminder.setLocationLongitude(13.4);
    reminder.setLocationName("Home");
    reminder.setRepeat_type(RepeatType::atLocation);
    EXPECT_EQ(apply({.noDate = true}, reminder), "");
    EXPECT_EQ(reminder.repeat_type(), RepeatType::atLocation);
    EXPECT_EQ(apply({.date = "2026-02-01"}, reminder), "");
    EXPECT_FALSE(reminder.isLocationBased());
    EXPECT_FALSE(reminder.locationName());
    EXPECT_EQ(reminder.repeat_type(), RepeatType::none);
}

}  // namespace
}  // namespace zun
