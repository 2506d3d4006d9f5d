#include "platform/foundation/NSCalendar.h"

#include <algorithm>
#include <limits>

#include "platform/foundation/ICUCalendar.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::minutes;
using std::chrono::seconds;

// More than NSDate can say of each unit, and still far from where ICU's 32-bit arithmetic would overflow.
constexpr int mostYears = 600'000;
constexpr int mostMonths = 12 * mostYears;
constexpr int mostDays = 220'000'000;
constexpr int mostWeeks = mostDays / 7;

struct UnitInICU {
    UCalendarDateFields field;
    int most;
};

// The units that are counted on the wall clock; for the others elapsed time is meant.
std::optional<UnitInICU> wallClockUnit(NSCalendarUnit unit) {
    switch (unit) {
        case NSCalendarUnit::Year:
            // Not UCAL_YEAR, which would count backwards before year 1.
            return UnitInICU{UCAL_EXTENDED_YEAR, mostYears};
        case NSCalendarUnit::Month:
            return UnitInICU{UCAL_MONTH, mostMonths};
        case NSCalendarUnit::WeekOfYear:
            return UnitInICU{UCAL_WEEK_OF_YEAR, mostWeeks};
        case NSCalendarUnit::Day:
            return UnitInICU{UCAL_DAY_OF_MONTH, mostDays};
        case NSCalendarUnit::None:
        case NSCalendarUnit::Hour:
        case NSCalendarUnit::Minute:
        case NSCalendarUnit::Second:
            return std::nullopt;
    }
    return std::nullopt;
}

seconds elapsed(NSCalendarUnit unit, int value) {
    switch (unit) {
        case NSCalendarUnit::Hour:
            return hours{value};
        case NSCalendarUnit::Minute:
            return minutes{value};
        case NSCalendarUnit::Second:
            return seconds{value};
        default:
            return seconds::zero();
    }
}

NSDate later(NSDate date, seconds by) {
    // 32-bit counts of hours are at most 7.8e18 microseconds each, so the sum needs the guard but the product does not.
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(date.time_since_epoch().count(), microseconds{by}.count(), &sum)) {
        return NSDate{microseconds{sum}};
    }
    return by < seconds::zero() ? NSDate::min() : NSDate::max();
}

LocalTime laterOnTheWall(LocalTime wall, microseconds by) {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(wall.time_since_epoch().count(), by.count(), &sum)) return LocalTime{microseconds{sum}};
    return by < microseconds::zero() ? LocalTime::min() : LocalTime::max();
}

void add(ICUCalendar& calendar, const UnitInICU& unit, int value) {
    calendar.add(unit.field, std::clamp(value, -unit.most, unit.most));
}

}  // namespace

NSCalendar::NSCalendar(std::shared_ptr<const NSTimeZone> zone, std::string localeIdentifier)
    : _zone(std::move(zone)),
      _localeIdentifier(std::move(localeIdentifier)),
      _firstWeekday(ICUCalendar::forLocale(_localeIdentifier, 0).firstWeekday()) {}

NSCalendar NSCalendar::current(const Environment& environment) {
    return NSCalendar(environment.timeZone(), environment.locale().formats);
}

NSDateComponents NSCalendar::components(NSDate date) const {
    auto& calendar = ICUCalendar::forLocale(_localeIdentifier, _firstWeekday);
    calendar.setTime(_zone->localTime(date));
    return {.era = calendar.get(UCAL_ERA),
            .year = calendar.get(UCAL_YEAR),
            .month = calendar.get(UCAL_MONTH) + 1,
            .day = calendar.get(UCAL_DAY_OF_MONTH),
            .weekOfYear = calendar.get(UCAL_WEEK_OF_YEAR),
            .yearForWeekOfYear = calendar.get(UCAL_YEAR_WOY),
            .hour = calendar.get(UCAL_HOUR_OF_DAY),
            .minute = calendar.get(UCAL_MINUTE),
            .second = calendar.get(UCAL_SECOND),
            .weekday = calendar.get(UCAL_DAY_OF_WEEK)};
}

NSDate NSCalendar::dateFromComponents(const NSDateComponents& components) const {
    auto& calendar = ICUCalendar::forLocale(_localeIdentifier, _firstWeekday);
    calendar.clear();
    const auto set = [&](UCalendarDateFields field, int value, int most) {
        calendar.set(field, std::clamp(value, -most, most));
    };
    if (components.weekOfYear && !components.month && !components.day) {
        set(UCAL_YEAR_WOY, components.yearForWeekOfYear.value_or(components.year.value_or(1)), mostYears);
        set(UCAL_WEEK_OF_YEAR, *components.weekOfYear, mostWeeks);
        set(UCAL_DAY_OF_WEEK, components.weekday.value_or(_firstWeekday), 7);
    } else {
        set(UCAL_ERA, components.era.value_or(1), 1);
        set(UCAL_YEAR, components.year.value_or(1), mostYears);
        calendar.set(UCAL_MONTH, std::clamp(components.month.value_or(1), -mostMonths, mostMonths) - 1);
        set(UCAL_DAY_OF_MONTH, components.day.value_or(1), mostDays);
    }
    const seconds timeOfDay = hours{components.hour.value_or(0)} + minutes{components.minute.value_or(0)} +
                              seconds{components.second.value_or(0)};
    return _zone->instant(laterOnTheWall(calendar.time(), timeOfDay));
}

NSDate NSCalendar::dateByAddingUnit(NSCalendarUnit unit, int value, NSDate date) const {
    const auto onTheWall = wallClockUnit(unit);
    if (!onTheWall) return later(date, elapsed(unit, value));
    if (value == 0) return date;
    auto& calendar = ICUCalendar::forLocale(_localeIdentifier, _firstWeekday);
    calendar.setTime(_zone->localTime(date));
    add(calendar, *onTheWall, value);
    return _zone->instant(calendar.time());
}

NSDate NSCalendar::dateByAddingComponents(const NSDateComponents& components, NSDate date) const {
    struct Part {
        NSCalendarUnit unit;
        int value;
    };
    const Part parts[] = {{NSCalendarUnit::Year, components.year.value_or(0)},
                          {NSCalendarUnit::Month, components.month.value_or(0)},
                          {NSCalendarUnit::WeekOfYear, components.weekOfYear.value_or(0)},
                          {NSCalendarUnit::Day, components.day.value_or(0)},
                          {NSCalendarUnit::Hour, components.hour.value_or(0)},
                          {NSCalendarUnit::Minute, components.minute.value_or(0)},
                          {NSCalendarUnit::Second, components.second.value_or(0)}};
    for (const auto& part : parts)
        date = dateByAddingUnit(part.unit, part.value, date);
    return date;
}

}  // namespace zun
