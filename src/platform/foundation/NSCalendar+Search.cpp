#include <algorithm>

#include "platform/foundation/CivilDate.h"
#include "platform/foundation/ICUCalendar.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

using SkippedTime = NSTimeZone::SkippedTime;

std::int64_t dayOf(LocalTime wall) {
    return floor<days>(wall).time_since_epoch().count();
}

// The days that NSDate can say wholly, in every zone.
constexpr std::int64_t lastDay = floor<days>(LocalTime::max()).time_since_epoch().count() - 2;

SkippedTime skippedTime(NSCalendarOptions options) {
    switch (options) {
        case NSCalendarOptions::MatchNextTime:
            return SkippedTime::EndOfGap;
        case NSCalendarOptions::MatchNextTimePreservingSmallerUnits:
            return SkippedTime::LaterByGap;
        case NSCalendarOptions::MatchPreviousTimePreservingSmallerUnits:
            return SkippedTime::EarlierByGap;
    }
    return SkippedTime::LaterByGap;
}

seconds timeOfDay(int hour, int minute, int second) {
    return hours{std::clamp(hour, 0, 23)} + minutes{std::clamp(minute, 0, 59)} + seconds{std::clamp(second, 0, 59)};
}

}  // namespace

int NSCalendar::weekday(NSDate date) const {
    return weekdayOfDay(dayOf(_zone->localTime(date)));
}

NSDate NSCalendar::nextDateAfterDate(NSDate date, const NSDateComponents& matching, NSCalendarOptions options) const {
    const auto time = timeOfDay(matching.hour.value_or(0), matching.minute.value_or(0), matching.second.value_or(0));
    const int weekday = matching.weekday.value_or(0);
    const bool anyDay = weekday < 1 || weekday > 7;
    // From the day before: a time that is moved later out of a gap may cross midnight.
    for (auto day = dayOf(_zone->localTime(date)) - 1; day <= lastDay; ++day) {
        if (!anyDay && weekdayOfDay(day) != weekday) continue;
        const auto match = _zone->instant(wallTime(day, time), skippedTime(options));
        if (match > date) return match;
    }
    return NSDate::max();
}

NSDate NSCalendar::dateBySettingHour(int hour, int minute, int second, NSDate ofDate) const {
    return _zone->instant(wallTime(dayOf(_zone->localTime(ofDate)), timeOfDay(hour, minute, second)));
}

NSDate NSCalendar::startOfDayForDate(NSDate date) const {
    return _zone->instant(wallTime(dayOf(_zone->localTime(date)), seconds{0}), SkippedTime::EndOfGap);
}

OptionalDate NSCalendar::nextWeekendStartDateAfterDate(NSDate date) const {
    auto& calendar = ICUCalendar::forLocale(_localeIdentifier, _firstWeekday);
    const auto today = dayOf(_zone->localTime(date));
    for (auto day = today; day <= std::min(today + 7, lastDay); ++day) {
        const auto onset = calendar.weekendOnset(weekdayOfDay(day));
        if (!onset) continue;
        const auto start = _zone->instant(wallTime(day, milliseconds{*onset}), SkippedTime::EndOfGap);
        if (start > date) return start;
    }
    return std::nullopt;
}

}  // namespace zun
