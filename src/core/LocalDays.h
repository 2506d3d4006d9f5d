#pragma once

// The days on which moments fall on the wall, as numbers: days since 1970-01-01, months since the year 0. Quick for
// many moments in some order, since the zone is asked only when its offset may have changed. One thread at a time.

#include <cstdint>
#include <memory>
#include <utility>

#include "platform/foundation/CivilDate.h"
#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

class LocalDays {
  public:
    explicit LocalDays(std::shared_ptr<const NSTimeZone> zone) : _zone(std::move(zone)) {}

    [[nodiscard]] std::int64_t dayOf(NSDate date) {
        if (date < _span.begin || date >= _span.end) _span = _zone->spanAt(date);
        std::int64_t wall = 0;
        const std::int64_t offset = std::chrono::microseconds(_span.offset).count();
        // What lies beyond what can be said falls on its last day.
        if (__builtin_add_overflow(date.time_since_epoch().count(), offset, &wall))
            wall = offset < 0 ? NSDate::min().time_since_epoch().count() : NSDate::max().time_since_epoch().count();
        return floorDivide(wall, 86'400'000'000);
    }
    [[nodiscard]] static std::int64_t monthOfDay(std::int64_t day) {
        const CivilDate date = civilDate(day);
        return date.year * 12 + date.month - 1;
    }

  private:
    std::shared_ptr<const NSTimeZone> _zone;
    NSTimeZone::Span _span{NSDate::max(), NSDate::min(), {}};
};

}  // namespace zun
