#pragma once

// The calendar arithmetic that the logic calls: proleptic Gregorian, over one time zone, with ICU underneath. A value class,
// cheap to make: the ICU calendar is cached per thread, zone and locale. Wall-clock times that a gap skips come out later by the
// gap's length ("02:30" reads 03:30); of repeated ones the first is meant, unless an operation says otherwise.

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
    MatchNextTime,                                 // the first existing time after it
    MatchNextTimePreservingSmallerUnits,           // later by the gap's length
    MatchPreviousTimePreservingSmallerUnits,       // earlier by the gap's length
};

// Fields that are absent take no part in a search or an addition.
struct NSDateComponents {
    std::optional<int> era, year, month, day, weekOfYear, yearForWeekOfYear, hour, minute, second, weekday;
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

    // All fields of the date, filled.
    [[nodiscard]] NSDateComponents components(NSDate date) const;
    // 1 Sunday to 7 Saturday.
    [[nodiscard]] int weekday(NSDate date) const;
    // The instant of these wall-clock fields; absent ones count as the first of their kind.
    [[nodiscard]] NSDate dateFromComponents(const NSDateComponents& components) const;

    // Plain calendar addition; a month or year step clamps to the last day of a shorter month.
    [[nodiscard]] NSDate dateByAddingUnit(NSCalendarUnit unit, int value, NSDate date) const;
    // Adds year, month, week of year, day, then hour, minute and second as elapsed time.
    [[nodiscard]] NSDate dateByAddingComponents(const NSDateComponents& components, NSDate date) const;

    // The first date strictly after `date` whose weekday (if given), hour, minute and second match.
    [[nodiscard]] NSDate nextDateAfterDate(NSDate date, const NSDateComponents& matching, NSCalendarOptions options) const;
    [[nodiscard]] NSDate dateBySettingHour(int hour, int minute, int second, NSDate ofDate) const;
    [[nodiscard]] NSDate startOfDayForDate(NSDate date) const;

    // Equal in that unit and every larger one; for WeekOfYear the week and its year are compared.
    [[nodiscard]] bool isDate(NSDate first, NSDate equalToDate, NSCalendarUnit toUnitGranularity) const;
    [[nodiscard]] bool isDateInSameDay(NSDate first, NSDate second) const;

    // The start of the first weekend that begins after the date, by the locale's rule; empty if the locale has none.
    [[nodiscard]] OptionalDate nextWeekendStartDateAfterDate(NSDate date) const;

    // Whole days (calendar days of 24 wall-clock hours) and remaining hours from one date to the other; negative backwards.
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
