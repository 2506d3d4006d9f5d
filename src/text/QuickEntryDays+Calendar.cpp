#include "platform/foundation/CivilDate.h"
#include "text/QuickEntryDays.h"

namespace zun {
namespace {

using Date = PhrasePart<CalendarDay>;

constexpr int firstYear = 1900, lastYear = 2999;
constexpr int leapYear = 2000;

std::optional<Date> possible(std::optional<int> year, int month, int day, Confidence confidence) {
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year.value_or(leapYear), month)) return std::nullopt;
    return Date{{year, month, day}, confidence};
}

// 2026, or 26 for it.
std::optional<int> takeGluedYear(QuickEntryCursor& cursor) {
    if (const auto year = cursor.takeGluedFigures(firstYear, lastYear, 4)) return year;
    const auto inCentury = cursor.takeGluedFigures(0, 99, 2);
    return inCentury ? std::optional(2000 + *inCentury) : std::nullopt;
}

// A year behind a month's name, which is not the hour of a time.
std::optional<int> takeYear(QuickEntryCursor& cursor) {
    return cursor.attempt([&]() -> std::optional<int> {
        cursor.takeGluedMark(",");
        const auto* figures = cursor.token();
        if (!figures || figures->text.size() != 4 || figures->isGlued) return std::nullopt;
        return cursor.takeFigures(firstYear, lastYear, 4);
    });
}

// 2026-12-24, 2026/12/24
std::optional<Date> readYearFirst(QuickEntryCursor& cursor) {
    const auto year = cursor.takeFigures(firstYear, lastYear, 4);
    if (!year) return std::nullopt;
    const char* separator = cursor.takeGluedMark("-") ? "-" : cursor.takeGluedMark("/") ? "/" : nullptr;
    if (!separator) return std::nullopt;
    const auto month = cursor.takeGluedFigures(1, 12, 2);
    if (!month || !cursor.takeGluedMark(separator)) return std::nullopt;
    const auto day = cursor.takeGluedFigures(1, 31, 2);
    if (!day) return std::nullopt;
    return possible(year, *month, *day, Confidence::Medium);
}

// 3/14, 3/14/2026, in the order of the region.
std::optional<Date> readSlashed(QuickEntryCursor& cursor) {
    const auto first = cursor.takeFigures(1, 31, 2);
    if (!first || !cursor.takeGluedMark("/")) return std::nullopt;
    const auto* figures = cursor.token();
    if (!figures || !figures->isGlued) return std::nullopt;
    const auto second = cursor.takeFigures(1, 31, 2);
    if (!second) return std::nullopt;
    const bool monthFirst = cursor.region().monthFirst;
    const int month = monthFirst ? *first : *second;
    const int day = monthFirst ? *second : *first;
    if (cursor.takeGluedMark("/")) {
        const auto year = takeGluedYear(cursor);
        return year ? possible(year, month, day, Confidence::Medium) : std::nullopt;
    }
    // Numbers that could be a fraction, or how far something has got.
    return possible(std::nullopt, month, day, Confidence::OnlyWithMore);
}

// 24.12., 24.12.2026, 24.12
std::optional<Date> readDotted(QuickEntryCursor& cursor) {
    const auto day = cursor.takeFigures(1, 31, 2);
    if (!day || !cursor.takeGluedMark(".")) return std::nullopt;
    const auto* figures = cursor.token();
    if (!figures || !figures->isGlued) return std::nullopt;
    const auto month = cursor.takeFigures(1, 12, 2);
    if (!month) return std::nullopt;
    if (!cursor.takeGluedMark(".")) return possible(std::nullopt, *month, *day, Confidence::OnlyWithMore);
    if (const auto year = takeGluedYear(cursor)) return possible(year, *month, *day, Confidence::Medium);
    if (const auto year = takeYear(cursor)) return possible(year, *month, *day, Confidence::Medium);
    return possible(std::nullopt, *month, *day,
                    cursor.region().dottedDates ? Confidence::Medium : Confidence::OnlyWithMore);
}

struct NamedMonth {
    int month;
    bool isAmbiguous;
};

std::optional<NamedMonth> takeMonth(QuickEntryCursor& cursor) {
    const bool isAmbiguous = cursor.peek(WordClass::AmbiguousMonth).has_value();
    const auto month = cursor.take(WordClass::Month);
    if (!month) return std::nullopt;
    cursor.takeAbbreviationMark();
    return NamedMonth{*month, isAmbiguous};
}

std::optional<Date> withMonth(QuickEntryCursor& cursor, NamedMonth month, int day, bool isOrdinal) {
    const auto year = takeYear(cursor);
    const bool isClear = isOrdinal || year || !month.isAmbiguous;
    return possible(year, month.month, day, isClear ? Confidence::Medium : Confidence::Weak);
}

// 3 March, 3rd of March, 3. März 2026
std::optional<Date> readDayThenMonth(QuickEntryCursor& cursor) {
    const auto day = cursor.takeFigures(1, 31, 2);
    if (!day) return std::nullopt;
    bool isOrdinal = cursor.takeGluedMark(".");
    const auto* ending = cursor.token();
    if (ending && ending->isGlued && cursor.take(WordClass::OrdinalEnding)) {
        isOrdinal = true;
        cursor.take(WordClass::Of);
    }
    const auto* name = cursor.token();
    if (!name || name->isGlued) return std::nullopt;
    const auto month = takeMonth(cursor);
    return month ? withMonth(cursor, *month, *day, isOrdinal) : std::nullopt;
}

// March 3, Mar 3rd, December 24, 2026
std::optional<Date> readMonthThenDay(QuickEntryCursor& cursor) {
    const auto month = takeMonth(cursor);
    if (!month || cursor.isGerman()) return std::nullopt;
    cursor.take(WordClass::The);
    const auto day = cursor.takeFigures(1, 31, 2);
    if (!day) return std::nullopt;
    const auto* ending = cursor.token();
    const bool isOrdinal = ending && ending->isGlued && cursor.take(WordClass::OrdinalEnding);
    return withMonth(cursor, *month, *day, isOrdinal);
}

}  // namespace

std::optional<PhrasePart<CalendarDay>> readCalendarDay(QuickEntryCursor& cursor) {
    for (const auto read : {readYearFirst, readSlashed, readDotted, readDayThenMonth, readMonthThenDay}) {
        const auto date = cursor.attempt([&] {
            const auto found = read(cursor);
            return found && cursor.isAtBoundary() ? found : std::nullopt;
        });
        if (date) return date;
    }
    return std::nullopt;
}

}  // namespace zun
