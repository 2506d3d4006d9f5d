#include "platform/foundation/CivilDate.h"
#include "text/QuickEntryResolution.h"

namespace zun {
namespace {

constexpr int daysInWeek = 7;

int daysUntil(int weekday, std::int64_t from) {
    return (weekday - weekdayOfDay(from) + daysInWeek) % daysInWeek;
}

}  // namespace

QuickEntryResolver::FoundDay QuickEntryResolver::find(const DayMeaning& day, int minutes, Bound bound) const {
    return std::visit([&](const auto& each) { return find(each, minutes, bound); }, day);
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const DaysAhead& day, int, Bound) const {
    return _today + day.days;
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const MonthsAhead& day, int, Bound) const {
    const auto today = civilDate(_today);
    const auto months = today.year * 12 + today.month - 1 + day.months;
    const auto year = floorDivide(months, 12);
    const int month = static_cast<int>(months - year * 12) + 1;
    return dayNumber({year, month, std::min(today.day, daysInMonth(year, month))});
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const WeekdayAhead& day, int minutes, Bound bound) const {
    if (day.week == WhichWeek::Next) {
        const auto nextWeek =
            _today + daysInWeek - (daysInWeek - daysUntil(_calendar.firstWeekday(), _today)) % daysInWeek;
        return nextWeek + daysUntil(day.weekday, nextWeek);
    }
    const auto coming = bound.day + daysUntil(day.weekday, bound.day);
    return isAhead(coming, minutes, bound) ? coming : coming + daysInWeek;
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const WeekendAhead& day, int, Bound) const {
    const auto start = _calendar.nextWeekendStartDateAfterDate(_now);
    if (!start) return std::nullopt;
    const auto coming =
        std::chrono::floor<std::chrono::days>(_calendar.timeZone().localTime(*start)).time_since_epoch().count();
    return day.week == WhichWeek::Next ? coming + daysInWeek : coming;
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const CalendarDay& day, int minutes, Bound bound) const {
    constexpr int yearsBetweenLeapDays = 8;
    FoundDay found;
    if (day.year) {
        found = dayNumber({*day.year, day.month, day.day});
    } else {
        const auto first = civilDate(bound.day).year;
        for (auto year = first; !found && year <= first + yearsBetweenLeapDays; ++year) {
            if (day.day > daysInMonth(year, day.month)) continue;
            const auto candidate = dayNumber({year, day.month, day.day});
            // Today stays today, even if its morning has passed.
            const bool isToday = candidate == _today && bound.day <= _today;
            if (isToday || isAhead(candidate, minutes, bound)) found = candidate;
        }
    }
    if (found && day.weekday && weekdayOfDay(*found) != *day.weekday) return std::nullopt;
    return found;
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const DayOfMonth& day, int minutes, Bound bound) const {
    auto [year, month, ignored] = civilDate(bound.day);
    // At most one month in a row is too short, and this month's day may have passed.
    for (int tries = 0; tries < 4; ++tries) {
        if (day.day <= daysInMonth(year, month)) {
            const auto candidate = dayNumber({year, month, day.day});
            if (isAhead(candidate, minutes, bound)) return candidate;
        }
        year += month == 12 ? 1 : 0;
        month = month % 12 + 1;
    }
    return std::nullopt;
}

QuickEntryResolver::FoundDay QuickEntryResolver::find(const StartOfNext& day, int, Bound) const {
    const auto [year, month, ignored] = civilDate(_today);
    if (day.unit == QuickEntryUnit::Year) return dayNumber({year + 1, 1, 1});
    if (day.unit == QuickEntryUnit::Month) return dayNumber({month == 12 ? year + 1 : year, month % 12 + 1, 1});
    // Weeks of work begin on Monday, whatever the calendar shows first.
    constexpr int monday = 2;
    return _today + 1 + daysUntil(monday, _today + 1);
}

}  // namespace zun
