#include "text/QuickEntryRepeats.h"

#include "ZunDataModel/ZNReminderObject.h"
#include "text/QuickEntryDays.h"

namespace zun {
namespace {

using Repeat = PhrasePart<NamedRepeat>;
using Units = QuickEntryUnit;

constexpr int mostUnits = 999;
constexpr int wholeWeekend = 1 << 1 | 1 << 7;

std::optional<RepeatMeaning> inUnits(int unit, int count) {
    switch (static_cast<Units>(unit)) {
        case Units::Day:
            return RepeatMeaning{RepeatType::daily, count};
        case Units::Week:
            return RepeatMeaning{RepeatType::weekly, count};
        case Units::Fortnight:
            return RepeatMeaning{RepeatType::weekly, 2 * count};
        case Units::Month:
            return RepeatMeaning{RepeatType::monthly, count};
        case Units::Quarter:
            return RepeatMeaning{RepeatType::monthly, 3 * count};
        case Units::HalfYear:
            return RepeatMeaning{RepeatType::monthly, 6 * count};
        case Units::Year:
            return RepeatMeaning{RepeatType::yearly, count};
        case Units::Minute:
        case Units::Hour:
            return std::nullopt;
    }
    return std::nullopt;
}

std::optional<int> takeWeekday(QuickEntryCursor& cursor) {
    if (const auto habit = cursor.take(WordClass::WeekdayHabit)) return habit;
    const auto weekday = cursor.takeWeekday();
    return weekday ? std::optional(weekday->ordinal) : std::nullopt;
}

// Monday to Friday, Mon-Fri: the days after the first one.
int takeRangeAfter(QuickEntryCursor& cursor, int first) {
    const auto last = cursor.attempt([&]() -> std::optional<int> {
        if (!cursor.take(WordClass::To) && !cursor.takeMark("-")) return std::nullopt;
        return takeWeekday(cursor);
    });
    int days = 0;
    for (int day = first; last && day != *last; days |= 1 << day)
        day = day % 7 + 1;
    return days;
}

// Mon, Wed and Fri: a bit for each. Zero if no weekday stands there.
int takeWeekdays(QuickEntryCursor& cursor) {
    int days = 0;
    auto next = takeWeekday(cursor);
    while (next) {
        days |= 1 << *next | takeRangeAfter(cursor, *next);
        next = cursor.attempt([&]() -> std::optional<int> {
            const bool isSeparated = cursor.takeMark(",") || cursor.takeMark("/");
            if (!cursor.take(WordClass::And) && !isSeparated) return std::nullopt;
            return takeWeekday(cursor);
        });
    }
    return days;
}

// The weekdays behind a weekly repeat: "on Mon, Fri", ": Mo, Fr".
int takeWeekdaysOfWeek(QuickEntryCursor& cursor) {
    const auto days = cursor.attempt([&]() -> std::optional<int> {
        if (!cursor.takeGluedMark(":") && !cursor.take(WordClass::On)) return std::nullopt;
        const int found = takeWeekdays(cursor);
        return found && cursor.isAtBoundary() ? std::optional(found) : std::nullopt;
    });
    return days.value_or(0);
}

std::optional<Repeat> onWeekdays(int weekdays, int interval, Confidence confidence) {
    return Repeat{{RepeatMeaning{RepeatType::weekly, interval, weekdays}}, confidence};
}

// every day, alle 2 Wochen, jeden zweiten Tag, every other week on Monday
std::optional<Repeat> readUnits(QuickEntryCursor& cursor, bool needsNumber) {
    auto count = cursor.take(WordClass::Other);
    if (!count) count = cursor.takeNumber(1, mostUnits);
    if (!count && needsNumber) return std::nullopt;
    const auto unit = cursor.take(WordClass::Unit);
    auto repeat = unit ? inUnits(*unit, count.value_or(1)) : std::nullopt;
    if (!repeat || repeat->interval > mostUnits) return std::nullopt;
    if (repeat->type == RepeatType::weekly) repeat->weekdays = takeWeekdaysOfWeek(cursor);
    const bool isPlain = repeat->interval == 1 && repeat->weekdays == 0;
    return Repeat{{*repeat}, isPlain ? Confidence::Medium : Confidence::Strong};
}

// every Monday and Friday, jeden zweiten Montag, every weekend, every weekday
std::optional<Repeat> readWeekdays(QuickEntryCursor& cursor) {
    const int interval = cursor.take(WordClass::Other).value_or(1);
    if (const int weekdays = takeWeekdays(cursor)) {
        // Of the month, which no rule can say.
        if (interval > 1 && cursor.peek(WordClass::Of)) return std::nullopt;
        return onWeekdays(weekdays, interval, Confidence::Strong);
    }
    if (cursor.take(WordClass::Weekend)) return onWeekdays(wholeWeekend, interval, Confidence::Medium);
    const auto set = interval == 1 ? cursor.take(WordClass::WeekdaySet) : std::nullopt;
    return set ? onWeekdays(*set, 1, Confidence::Medium) : std::nullopt;
}

// every morning
std::optional<Repeat> readParts(QuickEntryCursor& cursor) {
    const auto part = cursor.take(WordClass::Part);
    if (!part) return std::nullopt;
    return Repeat{{RepeatMeaning{RepeatType::daily}, static_cast<PartOfDay>(*part)}, Confidence::Medium};
}

// every 24 December; every 3rd of the month
std::optional<Repeat> readDates(QuickEntryCursor& cursor) {
    const auto date = readCalendarDay(cursor);
    if (date && !date->meaning.year) {
        return Repeat{{RepeatMeaning{RepeatType::yearly}, {}, date->meaning}, Confidence::Strong};
    }
    const auto day = date ? std::nullopt : cursor.takeFigures(1, 31, 2);
    if (!day || !(cursor.take(WordClass::OrdinalEnding) || cursor.takeGluedMark("."))) return std::nullopt;
    if (!cursor.take(WordClass::Of)) return std::nullopt;
    cursor.take(WordClass::The);
    if (cursor.take(WordClass::Unit) != static_cast<int>(Units::Month)) return std::nullopt;
    return Repeat{{RepeatMeaning{RepeatType::monthly}, {}, DayOfMonth{*day}}, Confidence::Strong};
}

// daily; weekly on Mon; wöchentlich: Mo, Fr
std::optional<Repeat> readAdverb(QuickEntryCursor& cursor) {
    const auto adverb = cursor.take(WordClass::RepeatAdverb);
    auto repeat = adverb ? inUnits(*adverb / 16, *adverb % 16) : std::nullopt;
    if (!repeat) return std::nullopt;
    if (repeat->type == RepeatType::weekly) repeat->weekdays = takeWeekdaysOfWeek(cursor);
    if (repeat->weekdays) return Repeat{{*repeat}, Confidence::Strong};
    return Repeat{{*repeat}, cursor.isGerman() ? Confidence::Medium : Confidence::Weak};
}

// on Mondays and Fridays, montags bis freitags, on weekdays, werktags
std::optional<Repeat> readHabit(QuickEntryCursor& cursor) {
    const bool hasPreposition = cursor.take(WordClass::On).has_value();
    const auto sure = hasPreposition || cursor.isGerman() ? Confidence::Medium : Confidence::Weak;
    if (cursor.peek(WordClass::WeekdayHabit)) return onWeekdays(takeWeekdays(cursor), 1, sure);
    const auto set = cursor.take(WordClass::WeekdaySet);
    if (!set) return std::nullopt;
    return onWeekdays(*set, 1, sure == Confidence::Weak ? Confidence::OnlyWithMore : sure);
}

}  // namespace

std::optional<PhrasePart<NamedRepeat>> readRepeat(QuickEntryCursor& cursor) {
    const auto tryToRead = [&](auto read) {
        return cursor.attempt([&]() -> std::optional<Repeat> {
            const auto found = read();
            return found && cursor.isAtBoundary() ? found : std::nullopt;
        });
    };
    const auto readAfterEvery = [&](auto read) {
        return tryToRead([&]() -> std::optional<Repeat> {
            // "on the 3rd of every month"
            cursor.take(WordClass::Of);
            const auto every = cursor.take(WordClass::Every);
            return every ? read(*every == 1) : std::nullopt;
        });
    };
    if (auto repeat = readAfterEvery([&](bool needsNumber) { return readUnits(cursor, needsNumber); })) return repeat;
    for (const auto read : {readWeekdays, readParts, readDates}) {
        if (auto repeat = readAfterEvery([&](bool) { return read(cursor); })) return repeat;
    }
    for (const auto read : {readAdverb, readHabit}) {
        if (auto repeat = tryToRead([&] { return read(cursor); })) return repeat;
    }
    return std::nullopt;
}

}  // namespace zun
