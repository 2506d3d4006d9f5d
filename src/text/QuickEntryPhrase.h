#pragma once

// What a date phrase means, before it is known what day it is. Plain values.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>

#include "text/QuickEntryWords.h"

namespace zun {

enum class WhichWeek { Coming, Next };

struct DaysAhead {
    int days;
};
struct MonthsAhead {
    int months;
};
// The next such day; or the one in the week after this one.
struct WeekdayAhead {
    int weekday;
    WhichWeek week = WhichWeek::Coming;
};
struct WeekendAhead {
    WhichWeek week = WhichWeek::Coming;
};
// The next such day if there is no year; `weekday` must agree with it.
struct CalendarDay {
    std::optional<int> year;
    int month;
    int day;
    std::optional<int> weekday{};
};
struct DayOfMonth {
    int day;
};
// The first day of the next week, month or year.
struct StartOfNext {
    QuickEntryUnit unit;
};
using DayMeaning =
    std::variant<DaysAhead, MonthsAhead, WeekdayAhead, WeekendAhead, CalendarDay, DayOfMonth, StartOfNext>;

struct ClockMeaning {
    int minutes;          // after midnight; 24 * 60 is the end of the day
    bool isOpen = false;  // 1 to 12, without a word on which half of the day
};

struct RepeatMeaning {
    std::uint64_t type;
    int interval = 1;
    int weekdays = 0;  // a bit for each, 1 << weekday
};

struct PhraseMeaning {
    std::optional<DayMeaning> day, from, until;
    std::optional<ClockMeaning> clock;
    std::optional<PartOfDay> part;
    std::optional<std::chrono::minutes> elapsed;
    std::optional<RepeatMeaning> repeat;
};

// Where a phrase is believed to be one.
enum class Confidence {
    OnlyWithMore,  // next to another part of a phrase: "Fri", "3/4"
    Weak,          // at the end of a title, or set off on both sides: "Friday", "at 9"
    Medium,        // also at the start: "tomorrow"
    Strong,        // anywhere: "every Friday", "tomorrow at 9"
};

// A part of a phrase with how much it takes to be believed alone.
template <typename Meaning>
struct PhrasePart {
    Meaning meaning;
    Confidence confidence;
};

struct QuickEntryPhrase {
    std::size_t begin;  // tokens
    std::size_t end;
    PhraseMeaning meaning;
    Confidence confidence;
};

}  // namespace zun
