#pragma once

// The dates of a rule on one weekday: the anchor's hour, minute and second on that weekday, from the anchor on. The
// time is matched anew on each day, so nothing sticks, and any date of the series is found without those before it.

#include <cstdint>

#include "dates/WallMoment.h"
#include "platform/foundation/CivilDate.h"

namespace zun {

class WeekdaySeries {
  public:
    // ordinal: 1 Sunday to 7 Saturday. The zone must outlive the series.
    WeekdaySeries(const NSTimeZone& zone, const WallMoment& anchor, int ordinal);

    [[nodiscard]] bool anchorIsOnWeekday() const { return _anchorIsOnWeekday; }
    // The first match strictly after the anchor.
    [[nodiscard]] NSDate firstMatch() const { return _firstMatch; }
    // Whether the first match lies in the anchor's week, Monday to Sunday, and in its year.
    [[nodiscard]] bool sameWeek() const { return _sameWeek; }

    [[nodiscard]] NSDate firstMatchAfter(NSDate date) const;
    // The match that many weeks after the first one.
    [[nodiscard]] NSDate matchAfterWeeks(std::int64_t weeks) const { return match(_firstDay + 7 * weeks); }

    // Of the matches `start`, `start + interval`, `start + 2 interval`... weeks after the first one: how many intervals
    // the first that lies after the moment is beyond `start`.
    [[nodiscard]] std::int64_t intervalsToAfter(const WallMoment& moment, std::int64_t start,
                                                std::int64_t interval) const;

  private:
    [[nodiscard]] NSDate match(std::int64_t day) const;
    [[nodiscard]] std::int64_t dayOfFirstMatchAfter(const WallMoment& moment) const;

    const NSTimeZone& _zone;
    std::chrono::seconds _time;
    int _ordinal;
    std::int64_t _firstDay;
    NSDate _firstMatch;
    bool _anchorIsOnWeekday;
    bool _sameWeek;
};

}  // namespace zun
