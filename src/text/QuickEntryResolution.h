#pragma once

// What a phrase means at a moment: dates on the wall calendar of a zone, by the user's morning and evening hours. A
// time that a clock change skips comes out later by the gap; of a repeated one the first is meant.

#include <cstdint>
#include <optional>

#include "platform/foundation/NSCalendar.h"
#include "platform/foundation/NSDate.h"
#include "text/QuickEntryPhrase.h"

namespace zun {

struct QuickEntryDates {
    NSDate start;
    OptionalDate end{};
};

class QuickEntryResolver {
  public:
    struct Habits {
        int morningHour;
        int eveningHour;
        bool twelveHours;  // 1 to 5 without am or pm are hours of the afternoon
    };

    // The calendar must outlive the resolver.
    QuickEntryResolver(const NSCalendar& calendar, NSDate now, Habits habits);

    // Empty if the phrase means no day, or one that has passed.
    [[nodiscard]] std::optional<QuickEntryDates> dates(const PhraseMeaning& meaning) const;

  private:
    // Where a search begins: no day before this one, no moment up to that one.
    struct Bound {
        std::int64_t day;
        NSDate after;
    };

    [[nodiscard]] NSDate instant(std::int64_t day, int minutes) const;
    [[nodiscard]] std::optional<int> minutesOf(const PhraseMeaning& meaning) const;
    [[nodiscard]] OptionalDate startOf(const PhraseMeaning& meaning) const;
    [[nodiscard]] OptionalDate startToday(const PhraseMeaning& meaning) const;
    [[nodiscard]] OptionalDate firstOnWeekdays(int weekdays, int minutes, Bound bound) const;
    [[nodiscard]] OptionalDate endOf(const DayMeaning& until, NSDate start) const;
    [[nodiscard]] std::optional<Bound> boundFrom(const DayMeaning& from) const;
    [[nodiscard]] bool isAhead(std::int64_t day, int minutes, Bound bound) const;

    // The day that is meant, with a moment after the bound at those minutes where the day is searched for.
    using FoundDay = std::optional<std::int64_t>;
    [[nodiscard]] FoundDay find(const DayMeaning& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const DaysAhead& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const MonthsAhead& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const WeekdayAhead& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const WeekendAhead& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const CalendarDay& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const DayOfMonth& day, int minutes, Bound bound) const;
    [[nodiscard]] FoundDay find(const StartOfNext& day, int minutes, Bound bound) const;

    const NSCalendar& _calendar;
    NSDate _now;
    std::int64_t _today;
    Habits _habits;
};

}  // namespace zun
