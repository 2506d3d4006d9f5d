#pragma once

// Days of the proleptic Gregorian calendar by number, for arithmetic that must be quick. std::chrono's years end at
// 32767, short of what NSDate can say.

#include <chrono>
#include <cstdint>

#include "platform/foundation/NSTimeZone.h"

namespace zun {

struct CivilDate {
    std::int64_t year;  // 0 is 1 BC
    int month;          // 1 to 12
    int day;            // 1 to 31

    bool operator==(const CivilDate&) const = default;
};

[[nodiscard]] constexpr std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

[[nodiscard]] constexpr bool isLeapYear(std::int64_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

[[nodiscard]] constexpr int daysInMonth(std::int64_t year, int month) {
    if (month == 2) return isLeapYear(year) ? 29 : 28;
    return 30 + (month + month / 8) % 2;
}

// Days since 1970-01-01. Years are counted from March here, so that the leap day is a year's last.
[[nodiscard]] constexpr std::int64_t dayNumber(const CivilDate& date) {
    const std::int64_t year = date.year - (date.month <= 2 ? 1 : 0);
    const std::int64_t era = floorDivide(year, 400);
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (date.month + (date.month > 2 ? -3 : 9)) + 2) / 5 + date.day - 1;
    return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

[[nodiscard]] constexpr CivilDate civilDate(std::int64_t dayNumber) {
    const std::int64_t era = floorDivide(dayNumber + 719'468, 146'097);
    const auto dayOfEra = static_cast<std::uint32_t>(dayNumber + 719'468 - era * 146'097);
    const std::uint32_t yearOfEra = (dayOfEra - dayOfEra / 1'460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const auto month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month,
            static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1)};
}

// 1 Sunday to 7 Saturday.
[[nodiscard]] constexpr int weekdayOfDay(std::int64_t dayNumber) {
    return static_cast<int>(dayNumber + 4 - floorDivide(dayNumber + 4, 7) * 7) + 1;
}

// That time on that day; the ends of what can be said where it lies beyond.
[[nodiscard]] constexpr LocalTime wallTime(std::int64_t dayNumber, std::chrono::microseconds timeOfDay) {
    std::int64_t result = 0;
    if (!__builtin_mul_overflow(dayNumber, std::int64_t{86'400'000'000}, &result) &&
        !__builtin_add_overflow(result, timeOfDay.count(), &result)) {
        return LocalTime{std::chrono::microseconds{result}};
    }
    return dayNumber < 0 ? LocalTime::min() : LocalTime::max();
}

}  // namespace zun
