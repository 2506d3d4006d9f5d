#include "text/QuickEntryDays.h"

#include <algorithm>

namespace zun {
namespace {

using Day = PhrasePart<NamedDay>;
using Units = QuickEntryUnit;

constexpr int mostUnits = 999;

// What stands before a day.
struct Preposition {
    bool isThere = false;   // "on", "am", "bis", "due"
    bool isOnOrBy = false;  // one that a day of the month needs
};

Preposition takePreposition(QuickEntryCursor& cursor) {
    Preposition result;
    if (cursor.take(WordClass::Due)) result.isThere = true;
    if (cursor.take(WordClass::By) || cursor.take(WordClass::On) || cursor.take(WordClass::At)) {
        result.isThere = result.isOnOrBy = true;
    }
    return result;
}

std::optional<Day> withPart(DayMeaning day, Confidence confidence, std::optional<PartOfDay> part = std::nullopt) {
    return Day{{day, part}, confidence};
}

// today, tomorrow, the day after tomorrow, tonight, Freitagabend, this evening
std::optional<Day> readRelativeDay(QuickEntryCursor& cursor) {
    if (const auto days = cursor.take(WordClass::RelativeDay)) return withPart(DaysAhead{*days}, Confidence::Medium);
    if (const auto part = cursor.take(WordClass::Tonight)) {
        return withPart(DaysAhead{0}, Confidence::Medium, static_cast<PartOfDay>(*part));
    }
    if (const auto both = cursor.take(WordClass::WeekdayPart)) {
        return withPart(WeekdayAhead{*both / 8}, Confidence::Medium, static_cast<PartOfDay>(*both % 8));
    }
    if (cursor.take(WordClass::This)) {
        const auto part = cursor.take(WordClass::Part);
        if (part) return withPart(DaysAhead{0}, Confidence::Medium, static_cast<PartOfDay>(*part));
        return std::nullopt;
    }
    cursor.take(WordClass::The);
    if (cursor.take(WordClass::Unit) != static_cast<int>(Units::Day) || !cursor.take(WordClass::After)) {
        return std::nullopt;
    }
    if (cursor.take(WordClass::RelativeDay) != 1) return std::nullopt;
    return withPart(DaysAhead{2}, Confidence::Medium);
}

// in 2 weeks, in einem Monat
std::optional<Day> readDistance(QuickEntryCursor& cursor) {
    if (!cursor.take(WordClass::In)) return std::nullopt;
    auto count = cursor.take(WordClass::Article);
    if (!count) count = cursor.takeNumber(1, mostUnits);
    const auto unit = count ? cursor.take(WordClass::Unit) : std::nullopt;
    if (!unit) return std::nullopt;
    switch (static_cast<Units>(*unit)) {
        case Units::Day:
            return withPart(DaysAhead{*count}, Confidence::Medium);
        case Units::Week:
            return withPart(DaysAhead{7 * *count}, Confidence::Medium);
        case Units::Fortnight:
            return withPart(DaysAhead{14 * *count}, Confidence::Medium);
        case Units::Month:
            return withPart(MonthsAhead{*count}, Confidence::Medium);
        case Units::Quarter:
            return withPart(MonthsAhead{3 * *count}, Confidence::Medium);
        case Units::HalfYear:
            return withPart(MonthsAhead{6 * *count}, Confidence::Medium);
        case Units::Year:
            return withPart(MonthsAhead{12 * *count}, Confidence::Medium);
        case Units::Minute:
        case Units::Hour:
            return std::nullopt;
    }
    return std::nullopt;
}

// next Tuesday, kommenden Freitag, next week on Tuesday, nächstes Wochenende, next month
std::optional<Day> readNext(QuickEntryCursor& cursor) {
    takePreposition(cursor);
    cursor.take(WordClass::In);
    cursor.take(WordClass::The);
    const bool isNext = cursor.take(WordClass::Next).has_value();
    if (!isNext && !cursor.take(WordClass::Coming) && !cursor.take(WordClass::This)) return std::nullopt;
    const auto week = isNext ? WhichWeek::Next : WhichWeek::Coming;
    if (const auto weekday = cursor.takeWeekday()) {
        return withPart(WeekdayAhead{weekday->ordinal, week}, Confidence::Strong);
    }
    if (cursor.take(WordClass::Weekend)) return withPart(WeekendAhead{week}, Confidence::Medium);
    const int unit = isNext ? cursor.take(WordClass::Unit).value_or(-1) : -1;
    if (unit == static_cast<int>(Units::Week)) {
        const auto weekday = cursor.attempt([&] {
            cursor.take(WordClass::On);
            return cursor.takeWeekday();
        });
        if (weekday) return withPart(WeekdayAhead{weekday->ordinal, week}, Confidence::Strong);
    }
    const bool hasStart = unit == static_cast<int>(Units::Week) || unit == static_cast<int>(Units::Month) ||
                          unit == static_cast<int>(Units::Year);
    if (!hasStart) return std::nullopt;
    return withPart(StartOfNext{static_cast<Units>(unit)}, Confidence::Medium);
}

// on the weekend, am Wochenende
std::optional<Day> readWeekend(QuickEntryCursor& cursor) {
    if (!takePreposition(cursor).isOnOrBy) return std::nullopt;
    if (!cursor.take(WordClass::The) && !cursor.isGerman()) return std::nullopt;
    if (!cursor.take(WordClass::Weekend)) return std::nullopt;
    return withPart(WeekendAhead{}, cursor.isGerman() ? Confidence::Strong : Confidence::Medium);
}

Confidence confidenceOfWeekday(const QuickEntryCursor& cursor, const QuickEntryCursor::Weekday& weekday,
                               const Preposition& preposition) {
    if (weekday.isDoubtful && (cursor.isGerman() || weekday.ordinal == 1 || weekday.ordinal == 7)) {
        return Confidence::OnlyWithMore;
    }
    if (preposition.isThere) {
        return cursor.isGerman() && !weekday.isShort ? Confidence::Strong : Confidence::Medium;
    }
    if (weekday.isShort) return Confidence::OnlyWithMore;
    return cursor.isGerman() ? Confidence::Medium : Confidence::Weak;
}

// Friday, on Fri, Friday 13 March, Freitag, den 13.3., Tuesday next week
std::optional<Day> readWeekday(QuickEntryCursor& cursor) {
    const auto preposition = takePreposition(cursor);
    const auto weekday = cursor.takeWeekday();
    if (!weekday) return std::nullopt;
    auto date = cursor.attempt([&] {
        cursor.takeGluedMark(",");
        cursor.take(WordClass::The);
        return readCalendarDay(cursor);
    });
    if (date) {
        date->meaning.weekday = weekday->ordinal;
        return withPart(date->meaning, Confidence::Strong);
    }
    const auto nextWeek = cursor.attempt([&]() -> std::optional<bool> {
        const bool isNext = cursor.take(WordClass::Next).has_value();
        if (!isNext || cursor.take(WordClass::Unit) != static_cast<int>(Units::Week)) return std::nullopt;
        return true;
    });
    if (nextWeek) return withPart(WeekdayAhead{weekday->ordinal, WhichWeek::Next}, Confidence::Strong);
    // Two letters in lower case are more often another word, as in "so um 8".
    if (weekday->isDoubtful && cursor.isGerman() && !preposition.isThere) return std::nullopt;
    return withPart(WeekdayAhead{weekday->ordinal}, confidenceOfWeekday(cursor, *weekday, preposition));
}

// 3 March, on the 3rd of March, am 24.12., on the 3rd
std::optional<Day> readDate(QuickEntryCursor& cursor) {
    const auto preposition = takePreposition(cursor);
    const bool hasArticle = cursor.take(WordClass::The).has_value();
    // "zum 1. Mai" is for that day rather than on it.
    if (hasArticle && cursor.isGerman() && !preposition.isThere) return std::nullopt;
    if (const auto date = readCalendarDay(cursor)) {
        return withPart(date->meaning, preposition.isThere ? Confidence::Strong : date->confidence);
    }
    if (!preposition.isOnOrBy || (!hasArticle && !cursor.isGerman())) return std::nullopt;
    const auto day = cursor.takeFigures(1, 31, 2);
    const auto* ending = cursor.token();
    if (!day || !ending || !ending->isGlued) return std::nullopt;
    const bool isOrdinal =
        cursor.isGerman() ? cursor.takeGluedMark(".") : cursor.take(WordClass::OrdinalEnding).has_value();
    if (!isOrdinal) return std::nullopt;
    return withPart(DayOfMonth{*day}, Confidence::Weak);
}

}  // namespace

std::optional<PhrasePart<NamedDay>> readDay(QuickEntryCursor& cursor) {
    const auto readRelative = [](QuickEntryCursor& at) {
        return at.attempt([&]() -> std::optional<Day> {
            takePreposition(at);
            return readRelativeDay(at);
        });
    };
    using Read = std::optional<Day> (*)(QuickEntryCursor&);
    const Read reads[] = {readRelative, readDistance, readNext, readWeekend, readWeekday, readDate};
    for (const auto read : reads) {
        const auto day = cursor.attempt([&] {
            const auto found = read(cursor);
            return found && cursor.isAtBoundary() ? found : std::nullopt;
        });
        if (day) return day;
    }
    return std::nullopt;
}

}  // namespace zun
