#pragma once

// A series without weekdays: each date is the one before plus a number of days or months on the wall clock. It stands
// on one of its dates, at first the anchor, and moves only forward.
//
// A walk bends where a date does not come out as the arithmetic from its first date says: where the day is cut to the
// end of a short month, and where the time falls into a gap of the zone. What comes after such a bend goes on from the
// bent date. Between two bends the arithmetic holds, so moving on costs a look at the bends and not at the dates
// between them.
//
// Not for several threads at once. The zone must outlive the series.

#include <cstdint>
#include <optional>

#include "dates/WallMoment.h"

namespace zun {

class PlainSeries {
  public:
    enum class Unit { Day, Month };
    struct Step {
        Unit unit;
        std::int64_t count;  // 1 to 2^32
    };

    // The step of a repeat type (1 days, 2 weeks, 3 months, 4 years); empty for others. An interval below 1 counts
    // as 1.
    [[nodiscard]] static std::optional<Step> stepForRepeatType(std::uint64_t type, std::int64_t interval);

    PlainSeries(const NSTimeZone& zone, const WallMoment& anchor, Step step);

    // NSDate::max() once the series has run past what can be said.
    [[nodiscard]] NSDate date() const { return _now.date; }
    void moveToLastOnOrBefore(const WallMoment& moment);
    void move(std::int64_t steps);
    // The date that move(1) would come to.
    [[nodiscard]] NSDate next() const;

  private:
    [[nodiscard]] std::int64_t stepsToEnd() const;
    // One step or more: where it stands now may be the second of a repeated hour, which the wall time alone would not
    // give back.
    [[nodiscard]] std::int64_t dayAfter(std::int64_t steps) const;
    [[nodiscard]] NSDate dateAfter(std::int64_t steps) const;
    [[nodiscard]] std::int64_t stepsUpTo(const WallMoment& moment) const;
    [[nodiscard]] std::optional<std::int64_t> stepsToDay(std::int64_t day) const;
    [[nodiscard]] std::optional<std::int64_t> firstCutDay(std::int64_t mostSteps) const;
    [[nodiscard]] std::optional<std::int64_t> firstSkippedTime(std::int64_t mostSteps) const;
    [[nodiscard]] std::optional<std::int64_t> firstBend(std::int64_t mostSteps) const;
    void standOn(const WallMoment& moment);

    const NSTimeZone& _zone;
    Step _step;
    WallMoment _now;
    std::int64_t _month = 0;  // since the start of year 0; with Unit::Month only
    int _dayOfMonth = 0;
};

}  // namespace zun
