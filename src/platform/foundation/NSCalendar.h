#pragma once

// The calendar arithmetic that the logic calls: proleptic Gregorian, over one time zone. ICU counts in wall-clock time,
// and the zone alone turns that into instants, so one rule holds for every operation: a wall-clock time that a gap
// skips comes out later by the gap's length ("02:30" reads 03:30), and of repeated ones the first is meant, unless an
// operation says otherwise. A value class, cheap to make: ICU's calendar is cached per thread and locale. Fractions of
// a second are kept, save where an operation sets the second. Results beyond what NSDate can say come out at its ends.

#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/Environment.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

enum class NSCalendarUnit { None, Year, Month, WeekOfYear, Day, Hour, Minute, Second };

// How a search treats a wall-clock time that does not exist on a day.
enum class NSCalendarOptions {
    MatchNextTime,                            // the first existing time after it
    MatchNextTimePreservingSmallerUnits,      // later by the gap's length
    MatchPreviousTimePreservingSmallerUnits,  // earlier by the gap's length
};

// Fields that are absent take no part in a search or an addition.
struct NSDateComponents {
    std::optional<int> era{}, year{}, month{}, day{}, weekOfYear{}, yearForWeekOfYear{}, hour{}, minute{}, second{},
        weekday{};
};

class NSCalendar {
  public:
    NSCalendar(std::shared_ptr<const NSTimeZone> zone, std::string localeIdentifier);
    // The user's calendar as the surroundings stand now.
    [[nodiscard]] static NSCalendar current(const Environment& environment);

    // 1 is Sunday. Affects week comparisons only. Starts as the locale's own.
    void setFirstWeekday(int weekday) { _firstWeekday = weekday; }
    [[nodiscard]] int firstWeekday() const { return _firstWeekday; }
    [[nodiscard]] const NSTimeZone& timeZone() const { return *_zone; }

    // All fields of the date, filled. Weeks follow firstWeekday() and the locale's minimum of days in the first week.
    [[nodiscard]] NSDateComponents components(NSDate date) const;
    // 1 Sunday to 7 Saturday.
    [[nodiscard]] int weekday(NSDate date) const;
    // The instant of these wall-clock fields; absent ones count as the first of their kind. A week of year decides only
    // where month and day are absent. Fields beyond their range carry over: 32 January is 1 February.
    [[nodiscard]] NSDate dateFromComponents(const NSDateComponents& components) const;

    // Plain calendar addition; a month or year step clamps to the last day of a shorter month. Days and longer units
    // are added in wall-clock time, shorter ones as elapsed time; nothing added gives the date itself, also inside a
    // repeated hour.
    [[nodiscard]] NSDate dateByAddingUnit(NSCalendarUnit unit, int value, NSDate date) const;
    // Adds year, month, week of year, day, then hour, minute and second as elapsed time.
    [[nodiscard]] NSDate dateByAddingComponents(const NSDateComponents& components, NSDate date) const;

    // The first date strictly after `date` whose weekday (if given), hour, minute and second match. Absent ones of the
    // three count as 0, other fields take no part. A time that a gap skips on its day is matched as the option says,
    // even if that falls on the day before or after.
    [[nodiscard]] NSDate nextDateAfterDate(NSDate date, const NSDateComponents& matching,
                                           NSCalendarOptions options) const;
    [[nodiscard]] NSDate dateBySettingHour(int hour, int minute, int second, NSDate ofDate) const;
    [[nodiscard]] NSDate startOfDayForDate(NSDate date) const;

    // Equal in that unit and every larger one; for WeekOfYear the week and its year are compared.
    [[nodiscard]] bool isDate(NSDate first, NSDate equalToDate, NSCalendarUnit toUnitGranularity) const;
    [[nodiscard]] bool isDateInSameDay(NSDate first, NSDate second) const;

    // The start of the first weekend that begins after the date, by the locale's rule; empty if the locale has none.
    [[nodiscard]] OptionalDate nextWeekendStartDateAfterDate(NSDate date) const;

    // Whole days (calendar days of 24 wall-clock hours) and remaining hours from one date to the other; negative
    // backwards.
    struct DayHourDifference {
        long days;
        long hours;
    };
    [[nodiscard]] DayHourDifference daysAndHours(NSDate from, NSDate to) const;
    // Whole units of one kind from one date to the other, rounded towards zero.
    [[nodiscard]] long difference(NSCalendarUnit unit, NSDate from, NSDate to) const;

  private:
    std::shared_ptr<const NSTimeZone> _zone;
    std::string _localeIdentifier;
    int _firstWeekday;
};

}  // namespace zun
