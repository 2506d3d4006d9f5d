#pragma once

// What a date is called in relation to another, usually to now: "tomorrow at 9:00", "3 hours ago", and the colour of
// its lateness. Any thread; some microseconds a call; nothing fails.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dates/ZNDateFormatter.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSDate.h"

namespace zun {

class DateLabels {
  public:
    // Both must outlive the labels.
    DateLabels(const Environment& environment, const LocalizedStrings& strings)
        : _environment(environment), _strings(strings), _formatter(environment, strings) {}

    [[nodiscard]] const ZNDateFormatter& formatter() const { return _formatter; }

    // The first that holds, seen from the origin (now, if none is given):
    //   earlier       how long ago, in lower case
    //   equal         now
    //   the next day  tomorrow at ...
    //   the same day  today at ...
    //   this week     the weekday and the time
    //   otherwise     the date and the time without a year
    [[nodiscard]] std::string dateAsRelativeString(NSDate date) const;
    [[nodiscard]] std::string dateAsRelativeStringWithOriginDate(NSDate date, NSDate originDate) const;
    // The distance between two dates in its largest whole unit, whichever comes first: hours and smaller under 24
    // hours, else whole calendar days and larger. "2 weeks ago"; a count below 2 reads "last week".
    [[nodiscard]] std::string timeAgoSinceDate(NSDate date, NSDate sinceDate) const;
    // "Tomorrow", "Later today", else the weekday.
    [[nodiscard]] std::string weekdayStringWithRelativeIfAppropriate(NSDate date) const;

    [[nodiscard]] std::string dateAsShortStringWithWeekdayDayMonthYear(NSDate date, ShowTime showTime = ShowTime::Yes,
                                                                       ShowYear showYear = ShowYear::Yes) const {
        return _formatter.dateAsShortStringWithWeekdayDayMonthYear(showTime, showYear, date);
    }
    [[nodiscard]] std::string dateAsShortStringWithWeekdayAndIntegerDayMonthYear(NSDate date) const {
        return _formatter.shortStringWithWeekdayAndIntegerDayMonthYearForDate(date);
    }
    [[nodiscard]] std::string dateAsTime(NSDate date) const { return _formatter.dateAsTimeForDate(date); }
    [[nodiscard]] std::string dateAsMonthAndDay(NSDate date) const { return _formatter.monthAndDayStringForDate(date); }
    // Month and year.
    [[nodiscard]] std::string monthString(NSDate date) const { return _formatter.monthAndYearStringForDate(date); }
    [[nodiscard]] std::string dayString(NSDate date) const { return _formatter.dayStringForDate(date); }
    [[nodiscard]] std::string dayStringAsWeekday(NSDate date) const {
        return _formatter.dayStringAsWeekdayForDate(date);
    }
    [[nodiscard]] std::string weekDayMediumString(NSDate date) const {
        return _formatter.dayStringAsWeekdayForDate(date);
    }
    [[nodiscard]] std::string dayStringAsLongWeekday(NSDate date) const {
        return _formatter.dayStringAsLongWeekdayForDate(date);
    }
    [[nodiscard]] std::vector<std::string> weekdayStrings() const { return _formatter.weekdayStrings(); }

    // "#rrggbb": green ahead of now, yellow under a full day late, orange under two, red from there on; empty for an
    // absent date.
    [[nodiscard]] std::optional<std::string_view> colorForDate(OptionalDate date) const;

    // The key of the elapsed-time table for a unit in the plural ("years"): languages with two plurals mark the unit
    // with "_" after 2 to 4 and with "__" after 1, judged by the last digits, so that "21" and "22" find words of their
    // own.
    [[nodiscard]] static std::string timeAgoKey(std::string_view unit, std::int64_t count, std::string_view language);

  private:
    const Environment& _environment;
    const LocalizedStrings& _strings;
    ZNDateFormatter _formatter;
};

}  // namespace zun
