#include <gtest/gtest.h>
#include <unicode/gregocal.h>

#include <random>

#include "platform/foundation/CivilDate.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

using enum NSCalendarUnit;
using std::chrono::days;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;
using Options = NSCalendarOptions;

NSCalendar calendarIn(const char* zone, const char* locale = "en_US") {
    return NSCalendar(NSTimeZone::named(zone), locale);
}

NSDate dateIn(const NSCalendar& calendar, std::string_view text) {
    return dateFromISO8601(text, calendar.timeZone()).value();
}

std::string wall(const NSCalendar& calendar, OptionalDate date) {
    if (!date) return "none";
    auto text = iso8601FromDate(NSDate{calendar.timeZone().localTime(*date).time_since_epoch()});
    text.pop_back();
    return text;
}

TEST(TimeCalendar, AdditionIsInWallClockTime) {
    struct Case {
        const char* zone;
        const char* date;
        NSCalendarUnit unit;
        int value;
        const char* expected;  // in UTC
    };
    for (const auto& c : {
             Case{"Europe/Berlin", "2026-03-28T02:30", Day, 1, "2026-03-29T01:30:00Z"},
             Case{"Europe/Berlin", "2026-03-28T12:00", Day, 1, "2026-03-29T10:00:00Z"},
             Case{"Europe/Berlin", "2026-10-24T02:30:00.5", Day, 1, "2026-10-25T00:30:00.5Z"},
             Case{"Europe/Berlin", "2026-10-25T02:30:00+01:00", Day, 0, "2026-10-25T01:30:00Z"},
             Case{"Europe/Berlin", "2026-10-25T02:30:00+01:00", Day, 1, "2026-10-26T01:30:00Z"},
             Case{"Europe/Berlin", "2026-10-26T02:30", Day, -1, "2026-10-25T00:30:00Z"},
             Case{"Europe/Berlin", "2026-10-25T02:30", Hour, 1, "2026-10-25T01:30:00Z"},
             Case{"Pacific/Apia", "2011-12-29T09:00", Day, 1, "2011-12-30T19:00:00Z"},
             Case{"Antarctica/Troll", "2026-03-28T01:30", Day, 1, "2026-03-29T01:30:00Z"},
             Case{"UTC", "2026-01-31T09:00", Month, 1, "2026-02-28T09:00:00Z"},
             Case{"UTC", "2024-02-29T09:00", Year, 1, "2025-02-28T09:00:00Z"},
             Case{"UTC", "0001-03-15T09:00", Year, -1, "+000000-03-15T09:00:00Z"},
             Case{"UTC", "1582-10-04T09:00", Day, 1, "1582-10-05T09:00:00Z"},
             Case{"UTC", "2026-01-01T09:00", WeekOfYear, 53, "2027-01-07T09:00:00Z"},
         }) {
        const auto calendar = calendarIn(c.zone);
        EXPECT_EQ(iso8601FromDate(calendar.dateByAddingUnit(c.unit, c.value, dateIn(calendar, c.date))), c.expected)
            << c.zone << ' ' << c.date << ' ' << c.value;
    }
    const auto calendar = calendarIn("Europe/Berlin");
    for (const auto unit : {Year, Month, WeekOfYear, Day, Hour, Minute, Second}) {
        for (const auto date : {NSDate::min(), NSDate{}, NSDate::max()}) {
            EXPECT_GE(calendar.dateByAddingUnit(unit, std::numeric_limits<int>::max(), date), date);
            EXPECT_LE(calendar.dateByAddingUnit(unit, std::numeric_limits<int>::min(), date), date);
        }
    }
}

// ICU with its own zone treats gaps the same way and, stepping forward, folds too; its rules for these zones are
// current.
TEST(TimeCalendar, StepsAgreeWithICUsOwnZones) {
    struct Field {
        NSCalendarUnit unit;
        UCalendarDateFields field;
    };
    for (const char* name : {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Asia/Kolkata"}) {
        const auto calendar = calendarIn(name);
        UErrorCode status = U_ZERO_ERROR;
        icu::GregorianCalendar icuCalendar(icu::TimeZone::createTimeZone(name), status);
        icuCalendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
        icuCalendar.setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
        std::mt19937_64 random(5);
        std::uniform_int_distribution<std::int64_t> any(0, 2'145'916'800);
        for (int i = 0; i < 4'000; ++i) {
            auto date = NSDate{seconds{any(random)}};
            const auto change = calendar.timeZone().spanAt(date).end;
            if (i % 2 == 0 && change < NSDate{seconds{2'145'916'800}}) {
                date = change + minutes{any(random) % 240 - 120} - days{any(random) % 3 * 7};
            }
            for (const auto& [unit, field] : {Field{Day, UCAL_DAY_OF_MONTH}, Field{WeekOfYear, UCAL_WEEK_OF_YEAR},
                                              Field{Month, UCAL_MONTH}, Field{Year, UCAL_YEAR}}) {
                icuCalendar.setTime(static_cast<UDate>(date.time_since_epoch() / milliseconds{1}), status);
                icuCalendar.add(field, 1, status);
                const auto expected = NSDate{milliseconds{static_cast<std::int64_t>(icuCalendar.getTime(status))}};
                ASSERT_EQ(iso8601FromDate(calendar.dateByAddingUnit(unit, 1, date)), iso8601FromDate(expected))
                    << name << ' ' << iso8601FromDate(date) << ' ' << field;
            }
        }
        ASSERT_TRUE(U_SUCCESS(status));
    }
}

TEST(TimeCalendar, ComponentsGoThereAndBack) {
    const auto calendar = calendarIn("America/New_York", "de_DE");
    for (const char* text : {"0001-01-01T00:00:00", "1582-10-10T23:59:59", "1999-12-31T12:34:56", "2024-02-29T00:00:01",
                             "9999-12-31T23:59:59"}) {
        const auto date = dateIn(calendar, text);
        const auto components = calendar.components(date);
        EXPECT_EQ(calendar.dateFromComponents(components), date) << text;
        EXPECT_EQ(calendar.dateFromComponents({.weekOfYear = components.weekOfYear,
                                               .yearForWeekOfYear = components.yearForWeekOfYear,
                                               .hour = components.hour,
                                               .minute = components.minute,
                                               .second = components.second,
                                               .weekday = components.weekday}),
                  date)
            << text;
    }
    const auto ofOldDate = calendar.components(dateIn(calendar, "0001-01-01") - days{1});
    EXPECT_EQ(ofOldDate.era, 0);
    EXPECT_EQ(ofOldDate.year, 1);
    EXPECT_EQ(calendar.dateFromComponents({.era = 0, .year = 1, .month = 12, .day = 31}),
              dateIn(calendar, "0001-01-01") - days{1});

    // Week 1 is the one with 4 January in Germany and the one with 1 January in America.
    const auto newYear = dateIn(calendar, "2027-01-01T12:00");
    EXPECT_EQ(calendar.components(newYear).weekOfYear, 53);
    EXPECT_EQ(calendar.components(newYear).yearForWeekOfYear, 2026);
    EXPECT_EQ(calendarIn("America/New_York").components(newYear).weekOfYear, 1);

    for (std::int64_t day = -800'000; day < 3'000'000; day += 37) {
        const std::chrono::year_month_day expected{std::chrono::sys_days{days{day}}};
        const auto civil = civilDate(day);
        ASSERT_EQ(civil, (CivilDate{int{expected.year()}, static_cast<int>(unsigned{expected.month()}),
                                    static_cast<int>(unsigned{expected.day()})}));
        ASSERT_EQ(dayNumber(civil), day);
        ASSERT_EQ(weekdayOfDay(day),
                  static_cast<int>(std::chrono::weekday{std::chrono::sys_days{days{day}}}.c_encoding()) + 1);
    }
}

TEST(TimeCalendar, SearchFindsTheFirstMatchStrictlyAfter) {
    struct Case {
        const char* zone;
        const char* after;
        NSDateComponents matching;
        Options options;
        const char* expected;
    };
    const auto previous = Options::MatchPreviousTimePreservingSmallerUnits;
    const auto next = Options::MatchNextTimePreservingSmallerUnits;
    for (const auto& c : {
             Case{"Europe/Berlin", "2026-01-07T09:00", {.hour = 9, .weekday = 4}, previous, "2026-01-14T09:00:00"},
             Case{"Europe/Berlin", "2026-01-07T08:59:59.9", {.hour = 9, .weekday = 4}, previous, "2026-01-07T09:00:00"},
             Case{"Europe/Berlin", "2026-01-07T16:00", {.hour = 9, .minute = 5}, previous, "2026-01-08T09:05:00"},
             Case{"Europe/Berlin", "2026-03-28T12:00", {.hour = 2, .minute = 30}, previous, "2026-03-29T01:30:00"},
             Case{"Europe/Berlin", "2026-03-29T01:30", {.hour = 2, .minute = 30}, previous, "2026-03-30T02:30:00"},
             Case{"Europe/Berlin", "2026-03-28T12:00", {.hour = 2, .minute = 30}, next, "2026-03-29T03:30:00"},
             Case{"Europe/Berlin",
                  "2026-03-28T12:00",
                  {.hour = 2, .minute = 30},
                  Options::MatchNextTime,
                  "2026-03-29T03:00:00"},
             Case{"America/Sao_Paulo",
                  "2018-11-03T12:00",
                  {.hour = 0, .minute = 30, .weekday = 1},
                  previous,
                  "2018-11-03T23:30:00"},
             Case{"America/Sao_Paulo",
                  "2018-11-04T01:10",
                  {.hour = 0, .minute = 30, .weekday = 1},
                  next,
                  "2018-11-04T01:30:00"},
             Case{"Pacific/Apia", "2011-12-28T12:00", {.hour = 9, .weekday = 6}, previous, "2011-12-29T09:00:00"},
         }) {
        const auto calendar = calendarIn(c.zone);
        EXPECT_EQ(wall(calendar, calendar.nextDateAfterDate(dateIn(calendar, c.after), c.matching, c.options)),
                  c.expected)
            << c.zone << ' ' << c.after;
    }
    const auto calendar = calendarIn("America/Sao_Paulo");
    const auto afternoon = dateIn(calendar, "2018-11-04T15:00");
    EXPECT_EQ(wall(calendar, calendar.startOfDayForDate(afternoon)), "2018-11-04T01:00:00") << "midnight was skipped";
    EXPECT_EQ(wall(calendar, calendar.dateBySettingHour(0, 30, 0, afternoon)), "2018-11-04T01:30:00");
    EXPECT_EQ(calendar.nextDateAfterDate(NSDate::max(), {.hour = 9}, next), NSDate::max());
    EXPECT_LE(calendar.startOfDayForDate(NSDate::min()), NSDate::min() + days{2});
}

TEST(TimeCalendar, WeeksAndWeekendsFollowTheLocale) {
    struct Case {
        const char* locale;
        int firstWeekday;
        const char* weekend;
    };
    for (const auto& [locale, firstWeekday, weekend] :
         {Case{"en_US", 1, "2026-01-10T00:00:00"}, Case{"de_DE", 2, "2026-01-10T00:00:00"},
          Case{"fa_IR", 7, "2026-01-09T00:00:00"}, Case{"ar_EG", 7, "2026-01-09T00:00:00"},
          Case{"hi_IN", 1, "2026-01-11T00:00:00"}, Case{"th_TH", 1, "2026-01-10T00:00:00"},
          Case{"nonsense_locale_that_does_not_exist", 2, "2026-01-10T00:00:00"}}) {
        const auto calendar = calendarIn("Europe/Berlin", locale);
        EXPECT_EQ(calendar.firstWeekday(), firstWeekday) << locale;
        EXPECT_EQ(wall(calendar, calendar.nextWeekendStartDateAfterDate(dateIn(calendar, "2026-01-07T12:00"))), weekend)
            << locale;
        EXPECT_EQ(calendar.components(dateIn(calendar, "2026-01-07T12:00")).year, 2026) << locale;
    }
    auto calendar = calendarIn("Europe/Berlin");
    const auto saturday = dateIn(calendar, "2026-01-10T00:00");
    EXPECT_EQ(wall(calendar, calendar.nextWeekendStartDateAfterDate(saturday)), "2026-01-17T00:00:00");
    const auto sunday = dateIn(calendar, "2026-01-11T00:00");
    EXPECT_FALSE(calendar.isDate(saturday, sunday, WeekOfYear));
    calendar.setFirstWeekday(2);
    EXPECT_TRUE(calendar.isDate(saturday, sunday, WeekOfYear));
    EXPECT_FALSE(calendar.isDate(saturday, sunday, Day));
    EXPECT_TRUE(calendar.isDate(saturday, sunday, Month));
    EXPECT_FALSE(calendar.isDate(dateIn(calendar, "2025-01-11"), sunday, Month));
}

TEST(TimeCalendar, DifferencesAreWholeUnits) {
    struct Case {
        const char* from;
        const char* to;
        NSCalendarUnit unit;
        long expected;
    };
    const auto calendar = calendarIn("Europe/Berlin");
    for (const auto& c : {
             Case{"2026-03-28T12:00", "2026-03-29T12:00", Day, 1},
             Case{"2026-03-28T12:00", "2026-03-29T11:59", Day, 0},
             Case{"2026-03-28T12:00", "2026-03-29T12:00", Hour, 23},
             Case{"2026-01-31T12:00", "2026-02-28T12:00", Month, 1},
             Case{"2026-02-28T12:00", "2026-01-31T12:00", Month, 0},
             Case{"2026-02-28T12:00", "2026-01-28T12:00", Month, -1},
             Case{"2024-02-29T12:00", "2025-02-28T12:00", Year, 1},
             Case{"2026-01-10T12:00", "2026-01-03T12:00", WeekOfYear, -1},
             Case{"2026-01-10T12:00", "2026-01-03T12:01", WeekOfYear, 0},
             Case{"0001-01-01", "9999-12-31", Year, 9998},
             Case{"2026-01-01T00:00", "2026-01-01T00:01:59", Minute, 1},
             Case{"2026-01-01", "2026-01-01T00:00:59.9", Second, 59},
         }) {
        EXPECT_EQ(calendar.difference(c.unit, dateIn(calendar, c.from), dateIn(calendar, c.to)), c.expected)
            << c.from << ' ' << c.to;
    }
    const auto from = dateIn(calendar, "2026-03-27T12:00");
    const auto onward = calendar.daysAndHours(from, dateIn(calendar, "2026-03-29T15:30"));
    EXPECT_EQ(onward.days, 2);
    EXPECT_EQ(onward.hours, 3);
    const auto back = calendar.daysAndHours(dateIn(calendar, "2026-03-29T15:30"), from);
    EXPECT_EQ(back.days, -2);
    EXPECT_EQ(back.hours, -3);
}

}  // namespace
}  // namespace zun
