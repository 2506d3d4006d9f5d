#pragma once

// The slow oracle: every series walked from its anchor, one calendar addition or one search at a time. Only for input
// that such a walk can end on: intervals of 1 and more, units for series without weekdays.

#include <cstdint>
#include <vector>

#include "dates/RepeatEngine.h"

namespace zun {

class RepeatReplay {
  public:
    explicit RepeatReplay(const Environment& environment) : _calendar(NSCalendar::current(environment)) {}

    struct Call {
        NSDate date;
        std::uint64_t type;
        std::int64_t interval;
        int dayOrdinal;
        AdvancementOption option;
        std::int64_t count;
        NSDate currentDate;
    };
    [[nodiscard]] OptionalDate advance(Call call) const;
    [[nodiscard]] std::vector<NSDate> advanceToNextWeek(Call call, std::vector<int> ordinals) const;
    [[nodiscard]] std::vector<NSDate> advanceBetween(Call call, NSDate minimum, NSDate maximum) const;
    [[nodiscard]] std::vector<NSDate> occurrences(const RepeatRule& rule, NSDate from, NSDate to) const;

  private:
    [[nodiscard]] NSDate add(NSDate date, std::uint64_t type, std::int64_t interval) const;
    [[nodiscard]] NSDate counted(const Call& call) const;
    [[nodiscard]] OptionalDate advancePlain(const Call& call) const;
    [[nodiscard]] OptionalDate advanceWeekday(const Call& call) const;
    [[nodiscard]] OptionalDate stepWeeks(const Call& call, const NSDateComponents& match, bool onOrdinal,
                                         bool sameWeek) const;
    [[nodiscard]] NSDate nextMatch(NSDate date, const NSDateComponents& match) const;

    NSCalendar _calendar;
};

}  // namespace zun
