#include "text/QuickEntryResolution.h"

#include <algorithm>

#include "platform/foundation/CivilDate.h"

namespace zun {
namespace {

constexpr int hour = 60;
constexpr int day = 24 * hour;

std::int64_t dayNumberOf(NSDate date, const NSTimeZone& zone) {
    return std::chrono::floor<std::chrono::days>(zone.localTime(date)).time_since_epoch().count();
}

int hourOfPart(PartOfDay part, const QuickEntryResolver::Habits& habits) {
    switch (part) {
        case PartOfDay::Morning:
            return habits.morningHour;
        case PartOfDay::Forenoon:
            return std::clamp(habits.morningHour, 10, 11);
        case PartOfDay::Afternoon:
            return 15;
        case PartOfDay::Evening:
        case PartOfDay::Night:
            return habits.eveningHour;
    }
    return habits.morningHour;
}

// An hour of the dial in that part of the day: 8 in the evening is 20.
int movedInto(PartOfDay part, int minutes) {
    constexpr int noon = 12 * hour;
    const bool isTwelve = minutes >= noon && minutes < noon + hour;
    switch (part) {
        case PartOfDay::Morning:
        case PartOfDay::Forenoon:
            return isTwelve ? minutes - noon : minutes;
        case PartOfDay::Afternoon:
            return minutes < noon ? minutes + noon : minutes;
        case PartOfDay::Evening:
            return std::min(minutes < noon + hour ? minutes + noon : minutes, day);
        case PartOfDay::Night:
            // Small hours stay as they are.
            return minutes < 6 * hour ? minutes : std::min(minutes < noon + hour ? minutes + noon : minutes, day);
    }
    return minutes;
}

}  // namespace

QuickEntryResolver::QuickEntryResolver(const NSCalendar& calendar, NSDate now, Habits habits)
    : _calendar(calendar), _now(now), _today(dayNumberOf(now, calendar.timeZone())), _habits(habits) {}

std::optional<QuickEntryDates> QuickEntryResolver::dates(const PhraseMeaning& meaning) const {
    const auto start = startOf(meaning);
    if (!start || *start < _now) return std::nullopt;
    if (!meaning.until) return QuickEntryDates{*start};
    const auto end = endOf(*meaning.until, *start);
    if (!end || *end < *start) return std::nullopt;
    return QuickEntryDates{*start, end};
}

NSDate QuickEntryResolver::instant(std::int64_t dayNumber, int minutes) const {
    const auto date = civilDate(dayNumber + minutes / day);
    return _calendar.dateFromComponents({.year = static_cast<int>(date.year),
                                         .month = date.month,
                                         .day = date.day,
                                         .hour = minutes % day / hour,
                                         .minute = minutes % hour});
}

bool QuickEntryResolver::isAhead(std::int64_t dayNumber, int minutes, Bound bound) const {
    return dayNumber >= bound.day && instant(dayNumber, minutes) > bound.after;
}

std::optional<int> QuickEntryResolver::minutesOf(const PhraseMeaning& meaning) const {
    if (!meaning.clock) {
        return meaning.part ? std::optional(hourOfPart(*meaning.part, _habits) * hour) : std::nullopt;
    }
    const int minutes = meaning.clock->minutes;
    if (!meaning.clock->isOpen) return minutes;
    if (meaning.part) return movedInto(*meaning.part, minutes);
    const bool isSmallHour = minutes >= hour && minutes < 6 * hour;
    return _habits.twelveHours && isSmallHour ? minutes + 12 * hour : minutes;
}

OptionalDate QuickEntryResolver::startOf(const PhraseMeaning& meaning) const {
    if (meaning.elapsed) return _now + *meaning.elapsed;
    const int minutes = minutesOf(meaning).value_or(_habits.morningHour * hour);
    auto bound = meaning.from ? boundFrom(*meaning.from) : std::optional(Bound{_today, _now});
    if (!bound) return std::nullopt;
    if (meaning.repeat && meaning.repeat->weekdays) {
        if (meaning.day) bound = boundFrom(*meaning.day);
        return bound ? firstOnWeekdays(meaning.repeat->weekdays, minutes, *bound) : std::nullopt;
    }
    if (!meaning.day) {
        const bool isToday = isAhead(bound->day, minutes, *bound);
        return instant(isToday ? bound->day : bound->day + 1, minutes);
    }
    const auto found = find(*meaning.day, minutes, *bound);
    if (!found) return std::nullopt;
    return *found == _today ? startToday(meaning) : instant(*found, minutes);
}

// A day without a time that has begun: what is left of it. A time of today that has passed is none.
OptionalDate QuickEntryResolver::startToday(const PhraseMeaning& meaning) const {
    const auto minutes = minutesOf(meaning);
    if (minutes && instant(_today, *minutes) >= _now) return instant(_today, *minutes);
    const bool isLate = meaning.part == PartOfDay::Evening || meaning.part == PartOfDay::Night;
    if (meaning.clock || (meaning.part && !isLate)) return std::nullopt;
    const int nextHour =
        static_cast<int>((_calendar.timeZone().localTime(_now) - std::chrono::local_days{std::chrono::days{_today}}) /
                             std::chrono::hours{1} +
                         1);
    for (const int hours : {isLate ? nextHour : _habits.morningHour, _habits.eveningHour, nextHour}) {
        if (hours < 24 && instant(_today, hours * hour) >= _now) return instant(_today, hours * hour);
    }
    return _now;
}

OptionalDate QuickEntryResolver::firstOnWeekdays(int weekdays, int minutes, Bound bound) const {
    // A week and a day: today's may have passed.
    for (auto each = bound.day; each <= bound.day + 7; ++each) {
        if ((weekdays & 1 << weekdayOfDay(each)) && isAhead(each, minutes, bound)) return instant(each, minutes);
    }
    return std::nullopt;
}

std::optional<QuickEntryResolver::Bound> QuickEntryResolver::boundFrom(const DayMeaning& from) const {
    constexpr int lastMinute = day - 1;
    const auto first = find(from, lastMinute, {_today, _now});
    if (!first || *first < _today) return std::nullopt;
    return Bound{*first, std::max(_now, instant(*first, 0) - std::chrono::microseconds{1})};
}

OptionalDate QuickEntryResolver::endOf(const DayMeaning& until, NSDate start) const {
    constexpr int lastMinute = day - 1;
    const Bound bound{dayNumberOf(start, _calendar.timeZone()), start};
    const auto last = find(until, lastMinute, bound);
    if (!last) return std::nullopt;
    return instant(*last, lastMinute) + std::chrono::seconds{59};
}

}  // namespace zun
