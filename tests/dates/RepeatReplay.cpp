#include "dates/RepeatReplay.h"

#include <algorithm>
#include <set>

namespace zun {

NSDate RepeatReplay::add(NSDate date, std::uint64_t type, std::int64_t interval) const {
    return _calendar.dateByAddingUnit(RepeatEngine::calendarUnitForRepeatType(type), static_cast<int>(interval), date);
}

NSDate RepeatReplay::nextMatch(NSDate date, const NSDateComponents& match) const {
    return _calendar.nextDateAfterDate(date, match, NSCalendarOptions::MatchPreviousTimePreservingSmallerUnits);
}

OptionalDate RepeatReplay::advance(Call call) const {
    const auto ofAnchor = _calendar.components(call.date);
    const auto ofCurrent = _calendar.components(call.currentDate);
    if (ofAnchor.hour == ofCurrent.hour && ofAnchor.minute == ofCurrent.minute && ofAnchor.second == ofCurrent.second) {
        call.currentDate += std::chrono::seconds{1};
    }
    if (call.count < 0) call.count = 1;
    return call.dayOrdinal == 0 ? advancePlain(call) : advanceWeekday(call);
}

NSDate RepeatReplay::counted(const Call& call) const {
    auto components = _calendar.components(call.date);
    components.era = components.year = components.month = components.day = std::nullopt;
    components.weekOfYear = components.yearForWeekOfYear = components.weekday = std::nullopt;
    const int value = static_cast<int>(std::abs(call.interval * call.count));
    if (call.type == 1) components.day = value;
    if (call.type == 2) components.weekOfYear = value;
    if (call.type == 3) components.month = value;
    if (call.type == 4) components.year = value;
    return _calendar.dateByAddingComponents(components, call.date);
}

OptionalDate RepeatReplay::advancePlain(const Call& call) const {
    if (call.option == AdvancementOption::Counted) return counted(call);
    auto next = call.date;
    auto previous = call.date;
    const auto step = [&] {
        previous = next;
        next = add(next, call.type, call.interval);
    };
    do {
        step();
    } while (next <= call.currentDate);
    if (call.option == AdvancementOption::Last) return previous;
    for (std::int64_t i = 0; i < call.count; ++i)
        step();
    return next;
}

OptionalDate RepeatReplay::advanceWeekday(const Call& call) const {
    auto calendar = _calendar;
    calendar.setFirstWeekday(2);
    auto match = calendar.components(call.date);
    match.weekday = call.dayOrdinal;
    const auto firstMatch = nextMatch(call.date, match);
    const bool onOrdinal = calendar.weekday(call.date) == call.dayOrdinal;
    const bool sameWeek = calendar.isDate(call.date, firstMatch, NSCalendarUnit::WeekOfYear) &&
                          calendar.isDate(call.date, firstMatch, NSCalendarUnit::Year);
    if (call.count == 0 && (onOrdinal || sameWeek)) {
        switch (call.option) {
            case AdvancementOption::Next:
                if (sameWeek && call.currentDate < firstMatch) return firstMatch;
                break;
            case AdvancementOption::Last:
                if (call.interval >= 2 && sameWeek && add(call.date, 2, call.interval) > call.currentDate) {
                    if (call.currentDate > firstMatch) return firstMatch;
                    if (onOrdinal && call.currentDate > call.date) return call.date;
                }
                break;
            case AdvancementOption::Counted:
                return onOrdinal ? call.date : firstMatch;
        }
    } else if (call.interval >= 2 && call.option == AdvancementOption::Counted) {
        const int e = onOrdinal || sameWeek ? 1 : 0;
        const int f = !onOrdinal && !sameWeek ? 1 : 0;
        const auto date = add(call.date, 2, (call.count - e + 1) * call.interval - f);
        return onOrdinal ? date : nextMatch(date, match);
    }
    return stepWeeks(call, match, onOrdinal, sameWeek);
}

OptionalDate RepeatReplay::stepWeeks(const Call& call, const NSDateComponents& match, bool onOrdinal,
                                     bool sameWeek) const {
    auto next = call.date;
    auto previous = call.date;
    int stepsTaken = 0;
    const auto step = [&] {
        const int extra = sameWeek && call.interval >= 2 && call.count == 0 && stepsTaken == 0 ? 1 : 0;
        auto date = next;
        for (std::int64_t number = 0; number <= call.interval + extra - 1; ++number)
            date = nextMatch(date, match);
        previous = next;
        next = date;
        ++stepsTaken;
    };
    if (call.option == AdvancementOption::Counted) {
        for (std::int64_t i = 0; i <= call.count; ++i)
            step();
        return onOrdinal ? previous : next;
    }
    if (call.option == AdvancementOption::Last && call.date > call.currentDate) return std::nullopt;
    do {
        step();
    } while (next <= call.currentDate);
    return call.option == AdvancementOption::Next ? next : previous;
}

std::vector<NSDate> RepeatReplay::advanceToNextWeek(Call call, std::vector<int> ordinals) const {
    std::vector<NSDate> dates;
    call.type = 2;
    for (const int ordinal : ordinals) {
        call.dayOrdinal = ordinal;
        const auto date = advance(call);
        if (!date) return {};
        dates.push_back(*date);
    }
    std::sort(dates.begin(), dates.end());
    return dates;
}

std::vector<NSDate> RepeatReplay::advanceBetween(Call call, NSDate minimum, NSDate maximum) const {
    std::vector<NSDate> dates;
    do {
        call.date = advance(call).value();
        if (call.date < maximum && call.date > minimum) dates.push_back(call.date);
    } while (call.date < maximum);
    return dates;
}

std::vector<NSDate> RepeatReplay::occurrences(const RepeatRule& rule, NSDate from, NSDate to) const {
    std::set<NSDate> dates{rule.anchor};
    if (rule.ordinals.empty()) {
        for (auto date = rule.anchor; date < to; date = add(date, rule.type, rule.interval))
            dates.insert(date);
    }
    for (const int ordinal : rule.ordinals) {
        auto match = _calendar.components(rule.anchor);
        match.weekday = ordinal;
        auto date = advance({rule.anchor, 2, rule.interval, ordinal, AdvancementOption::Next, 0, rule.anchor}).value();
        while (date < to) {
            dates.insert(date);
            for (std::int64_t week = 0; week < rule.interval; ++week)
                date = nextMatch(date, match);
        }
    }
    std::erase_if(dates, [&](NSDate date) { return date <= from || date >= to || (rule.end && date > *rule.end); });
    return {dates.begin(), dates.end()};
}

}  // namespace zun
