#pragma once

#include <chrono>
#include <cstdint>

#include "platform/foundation/NSDate.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

// An instant, and what calendar and clock show at it in a zone.
struct WallMoment {
    NSDate date;
    std::int64_t day;  // since 1970-01-01
    std::chrono::microseconds timeOfDay;

    [[nodiscard]] static WallMoment of(NSDate date, const NSTimeZone& zone) {
        const auto wall = zone.localTime(date);
        // Not the difference between the two: the first day of all begins before what microseconds reach.
        constexpr std::chrono::days one{1};
        const auto timeOfDay = (wall.time_since_epoch() % one + one) % one;
        return {date, std::chrono::floor<std::chrono::days>(wall).time_since_epoch().count(), timeOfDay};
    }

    [[nodiscard]] std::chrono::seconds secondOfDay() const {
        return std::chrono::floor<std::chrono::seconds>(timeOfDay);
    }
};

}  // namespace zun
