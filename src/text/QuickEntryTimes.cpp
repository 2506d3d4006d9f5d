#include "text/QuickEntryTimes.h"

namespace zun {
namespace {

using Clock = PhrasePart<ClockMeaning>;
using Elapsed = PhrasePart<std::chrono::minutes>;

constexpr int hour = 60;
constexpr int day = 24 * hour;

enum class HalfOfDay { Unknown, AM, PM };
enum class Preposition { None, At, By };

// am, p.m.
HalfOfDay takeHalfOfDay(QuickEntryCursor& cursor) {
    if (cursor.take(WordClass::AM)) return HalfOfDay::AM;
    if (cursor.take(WordClass::PM)) return HalfOfDay::PM;
    const auto* letter = cursor.token();
    const auto* m = cursor.token(2);
    if (cursor.isGerman() || !letter || !m || !m->isGlued || m->text != "m") return HalfOfDay::Unknown;
    const auto half = letter->text == "a" ? HalfOfDay::AM : letter->text == "p" ? HalfOfDay::PM : HalfOfDay::Unknown;
    if (half == HalfOfDay::Unknown || cursor.token(1)->text != ".") return HalfOfDay::Unknown;
    cursor.skip(3);
    cursor.takeGluedMark(".");
    return half;
}

// An hour of the dial, by name or in figures.
std::optional<int> takeDialHour(QuickEntryCursor& cursor) {
    return cursor.takeNumber(1, 12);
}

std::optional<Clock> onDial(QuickEntryCursor& cursor, int minutes, Confidence confidence) {
    auto half = HalfOfDay::Unknown;
    if (cursor.isGerman()) {
        cursor.take(WordClass::Hours);
    } else {
        half = takeHalfOfDay(cursor);
    }
    if (half == HalfOfDay::Unknown) return Clock{{minutes, true}, confidence};
    return Clock{{minutes % (12 * hour) + (half == HalfOfDay::PM ? 12 * hour : 0)}, Confidence::Strong};
}

// half past eight, quarter to nine, 10 past 8; halb acht, dreiviertel acht, Viertel nach acht, fünf vor halb acht
std::optional<Clock> readSpoken(QuickEntryCursor& cursor, Preposition preposition) {
    const bool hasPreposition = preposition != Preposition::None;
    const auto sure = hasPreposition ? Confidence::Strong : Confidence::Weak;
    // Noon is what is meant by an hour before one.
    const auto beforeHour = [](int dialHour, int minutes) { return (dialHour == 1 ? 13 : dialHour) * hour - minutes; };
    if (cursor.isGerman()) {
        if (cursor.take(WordClass::Half)) {
            const auto of = takeDialHour(cursor);
            return of ? onDial(cursor, beforeHour(*of, 30), sure) : std::nullopt;
        }
        if (cursor.take(WordClass::ThreeQuarters)) {
            const auto of = takeDialHour(cursor);
            return of ? onDial(cursor, beforeHour(*of, 15), sure) : std::nullopt;
        }
    } else if (cursor.take(WordClass::Half)) {
        if (!cursor.take(WordClass::Past)) return std::nullopt;
        const auto of = takeDialHour(cursor);
        return of ? onDial(cursor, *of * hour + 30, sure) : std::nullopt;
    }
    const bool isQuarter = cursor.take(WordClass::Quarter).has_value();
    const auto minutes = isQuarter ? std::optional(15) : cursor.takeNumber(1, 29);
    if (!minutes) return std::nullopt;
    if (cursor.peek(WordClass::Unit) == static_cast<int>(QuickEntryUnit::Minute)) cursor.take(WordClass::Unit);
    const bool isPast = cursor.take(WordClass::Past).has_value();
    if (!isPast && !cursor.take(WordClass::Before)) return std::nullopt;
    const bool isOfHalf = cursor.isGerman() && cursor.take(WordClass::Half).has_value();
    const auto of = takeDialHour(cursor);
    if (!of) return std::nullopt;
    const auto confidence = hasPreposition || isQuarter ? sure : Confidence::OnlyWithMore;
    const int early = (isOfHalf ? 30 : 0) + (isPast ? -*minutes : *minutes);
    return onDial(cursor, early > 0 ? beforeHour(*of, early) : *of * hour - early, confidence);
}

struct Figures {
    int hours;
    int minutes = 0;
    bool hasMinutes = false;
    bool isPadded = false;  // "09"
    bool isPoint = false;   // "9.30"
};

std::optional<Figures> takeClockFigures(QuickEntryCursor& cursor) {
    const auto* first = cursor.token();
    const auto hours = cursor.takeFigures(0, 24, 2);
    if (!hours) return std::nullopt;
    Figures result{*hours, 0, false, first->text.size() == 2 && *hours < 10};
    const auto minutes = cursor.attempt([&]() -> std::optional<int> {
        result.isPoint = cursor.takeGluedMark(".");
        if (!result.isPoint && !cursor.takeGluedMark(":")) return std::nullopt;
        return cursor.takeGluedFigures(0, 59, 2);
    });
    result.hasMinutes = minutes.has_value();
    result.minutes = minutes.value_or(0);
    if (result.hours * hour + result.minutes > day) return std::nullopt;
    return result;
}

Confidence confidenceOfFigures(const Figures& figures, bool hasPreposition, bool isNamed) {
    if (hasPreposition) {
        return figures.hasMinutes || isNamed ? Confidence::Strong : Confidence::Weak;
    }
    // Verses, scores and ratios are written alike, but seldom with a quarter of an hour.
    return isNamed || figures.minutes % 15 == 0 ? Confidence::Weak : Confidence::OnlyWithMore;
}

// at 9, 9:30 pm, 5pm, 9 o'clock; um 8, 18 Uhr 30, 8.30 Uhr
std::optional<Clock> readFigures(QuickEntryCursor& cursor, Preposition preposition) {
    auto figures = takeClockFigures(cursor);
    if (!figures) return std::nullopt;
    const auto half = takeHalfOfDay(cursor);
    const bool hasHours = half == HalfOfDay::Unknown && cursor.take(WordClass::Hours);
    if (hasHours && !figures->hasMinutes && cursor.isGerman()) {
        const auto minutes = cursor.attempt([&] {
            const auto found = cursor.takeFigures(0, 59, 2);
            return found && cursor.isAtBoundary() ? found : std::nullopt;
        });
        figures->hasMinutes = minutes.has_value();
        figures->minutes = minutes.value_or(0);
    }
    const bool isNamed = hasHours || half != HalfOfDay::Unknown;
    // "by 3 March" is no hour.
    const bool canBeBare = preposition == Preposition::At;
    if (!isNamed && !canBeBare && (!figures->hasMinutes || figures->isPoint)) return std::nullopt;
    int minutes = figures->hours * hour + figures->minutes;
    if (minutes > day) return std::nullopt;
    if (half != HalfOfDay::Unknown) {
        if (figures->hours < 1 || figures->hours > 12) return std::nullopt;
        minutes = minutes % (12 * hour) + (half == HalfOfDay::PM ? 12 * hour : 0);
    }
    const bool isOpen = half == HalfOfDay::Unknown && figures->hours >= 1 && figures->hours <= 12 && !figures->isPadded;
    return Clock{{minutes, isOpen}, confidenceOfFigures(*figures, preposition != Preposition::None, isNamed)};
}

// at nine, um acht Uhr, nine o'clock
std::optional<Clock> readHourWord(QuickEntryCursor& cursor, Preposition preposition) {
    const auto hours = cursor.peek(WordClass::Number) ? takeDialHour(cursor) : std::nullopt;
    if (!hours) return std::nullopt;
    const auto half = takeHalfOfDay(cursor);
    const bool isNamed = half != HalfOfDay::Unknown || cursor.take(WordClass::Hours);
    if (!isNamed && preposition != Preposition::At) return std::nullopt;
    const auto confidence = confidenceOfFigures({*hours}, preposition != Preposition::None, isNamed);
    if (half == HalfOfDay::Unknown) return Clock{{*hours * hour, true}, confidence};
    return Clock{{*hours * hour % (12 * hour) + (half == HalfOfDay::PM ? 12 * hour : 0)}, confidence};
}

std::optional<Clock> readNamedTime(QuickEntryCursor& cursor, Preposition preposition) {
    const bool hasPreposition = preposition != Preposition::None;
    const bool isPartOfDay = !hasPreposition && cursor.isGerman() && cursor.take(WordClass::PartPreposition);
    const auto* name = cursor.token();
    const auto minutes = cursor.take(WordClass::Clock);
    if (!minutes) return std::nullopt;
    const bool isHabit = cursor.isGerman() && name->text.back() == 's';
    const auto alone = isPartOfDay || isHabit ? Confidence::Weak : Confidence::OnlyWithMore;
    return Clock{{*minutes}, hasPreposition ? Confidence::Medium : alone};
}

}  // namespace

std::optional<PhrasePart<ClockMeaning>> readClock(QuickEntryCursor& cursor) {
    const auto readAfter = [&](auto read) {
        return cursor.attempt([&]() -> std::optional<Clock> {
            cursor.take(WordClass::Due);
            const auto preposition = cursor.take(WordClass::At)   ? Preposition::At
                                     : cursor.take(WordClass::By) ? Preposition::By
                                                                  : Preposition::None;
            const auto clock = read(cursor, preposition);
            return clock && cursor.isAtBoundary() ? clock : std::nullopt;
        });
    };
    for (const auto read : {readNamedTime, readSpoken, readHourWord, readFigures}) {
        if (auto clock = readAfter(read)) return clock;
    }
    return std::nullopt;
}

std::optional<PhrasePart<PartOfDay>> readPartOfDay(QuickEntryCursor& cursor, FollowsDay followsDay) {
    using Part = PhrasePart<PartOfDay>;
    return cursor.attempt([&]() -> std::optional<Part> {
        if (const auto habit = cursor.take(WordClass::PartHabit)) {
            return Part{static_cast<PartOfDay>(*habit), Confidence::Weak};
        }
        const bool isAtNight = cursor.take(WordClass::At).has_value();
        const bool hasPreposition = !isAtNight && cursor.take(WordClass::PartPreposition);
        if (hasPreposition && !cursor.isGerman() && !cursor.take(WordClass::The)) return std::nullopt;
        const auto part = cursor.take(WordClass::Part);
        if (!part || !cursor.isAtBoundary()) return std::nullopt;
        if (isAtNight && *part != static_cast<int>(PartOfDay::Night)) return std::nullopt;
        if (!hasPreposition && !isAtNight && followsDay == FollowsDay::No) return std::nullopt;
        return Part{static_cast<PartOfDay>(*part), Confidence::Weak};
    });
}

std::optional<PhrasePart<std::chrono::minutes>> readElapsed(QuickEntryCursor& cursor) {
    constexpr int most = 999;
    return cursor.attempt([&]() -> std::optional<Elapsed> {
        const auto sure = [](int minutes) { return Elapsed{std::chrono::minutes{minutes}, Confidence::Strong}; };
        if (!cursor.take(WordClass::In)) return std::nullopt;
        const bool isHalf = cursor.take(WordClass::Half).has_value();
        const auto article = cursor.take(WordClass::Article);
        const bool isFraction = isHalf || cursor.take(WordClass::Half);
        const auto isHour = [&] { return cursor.take(WordClass::Unit) == static_cast<int>(QuickEntryUnit::Hour); };
        if (isFraction) return isHour() && cursor.isAtBoundary() ? std::optional(sure(30)) : std::nullopt;
        if (const auto minutes = article ? cursor.take(WordClass::Minutes) : std::nullopt) return sure(*minutes);
        if (article && cursor.take(WordClass::Quarter)) {
            cursor.take(WordClass::Of);
            cursor.take(WordClass::Article);
            return isHour() && cursor.isAtBoundary() ? std::optional(sure(15)) : std::nullopt;
        }
        const auto count = article ? article : cursor.takeNumber(1, most);
        const auto unit = count ? cursor.take(WordClass::Unit) : std::nullopt;
        if (unit == static_cast<int>(QuickEntryUnit::Minute)) {
            cursor.takeAbbreviationMark();
            return cursor.isAtBoundary() ? std::optional(sure(*count)) : std::nullopt;
        }
        if (unit != static_cast<int>(QuickEntryUnit::Hour)) return std::nullopt;
        cursor.takeAbbreviationMark();
        return cursor.isAtBoundary() ? std::optional(sure(*count * hour)) : std::nullopt;
    });
}

}  // namespace zun
