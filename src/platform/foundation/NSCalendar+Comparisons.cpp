#include <algorithm>
#include <limits>

#include "platform/foundation/ICUCalendar.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::minutes;
using std::chrono::seconds;

// Months since the start of year 0.
std::int64_t monthNumber(const NSDateComponents& components) {
    const std::int64_t year = *components.era == 1 ? *components.year : 1 - *components.year;
    return year * 12 + *components.month - 1;
}

int toInt(std::int64_t value) {
    return static_cast<int>(
        std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// to - from, cut to what can be said.
microseconds between(NSDate from, NSDate to) {
    std::int64_t result = 0;
    if (!__builtin_sub_overflow(to.time_since_epoch().count(), from.time_since_epoch().count(), &result)) {
        return microseconds{result};
    }
    return to < from ? microseconds::min() : microseconds::max();
}

}  // namespace

bool NSCalendar::isDate(NSDate first, NSDate equalToDate, NSCalendarUnit toUnitGranularity) const {
    const auto a = _zone->localTime(first);
    const auto b = _zone->localTime(equalToDate);
    switch (toUnitGranularity) {
        case NSCalendarUnit::None:
            return first == equalToDate;
        case NSCalendarUnit::Second:
            return floor<seconds>(a) == floor<seconds>(b);
        case NSCalendarUnit::Minute:
            return floor<minutes>(a) == floor<minutes>(b);
        case NSCalendarUnit::Hour:
            return floor<hours>(a) == floor<hours>(b);
        case NSCalendarUnit::Day:
            return floor<days>(a) == floor<days>(b);
        case NSCalendarUnit::WeekOfYear:
        case NSCalendarUnit::Month:
        case NSCalendarUnit::Year:
            break;
    }
    const auto ofFirst = components(first);
    const auto ofSecond = components(equalToDate);
    if (toUnitGranularity == NSCalendarUnit::WeekOfYear) {
        return ofFirst.weekOfYear == ofSecond.weekOfYear && ofFirst.yearForWeekOfYear == ofSecond.yearForWeekOfYear;
    }
    if (toUnitGranularity == NSCalendarUnit::Month) return monthNumber(ofFirst) == monthNumber(ofSecond);
    return ofFirst.era == ofSecond.era && ofFirst.year == ofSecond.year;
}

bool NSCalendar::isDateInSameDay(NSDate first, NSDate second) const {
    return isDate(first, second, NSCalendarUnit::Day);
}

long NSCalendar::difference(NSCalendarUnit unit, NSDate from, NSDate to) const {
    const auto wallDays = floor<days>(_zone->localTime(to)) - floor<days>(_zone->localTime(from));
    std::int64_t estimate = 0;
    switch (unit) {
        case NSCalendarUnit::None:
            return 0;
        case NSCalendarUnit::Hour:
            return between(from, to) / hours{1};
        case NSCalendarUnit::Minute:
            return between(from, to) / minutes{1};
        case NSCalendarUnit::Second:
            return between(from, to) / seconds{1};
        case NSCalendarUnit::Day:
            estimate = wallDays.count();
            break;
        case NSCalendarUnit::WeekOfYear:
            estimate = wallDays.count() / 7;
            break;
        case NSCalendarUnit::Month:
            estimate = monthNumber(components(to)) - monthNumber(components(from));
            break;
        case NSCalendarUnit::Year:
            estimate = (monthNumber(components(to)) - monthNumber(components(from))) / 12;
            break;
    }
    // The fields alone may count one unit that is not yet full; the clock's jumps may then hide or give another.
    int count = toInt(estimate);
    const auto reached = [&](int n) { return dateByAddingUnit(unit, n, from); };
    if (from <= to) {
        while (count > 0 && reached(count) > to)
            --count;
    } else {
        while (count < 0 && reached(count) < to)
            ++count;
    }
    return count;
}

NSCalendar::DayHourDifference NSCalendar::daysAndHours(NSDate from, NSDate to) const {
    const long wholeDays = difference(NSCalendarUnit::Day, from, to);
    return {wholeDays,
            between(dateByAddingUnit(NSCalendarUnit::Day, static_cast<int>(wholeDays), from), to) / hours{1}};
}

}  // namespace zun
