#include "dates/DateLabels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "dates/ZNDateHelper.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using testing::ElementsAre;

// A user somewhere. Formats follow the region, texts the language.
struct User {
    explicit User(std::string_view now, const char* region = "en_US", const char* language = "en-US",
                  const char* zone = nullptr)
        : environment(now), strings({language}), labels(environment, strings), helper(environment) {
        environment.setLocale({region, {language}});
        if (zone) environment.setTimeZone(zone);
        if (zone) environment.setNow(now);
    }

    TestEnvironment environment;
    LocalizedStrings strings;
    DateLabels labels;
    ZNDateHelper helper;
};

// ICU puts narrow and ideographic blanks where the region wants them; here only the words matter.
std::string plain(std::string text) {
    for (const std::string_view blank : {"\u202f", "\u00a0"}) {
        for (auto at = text.find(blank); at != std::string::npos; at = text.find(blank))
            text.replace(at, blank.size(), " ");
    }
    return text;
}

TEST(DateFormats, FollowTheRegionAndTheTimeStandsLast) {
    struct Case {
        const char *region, *language, *zone, *withTimeAndYear, *withTime, *withYear, *bare;
    };
    const Case cases[] = {
        {"en_US", "en", "America/New_York", "Wed, Jan 14, 2026, 5:30 PM", "Wed, Jan 14, 5:30 PM", "Wed, Jan 14, 2026",
         "Wed, Jan 14"},
        {"en_GB", "en", "Europe/London", "Wed, 14 Jan 2026, 22:30", "Wed, 14 Jan, 22:30", "Wed, 14 Jan 2026",
         "Wed, 14 Jan"},
        {"de_DE", "de", "Europe/Berlin", "Mi., 14. Jan. 2026, 23:30", "Mi., 14. Jan., 23:30", "Mi., 14. Jan. 2026",
         "Mi., 14. Jan."},
        {"ja_JP", "ja", "Asia/Tokyo", "2026年1月15日(木), 7:30", "1月15日(木), 7:30", "2026年1月15日(木)",
         "1月15日(木)"},
        // Regions whose own calendar counts other years still get the Gregorian one.
        {"th_TH", "en", "Asia/Bangkok", "พฤ. 15 ม.ค. 2026, 05:30", "พฤ. 15 ม.ค., 05:30", "พฤ. 15 ม.ค. 2026",
         "พฤ. 15 ม.ค."},
    };
    for (const auto& c : cases) {
        const User user("2026-01-01T00:00:00Z", c.region, c.language, c.zone);
        const auto date = user.environment.date("2026-01-14T22:30:59.999Z");
        const auto text = [&](ShowTime time, ShowYear year) {
            return plain(user.labels.dateAsShortStringWithWeekdayDayMonthYear(date, time, year));
        };
        EXPECT_EQ(text(ShowTime::Yes, ShowYear::Yes), c.withTimeAndYear);
        EXPECT_EQ(text(ShowTime::Yes, ShowYear::No), c.withTime);
        EXPECT_EQ(text(ShowTime::No, ShowYear::Yes), c.withYear);
        EXPECT_EQ(text(ShowTime::No, ShowYear::No), c.bare);
    }
}

TEST(DateFormats, OfTheStringTable) {
    const User english("2026-01-01T00:00:00Z");
    const auto date = english.environment.date("2026-01-04T00:00:00Z");
    EXPECT_EQ(english.labels.dateAsShortStringWithWeekdayAndIntegerDayMonthYear(date), "Sun, Jan 4, 2026");
    EXPECT_EQ(english.labels.dateAsMonthAndDay(date), "January 4");
    EXPECT_EQ(english.labels.monthString(date), "January 2026");
    EXPECT_EQ(english.labels.dayString(date), "4");
    EXPECT_EQ(english.labels.weekDayMediumString(date), "Sunday");
    EXPECT_EQ(english.labels.dateAsTime(date),
              "12:00\u202f"
              "AM");
    EXPECT_THAT(english.labels.weekdayStrings(),
                ElementsAre("Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"));
    EXPECT_EQ(english.labels.formatter().standaloneWeekdaySymbols(UseShortStrings::Yes).at(1), "Mon");

    const User german("2026-01-01T00:00:00Z", "de_AT", "de-AT");
    EXPECT_EQ(german.labels.dateAsMonthAndDay(date), "4. Jänner");
    EXPECT_EQ(german.labels.formatter().standaloneWeekdaySymbols(UseShortStrings::No).at(6), "Samstag");
}

TEST(DateFormats, HoldAtTheEndsOfTime) {
    const User user("2026-01-01T00:00:00Z", "en_US", "en", "Pacific/Kiritimati");
    EXPECT_EQ(user.labels.dateAsMonthAndDay(user.environment.date("0001-01-01T12:00:00Z")), "January 1");
    EXPECT_EQ(user.labels.monthString(user.environment.date("9999-12-31T00:00:00Z")), "December 9999");
    // The 4th of October 1582 is followed by the 5th, not by the 15th.
    EXPECT_EQ(user.labels.dateAsMonthAndDay(user.environment.date("1582-10-05T12:00:00Z")), "October 5");
    for (const auto date : {NSDate::min(), NSDate::max()}) {
        EXPECT_FALSE(user.labels.dateAsShortStringWithWeekdayDayMonthYear(date).empty());
        EXPECT_FALSE(user.labels.dateAsRelativeString(date).empty());
        EXPECT_FALSE(user.labels.timeAgoSinceDate(date, NSDate::max()).empty());
    }
}

TEST(DateFormats, OfSeveralRegionsOnSeveralThreads) {
    const auto formatALot = [](const char* region, const char* language, const std::string& expected) {
        const User user("2026-01-14T10:00:00Z", region, language, "Europe/Berlin");
        const User other("2026-01-14T10:00:00Z", "fr_FR", "en");
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(plain(user.labels.dateAsRelativeStringWithOriginDate(
                          user.environment.date("2026-03-01T12:00:00Z"), user.environment.now())),
                      expected);
            EXPECT_EQ(other.labels.dayStringAsWeekday(other.environment.now()), "mercredi");
        }
    };
    std::thread german(formatALot, "de_DE", "de", "So., 1. März, 13:00");
    std::thread japanese(formatALot, "ja_JP", "ja", "3月1日(日), 13:00");
    formatALot("en_US", "en", "Sun, Mar 1, 1:00 PM");
    german.join();
    japanese.join();
}

TEST(RelativeDates, TakeTheFirstFormThatHolds) {
    struct Case {
        const char *region, *origin, *date, *expected;
    };
    // Wall time in Berlin. The 14th of January 2026 is a Wednesday; the 10th a Saturday.
    const Case cases[] = {
        {"en_GB", "2026-01-14T10:00", "2026-01-14T10:00", "now"},
        {"en_GB", "2026-01-14T10:00:00.000001", "2026-01-14T10:00", "just now"},
        {"en_GB", "2026-01-14T10:00", "2026-01-14T11:00", "today at 11:00"},
        {"en_GB", "2026-01-14T10:00", "2026-01-14T23:59:59", "today at 23:59"},
        {"en_GB", "2026-01-14T10:00", "2026-01-15T00:00", "tomorrow at 00:00"},
        {"en_GB", "2026-01-14T10:00", "2026-01-15T23:59", "tomorrow at 23:59"},
        {"en_GB", "2026-01-14T10:00", "2026-01-16T09:00", "Friday at 09:00"},
        // Weeks begin on Monday in Britain, on Sunday in the United States.
        {"en_GB", "2026-01-14T10:00", "2026-01-18T09:00", "Sunday at 09:00"},
        {"en_US", "2026-01-14T10:00", "2026-01-18T09:00", "Sun, Jan 18, 9:00 AM"},
        {"en_GB", "2026-01-14T10:00", "2026-01-19T09:00", "Mon, 19 Jan, 09:00"},
        {"en_GB", "2026-01-17T10:00", "2026-01-18T09:00", "tomorrow at 09:00"},
        {"en_GB", "2025-12-30T10:00", "2026-01-02T09:00", "Friday at 09:00"},
        {"en_GB", "2026-01-14T10:00", "2027-01-13T09:00", "Wed, 13 Jan, 09:00"},
        // The nights of the clock changes: 23 and 25 hours are a day.
        {"en_GB", "2026-03-28T02:30", "2026-03-29T23:30", "tomorrow at 23:30"},
        {"en_GB", "2026-10-25T00:10", "2026-10-25T23:50", "today at 23:50"},
        {"en_GB", "2026-01-14T10:00", "2026-01-14T09:00", "an hour ago"},
    };
    for (const auto& c : cases) {
        const User user("2000-01-01T00:00:00Z", c.region, "en", "Europe/Berlin");
        EXPECT_EQ(plain(user.labels.dateAsRelativeStringWithOriginDate(user.environment.date(c.date),
                                                                       user.environment.date(c.origin))),
                  c.expected)
            << c.date << " seen from " << c.origin;
    }

    User user("2026-01-14T10:00", "de_DE", "de", "Europe/Berlin");
    EXPECT_EQ(user.labels.dateAsRelativeString(user.environment.date("2026-01-16T08:00")), "Freitag um 08:00");
    EXPECT_EQ(user.labels.dateAsRelativeString(user.environment.date("2026-01-11T08:00")), "vor 3 tagen");
    user.environment.setNow("2026-01-16T07:00");
    EXPECT_EQ(user.labels.dateAsRelativeString(user.environment.date("2026-01-16T08:00")), "heute um 08:00");
}

TEST(TimeAgo, NamesTheLargestWholeUnit) {
    struct Case {
        const char *earlier, *later, *expected;
    };
    const Case cases[] = {
        {"2026-01-14T10:00:00", "2026-01-14T10:00:00", "just now"},
        {"2026-01-14T10:00:00", "2026-01-14T10:00:01.999", "just now"},
        {"2026-01-14T10:00:00", "2026-01-14T10:00:02", "2 seconds ago"},
        {"2026-01-14T10:00:00", "2026-01-14T10:01:59", "a minute ago"},
        {"2026-01-14T10:00:00", "2026-01-14T10:59:59", "59 minutes ago"},
        {"2026-01-14T10:00:00", "2026-01-14T11:59:59", "an hour ago"},
        {"2026-01-13T10:00:01", "2026-01-14T10:00:00", "23 hours ago"},
        {"2026-01-13T10:00:00", "2026-01-14T10:00:00", "yesterday"},
        // From 24 hours on, days count, not hours.
        {"2026-01-12T23:59:00", "2026-01-14T00:00:00", "2 days ago"},
        {"2026-01-08T00:00:00", "2026-01-14T23:59:59", "6 days ago"},
        {"2026-01-07T23:00:00", "2026-01-14T01:00:00", "last week"},
        {"2026-01-01T10:00:00", "2026-01-31T10:00:00", "4 weeks ago"},
        // A month later is the last day where the month is shorter.
        {"2026-01-31T10:00:00", "2026-02-28T10:00:00", "last month"},
        {"2026-01-30T10:00:00", "2026-02-27T10:00:00", "4 weeks ago"},
        {"2025-02-14T10:00:00", "2026-01-14T10:00:00", "11 months ago"},
        {"2024-02-29T10:00:00", "2025-02-28T10:00:00", "last year"},
        {"1999-01-15T10:00:00", "2026-01-14T10:00:00", "26 years ago"},
        // The clock change makes this 47 hours, and yet two days.
        {"2026-03-28T10:00:00", "2026-03-30T10:00:00", "2 days ago"},
        {"2026-10-25T00:00:00", "2026-10-25T23:30:00", "yesterday"},
    };
    const User user("2026-01-14T10:00:00Z", "en_GB", "en", "Europe/Berlin");
    for (const auto& c : cases) {
        const auto earlier = user.environment.date(c.earlier);
        const auto later = user.environment.date(c.later);
        EXPECT_EQ(user.labels.timeAgoSinceDate(earlier, later), c.expected) << c.earlier << " to " << c.later;
        EXPECT_EQ(user.labels.timeAgoSinceDate(later, earlier), c.expected) << c.later << " to " << c.earlier;
    }

    EXPECT_EQ(DateLabels::timeAgoKey("days", 21, "de"), "%d days ago");
    EXPECT_EQ(DateLabels::timeAgoKey("days", 21, "ru"), "%d __days ago");
    EXPECT_EQ(DateLabels::timeAgoKey("days", 103, "uk"), "%d _days ago");
    EXPECT_EQ(DateLabels::timeAgoKey("days", 112, "uk"), "%d days ago");
}

TEST(DateColours, DarkenByFullDays) {
    const User user("2026-01-14T10:00", "en_GB", "en", "Europe/Berlin");
    const auto colour = [&](const char* date) {
        return user.labels.colorForDate(user.environment.date(date)).value_or("");
    };
    EXPECT_EQ(user.labels.colorForDate(std::nullopt), std::nullopt);
    EXPECT_EQ(colour("2026-01-14T10:00:00.000001"), "#99c16a");
    EXPECT_EQ(colour("2026-01-14T10:00"), "#fce57d");
    EXPECT_EQ(colour("2026-01-13T10:00:01"), "#fce57d");
    EXPECT_EQ(colour("2026-01-13T10:00"), "#ff955b");
    EXPECT_EQ(colour("2026-01-12T10:00:01"), "#ff955b");
    EXPECT_EQ(colour("2026-01-12T10:00"), "#e03b3b");
}

TEST(DateHelper, OffersTheMomentsOfTheInterface) {
    struct Case {
        const char *now, *tomorrow, *weekend, *rounded, *nextWeek;
    };
    const Case cases[] = {
        {"2026-01-14T00:01", "2026-01-15T08:00", "2026-01-17T08:00", "2026-01-14T00:00", "2026-01-21T00:01"},
        {"2026-01-14T23:59", "2026-01-15T08:00", "2026-01-17T08:00", "2026-01-15T00:00", "2026-01-21T23:59"},
        {"2026-01-17T12:02:30.9", "2026-01-18T08:00", "2026-01-24T08:00", "2026-01-17T12:00", "2026-01-24T12:02:30.9"},
        {"2026-03-28T12:02:31", "2026-03-29T08:00", "2026-04-04T08:00", "2026-03-28T12:05", "2026-04-04T12:02:31"},
    };
    for (const auto& c : cases) {
        const User user(c.now, "en_GB", "en", "Europe/Berlin");
        const auto date = [&](const char* text) { return user.environment.date(text); };
        EXPECT_EQ(user.helper.tomorrowWithUserSetMorningHour(8), date(c.tomorrow)) << c.now;
        EXPECT_EQ(user.helper.thisWeekendWithUserSetMorningHour(8), date(c.weekend)) << c.now;
        EXPECT_EQ(user.helper.currentDateRoundedDownTo5Minutes(), date(c.rounded)) << c.now;
        EXPECT_EQ(user.helper.oneWeekFromToday(), date(c.nextWeek)) << c.now;
    }

    // The weekend begins on Friday in Egypt.
    const User egyptian("2026-01-14T10:00", "ar_EG", "en", "Africa/Cairo");
    EXPECT_EQ(egyptian.helper.thisWeekendWithUserSetMorningHour(99), egyptian.environment.date("2026-01-16T23:00"));
}

TEST(DateHelper, AnswersWhatDayItIs) {
    User user("2026-01-14T18:00", "en_GB", "en", "Europe/Berlin");
    const auto date = [&](const char* text) { return user.environment.date(text); };
    EXPECT_TRUE(user.helper.isBeyondHour(18));
    EXPECT_FALSE(user.helper.isBeyondHour(19));
    EXPECT_TRUE(user.helper.isToday(date("2026-01-14T00:00")));
    EXPECT_FALSE(user.helper.isToday(date("2026-01-15T00:00")));
    EXPECT_TRUE(user.helper.isTomorrow(date("2026-01-15T23:59")));
    EXPECT_EQ(user.labels.weekdayStringWithRelativeIfAppropriate(date("2026-01-14T23:00")), "Later today");
    EXPECT_EQ(user.labels.weekdayStringWithRelativeIfAppropriate(date("2026-01-15T00:00")), "Tomorrow");
    EXPECT_EQ(user.labels.weekdayStringWithRelativeIfAppropriate(date("2026-01-16T00:00")), "Friday");
    EXPECT_EQ(user.helper.startDateFromReminderOrSettingsWithReminderStartDate(std::nullopt), date("2026-01-14T00:00"));
    EXPECT_EQ(user.helper.startDateFromReminderOrSettingsWithReminderStartDate(date("2020-01-01")), date("2020-01-01"));
}

}  // namespace
}  // namespace zun
