#pragma once

// Which occurrence of a repeat rule comes next, or which was the last? Knows nothing of reminders and keeps no cursor:
// each call answers from the anchor of the series, the very date that walking from it step by step would give, at the
// cost of a few look-ups.
//
//   plain series     previous + interval units of wall time. A clamp at a month's end sticks (31 Jan: 28 Feb, 28 Mar),
//   and so
//                    does the shift out of a daylight-saving gap (02:30 moved to 03:30 stays 03:30).
//   weekday series   the anchor's hour, minute and second on that weekday, every `interval` weeks from the anchor's
//   week. The
//                    time is matched anew each week: in a gap it is earlier by the gap's length, and only that once.
//
// Bad input has an answer everywhere: an interval below 1 counts as 1, a day ordinal outside 1 to 7 as none; a series
// that runs past what NSDate can say has its next occurrence at NSDate::max(). Any thread; does not block. The zone is
// asked for anew in every call.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/foundation/Environment.h"
#include "platform/foundation/NSCalendar.h"
#include "platform/foundation/NSDate.h"

namespace zun {

enum class AdvancementOption {
    Counted = 0,  // the occurrence number `repeatCount`, with no look at the current date
    Next = 1,     // the first occurrence after the current date, plus `repeatCount` further steps on a plain series
    Last = 2,     // the last occurrence on or before the current date
};

// What a record says of its series. Values of `type`: 1 days, 2 weeks, 3 months, 4 years; every other one has no unit.
struct RepeatRule {
    NSDate anchor;
    std::uint64_t type = 0;
    std::int64_t interval = 1;
    std::vector<int> ordinals;  // 1 Sunday to 7 Saturday; with any, the rule is weekly whatever the unit
    OptionalDate end;           // an occurrence exactly on it still counts
};

class RepeatEngine {
  public:
    // The environment must outlive the engine.
    explicit RepeatEngine(const Environment& environment) : _environment(environment) {}

    // Empty for AdvancementOption::Last on a weekday series whose anchor is after the current date (logged). A type
    // without unit gives the anchor (logged). A negative repeatCount counts as 1. An occurrence within the very second
    // of the current date counts as passed.
    [[nodiscard]] OptionalDate advanceDate(NSDate date, std::uint64_t withType, std::int64_t withInterval,
                                           int withDayOrdinal, AdvancementOption withAdvancementOption,
                                           std::int64_t withRepeatCount, NSDate withCurrentDate) const;
    // The same with the current date set to now.
    [[nodiscard]] OptionalDate advanceDate(NSDate date, std::uint64_t withType, std::int64_t withInterval,
                                           int withDayOrdinal, AdvancementOption withAdvancementOption,
                                           std::int64_t withRepeatCount = 0) const;

    // All that lies strictly between the two dates: with Next, the occurrences after now, each found from the one
    // before. Empty for a type without unit (logged). Ends at the first answer that brings no progress, and after
    // maximumPasses of them.
    [[nodiscard]] std::vector<NSDate> advanceDate(NSDate date, std::uint64_t withType, std::int64_t withInterval,
                                                  int withDayOrdinal, AdvancementOption withAdvancementOption,
                                                  NSDate withMinimumDate, NSDate withMaximumDate) const;
    static constexpr std::size_t maximumPasses = 100'000;

    // One date per ordinal of a weekly rule on several weekdays, ascending. For the next occurrence take the first of
    // Next, for the last one the last of Last. Empty altogether if one of the weekdays has no answer.
    [[nodiscard]] std::vector<NSDate> advanceToNextWeekWithDate(NSDate date, std::int64_t withInterval,
                                                                std::span<const int> withDayOrdinals,
                                                                AdvancementOption withAdvancementOption,
                                                                std::int64_t withRepeatCount,
                                                                NSDate withCurrentDate) const;

    // The date plus |interval * count| units, and then once more its own hour, minute and second as elapsed time.
    [[nodiscard]] NSDate findNextDateAfterDate(NSDate date, std::uint64_t withRepeatType, std::int64_t repeatInterval,
                                               std::int64_t repeatCount) const;

    // The occurrences of the rule strictly between the two dates, ascending, at most `maximumCount`: the anchor, then
    // every one that completing them in turn would come to, up to the end date. A rule without unit has its anchor
    // alone.
    [[nodiscard]] std::vector<NSDate> trueOccurrences(const RepeatRule& rule, NSDate from, NSDate to,
                                                      std::size_t maximumCount) const;

    // 1 Sunday to 7 Saturday.
    [[nodiscard]] int ordinalForDate(NSDate date) const;
    [[nodiscard]] int currentDayOrdinal() const;

    [[nodiscard]] static NSCalendarUnit calendarUnitForRepeatType(std::uint64_t type);

  private:
    const Environment& _environment;
};

}  // namespace zun
