#include "dates/WeekdaySeries.h"

#include <algorithm>

namespace zun {
namespace {

// 1970-01-01 was a Thursday, three days into its week.
std::int64_t weekFromMonday(std::int64_t day) {
    return floorDivide(day + 3, 7);
}

}  // namespace

WeekdaySeries::WeekdaySeries(const NSTimeZone& zone, const WallMoment& anchor, int ordinal)
    : _zone(zone), _time(anchor.secondOfDay()), _ordinal(ordinal) {
    _firstDay = dayOfFirstMatchAfter(anchor);
    _firstMatch = match(_firstDay);
    _anchorIsOnWeekday = weekdayOfDay(anchor.day) == ordinal;
    // Moved out of a gap, a match may show the day before.
    const auto shownDay = zone.mightSkip(_time) ? WallMoment::of(_firstMatch, zone).day : _firstDay;
    _sameWeek = weekFromMonday(anchor.day) == weekFromMonday(shownDay) &&
                civilDate(anchor.day).year == civilDate(shownDay).year;
}

NSDate WeekdaySeries::match(std::int64_t day) const {
    return _zone.instant(wallTime(day, _time), NSTimeZone::SkippedTime::EarlierByGap);
}

std::int64_t WeekdaySeries::dayOfFirstMatchAfter(const WallMoment& moment) const {
    auto day = moment.day + (_ordinal - weekdayOfDay(moment.day) + 7) % 7;
    for (auto date = match(day); date <= moment.date && date != NSDate::max(); date = match(day))
        day += 7;
    return day;
}

NSDate WeekdaySeries::firstMatchAfter(NSDate date) const {
    return match(dayOfFirstMatchAfter(WallMoment::of(date, _zone)));
}

std::int64_t WeekdaySeries::intervalsToAfter(const WallMoment& moment, std::int64_t start,
                                             std::int64_t interval) const {
    const auto isAfter = [&](std::int64_t intervals) {
        const auto date = matchAfterWeeks(start + intervals * interval);
        return date > moment.date || date == NSDate::max();
    };
    const auto weeks = floorDivide(moment.day - _firstDay, 7) - start;
    auto intervals = std::max<std::int64_t>(floorDivide(weeks, interval), 0);
    while (intervals > 0 && isAfter(intervals - 1))
        --intervals;
    while (!isAfter(intervals))
        ++intervals;
    return intervals;
}

}  // namespace zun
