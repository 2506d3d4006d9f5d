#include "calendar/MonthGrid.h"

#include <gtest/gtest.h>

#include "core/DayIndex.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

NSCalendar calendarOf(TestEnvironment& environment, const char* locale, const char* zone = "UTC") {
    environment.setTimeZone(zone);
    environment.setLocale({locale, {"en"}});
    return NSCalendar::current(environment);
}

// The numbers of a row, those of other months in brackets.
std::string rowOf(const MonthGrid& grid, int row) {
    std::string text;
    for (int column = 0; column < MonthGrid::columns; ++column) {
        const auto& day = grid.day(row, column);
        const auto number = std::to_string(day.number);
        text += (column > 0 ? " " : "") + (day.month == MonthGrid::Month::Current ? number : "(" + number + ")");
    }
    return text;
}

TEST(MonthGrid, CountsDaysByItsOwnRule) {
    TestEnvironment environment;
    const struct {
        const char *locale, *month, *first, *fifth, *last;
    } cases[] = {
        // Sunday first: the day beside the first is one short of the month before.
        {"en_US", "2026-01-14T12:00:00Z", "(27) (28) (29) (30) 1 2 3", "25 26 27 28 29 30 31",
         "(1) (2) (3) (4) (5) (6) (7)"},
        // Starts in the first column: nothing of the month before.
        {"en_US", "2026-03-01T00:00:00Z", "1 2 3 4 5 6 7", "29 30 31 (1) (2) (3) (4)", "(5) (6) (7) (8) (9) (10) (11)"},
        {"de_DE", "2026-06-30T23:59:59Z", "1 2 3 4 5 6 7", "29 30 (1) (2) (3) (4) (5)",
         "(6) (7) (8) (9) (10) (11) (12)"},
        // 31 days from the last column on fill six rows.
        {"en_US", "2026-08-01T00:00:00Z", "(25) (26) (27) (28) (29) (30) 1", "23 24 25 26 27 28 29",
         "30 31 (1) (2) (3) (4) (5)"},
        // After a February of a leap year.
        {"de_DE", "2024-03-05T00:00:00Z", "(25) (26) (27) (28) 1 2 3", "25 26 27 28 29 30 31",
         "(1) (2) (3) (4) (5) (6) (7)"},
        // Saturday first.
        {"ar_EG", "2026-01-14T12:00:00Z", "(26) (27) (28) (29) (30) 1 2", "24 25 26 27 28 29 30",
         "31 (1) (2) (3) (4) (5) (6)"},
    };
    for (const auto& c : cases) {
        const auto calendar = calendarOf(environment, c.locale);
        const MonthGrid grid(calendar, environment.date(c.month));
        EXPECT_EQ(rowOf(grid, 0), c.first) << c.month << " " << c.locale;
        EXPECT_EQ(rowOf(grid, 4), c.fifth) << c.month << " " << c.locale;
        EXPECT_EQ(rowOf(grid, 5), c.last) << c.month << " " << c.locale;
    }
}

TEST(MonthGrid, GivesDaysOfTheNeighbouringYearsAndTheirStarts) {
    TestEnvironment environment;
    // Clocks go forward at midnight there, on the first Sunday of September.
    const auto calendar = calendarOf(environment, "en_US", "America/Santiago");
    const auto at = [&](const char* text) { return environment.date(text); };
    const MonthGrid january(calendar, at("2026-01-14T12:00:00"));
    EXPECT_EQ(january.day(0, 0).date, at("2025-12-27T00:00:00"));
    const MonthGrid december(calendar, at("2026-12-14T12:00:00"));
    EXPECT_EQ(december.day(5, 6).date, at("2027-01-09T00:00:00"));
    const MonthGrid september(calendar, at("2026-09-14T12:00:00"));
    EXPECT_EQ(september.day(1, 0).number, 6);
    EXPECT_EQ(september.day(1, 0).date, at("2026-09-06T01:00:00")) << "the day begins when the gap ends";
}

TEST(MonthGrid, StepsByMonthNumbers) {
    TestEnvironment environment;
    const auto calendar = calendarOf(environment, "en_US", "Europe/Berlin");
    const struct {
        const char* from;
        int months;
        const char* to;
    } steps[] = {
        {"2026-12-14T15:00:00", 1, "2027-01-14T00:00:00"}, {"2026-01-14T15:00:00", -1, "2025-12-14T00:00:00"},
        {"2026-01-31T15:00:00", 1, "2026-02-28T00:00:00"}, {"2024-03-31T15:00:00", -1, "2024-02-29T00:00:00"},
        {"2026-05-31T15:00:00", 1, "2026-06-30T00:00:00"}, {"2026-02-28T15:00:00", 1, "2026-03-28T00:00:00"},
    };
    for (const auto& c : steps)
        EXPECT_EQ(MonthGrid::stepMonth(calendar, environment.date(c.from), c.months), environment.date(c.to)) << c.from;

    const struct {
        const char *shown, *clicked;
        int step;
    } clicks[] = {
        {"2026-03-01T00:00:00", "2026-04-02T00:00:00", 1},
        {"2026-03-01T00:00:00", "2026-02-27T00:00:00", -1},
        {"2026-03-01T00:00:00", "2026-03-31T00:00:00", 0},
        // Only the number of the month counts.
        {"2026-12-01T00:00:00", "2027-01-03T00:00:00", -1},
        {"2026-01-01T00:00:00", "2025-12-29T00:00:00", 1},
    };
    for (const auto& c : clicks)
        EXPECT_EQ(MonthGrid::stepForClick(calendar, environment.date(c.clicked), environment.date(c.shown)), c.step)
            << c.clicked;
}

TEST(DayIndex, FindsTheDaysOfTheZoneInReverseOrder) {
    TestEnvironment environment;
    environment.setTimeZone("America/New_York");
    ListedReminders::Builder builder;
    const auto add = [&](const char* id, OptionalDate fires, bool hasStartDate) {
        builder.add({.reminderID = id,
                     .title = "",
                     .foldedTitle = "",
                     .fire_date = fires,
                     .completed_date = {},
                     .hasStartDate = hasStartDate});
    };
    add("evening", environment.date("2026-03-08T23:30:00"), true);  // the next day in UTC
    add("morning", environment.date("2026-03-08T03:30:00"), true);  // the day on which clocks go forward
    add("no start", environment.date("2026-03-08T12:00:00"), false);
    add("no date", {}, true);
    add("long ago", environment.date("1911-11-18T12:00:00"), true);
    const std::vector<std::uint32_t> order{0, 1, 2, 3, 4};
    const DayIndex index(std::make_shared<const ListedReminders>(builder.build(order)), environment.timeZone());
    const auto on = [&](const char* day) {
        std::string ids;
        for (const auto number : index.remindersOnDay(index.dayOf(environment.date(day))))
            ids += std::string(index.reminderID(number)) + ";";
        return ids;
    };
    EXPECT_EQ(on("2026-03-08T00:00:00"), "morning;evening;");
    EXPECT_EQ(on("2026-03-09T00:00:00"), "");
    EXPECT_EQ(on("1911-11-18T23:59:59"), "long ago;");
    EXPECT_TRUE(DayIndex().remindersOnDay(0).empty());
}

}  // namespace
}  // namespace zun
