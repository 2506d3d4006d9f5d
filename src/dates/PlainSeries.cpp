#include "dates/PlainSeries.h"

#include <algorithm>
#include <numeric>

#include "platform/foundation/CivilDate.h"

namespace zun {
namespace {

// A year short of the end of NSDate, so that no zone's offset can push a date over it.
constexpr std::int64_t lastYear = 294'245;
constexpr std::int64_t lastDay = dayNumber({lastYear, 12, 31});
constexpr std::int64_t lastMonth = lastYear * 12 + 11;
// Larger intervals end a series just as surely.
constexpr std::int64_t mostInterval = 300'000'000;

std::int64_t monthOf(const CivilDate& date) {
    return date.year * 12 + date.month - 1;
}

struct YearAndMonth {
    std::int64_t year;
    int month;
};

YearAndMonth yearAndMonth(std::int64_t number) {
    const auto year = floorDivide(number, 12);
    return {year, static_cast<int>(number - year * 12) + 1};
}

}  // namespace

std::optional<PlainSeries::Step> PlainSeries::stepForRepeatType(std::uint64_t type, std::int64_t interval) {
    interval = std::clamp<std::int64_t>(interval, 1, mostInterval);
    switch (type) {
        case 1:
            return Step{Unit::Day, interval};
        case 2:
            return Step{Unit::Day, 7 * interval};
        case 3:
            return Step{Unit::Month, interval};
        case 4:
            return Step{Unit::Month, 12 * interval};
        default:
            return std::nullopt;
    }
}

PlainSeries::PlainSeries(const NSTimeZone& zone, const WallMoment& anchor, Step step)
    : _zone(zone), _step(step), _now(anchor) {
    standOn(anchor);
}

void PlainSeries::standOn(const WallMoment& moment) {
    _now = moment;
    if (_step.unit == Unit::Day) return;
    const auto civil = civilDate(moment.day);
    _month = monthOf(civil);
    _dayOfMonth = civil.day;
}

std::int64_t PlainSeries::stepsToEnd() const {
    const auto room = _step.unit == Unit::Day ? lastDay - _now.day : lastMonth - _month;
    return std::max<std::int64_t>(room, 0) / _step.count;
}

std::int64_t PlainSeries::dayAfter(std::int64_t steps) const {
    if (_step.unit == Unit::Day) return _now.day + steps * _step.count;
    const auto [year, month] = yearAndMonth(_month + steps * _step.count);
    return dayNumber({year, month, std::min(_dayOfMonth, daysInMonth(year, month))});
}

NSDate PlainSeries::dateAfter(std::int64_t steps) const {
    return _zone.instant(wallTime(dayAfter(steps), _now.timeOfDay));
}

// The number of steps to the last date on or before the moment, as if the series had no bends.
std::int64_t PlainSeries::stepsUpTo(const WallMoment& moment) const {
    if (moment.date <= _now.date) return 0;
    const auto distance = _step.unit == Unit::Day ? moment.day - _now.day : monthOf(civilDate(moment.day)) - _month;
    const auto most = stepsToEnd();
    auto steps = std::clamp<std::int64_t>(distance / _step.count, 0, most);
    bool tooFar = false;
    while (steps > 0 && (tooFar = dateAfter(steps) > moment.date))
        --steps;
    if (tooFar) return steps;
    // Inside a repeated hour a date may be ahead on the wall and still in the past.
    while (steps < most && dayAfter(steps + 1) <= moment.day + 1 && dateAfter(steps + 1) <= moment.date)
        ++steps;
    return steps;
}

std::optional<std::int64_t> PlainSeries::stepsToDay(std::int64_t day) const {
    if (_step.unit == Unit::Day) {
        const auto distance = day - _now.day;
        return distance % _step.count == 0 ? std::optional(distance / _step.count) : std::nullopt;
    }
    const auto civil = civilDate(day);
    const auto distance = monthOf(civil) - _month;
    if (distance % _step.count != 0 || civil.day != std::min(_dayOfMonth, daysInMonth(civil.year, civil.month))) {
        return std::nullopt;
    }
    return distance / _step.count;
}

std::optional<std::int64_t> PlainSeries::firstCutDay(std::int64_t mostSteps) const {
    if (_step.unit == Unit::Day || _dayOfMonth <= 28) return std::nullopt;
    // The lengths of months come again every 400 years.
    constexpr std::int64_t cycle = 400 * 12;
    const auto most = std::min(mostSteps, cycle / std::gcd(cycle, _step.count));
    for (std::int64_t steps = 1; steps <= most; ++steps) {
        const auto [year, month] = yearAndMonth(_month + steps * _step.count);
        if (daysInMonth(year, month) < _dayOfMonth) return steps;
    }
    return std::nullopt;
}

std::optional<std::int64_t> PlainSeries::firstSkippedTime(std::int64_t mostSteps) const {
    if (mostSteps == 0 || !_zone.mightSkip(_now.timeOfDay)) return std::nullopt;
    const auto last = wallTime(dayAfter(mostSteps), _now.timeOfDay);
    for (auto number = _zone.gapNumberAfter(_now.date);; ++number) {
        const auto gap = _zone.gap(number);
        if (!gap || gap->begin > last) return std::nullopt;
        auto day = std::chrono::floor<std::chrono::days>(gap->begin).time_since_epoch().count();
        for (auto wall = wallTime(day, _now.timeOfDay); wall < gap->end; wall = wallTime(++day, _now.timeOfDay)) {
            if (wall < gap->begin) continue;
            const auto steps = stepsToDay(day);
            if (steps && *steps >= 1 && *steps <= mostSteps) return steps;
        }
    }
}

std::optional<std::int64_t> PlainSeries::firstBend(std::int64_t mostSteps) const {
    const auto cut = firstCutDay(mostSteps);
    const auto skipped = firstSkippedTime(cut.value_or(mostSteps));
    return skipped ? skipped : cut;
}

void PlainSeries::moveToLastOnOrBefore(const WallMoment& moment) {
    for (;;) {
        const auto steps = stepsUpTo(moment);
        if (steps == 0) return;
        const auto bend = firstBend(steps);
        standOn(WallMoment::of(dateAfter(bend.value_or(steps)), _zone));
        if (!bend) return;
    }
}

void PlainSeries::move(std::int64_t steps) {
    while (steps > 0) {
        const auto most = stepsToEnd();
        if (most == 0) {
            _now.date = NSDate::max();
            return;
        }
        const auto straight = std::min(steps, most);
        const auto taken = firstBend(straight).value_or(straight);
        standOn(WallMoment::of(dateAfter(taken), _zone));
        steps -= taken;
    }
}

NSDate PlainSeries::next() const {
    return stepsToEnd() == 0 ? NSDate::max() : dateAfter(1);
}

}  // namespace zun
