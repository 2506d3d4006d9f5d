#pragma once

// The rule of a POSIX TZ string, "CET-1CEST,M3.5.0,M10.5.0/3": the offsets of a zone and the two moments of each year
// at which they change. TZ variables and the last line of TZif files are written in it.

#include <array>
#include <chrono>
#include <optional>
#include <string_view>

namespace zun {

struct PosixTimeZoneRule {
    // A day of each year and a time on it.
    struct Moment {
        enum class Kind {
            JulianDayWithoutLeapDay,  // "J60": 1 to 365, 29 February never counted
            DayOfYear,                // "59": 0 to 365
            WeekdayOfMonth,           // "M3.5.0": month, week (5 the last), weekday (0 Sunday)
        };
        Kind kind = Kind::WeekdayOfMonth;
        int day = 0;
        int month = 1;
        int week = 1;
        int weekday = 0;
        std::chrono::seconds time{7200};  // wall time before the change; -167 to 167 hours

        // As if the wall clock were UTC.
        [[nodiscard]] std::chrono::sys_seconds inYear(int year) const;
    };
    struct Change {
        std::chrono::sys_seconds at;
        std::chrono::seconds offset;
    };
    struct DaylightSaving {
        std::chrono::seconds offset{};
        Moment begins;
        Moment ends;
    };

    std::chrono::seconds standardOffset{};  // east of Greenwich is positive
    std::optional<DaylightSaving> daylightSaving;

    // Empty if the text is anything else. Names of three letters or more, or quoted: "<+03>-3". Without moments the
    // changes are those of New York, as elsewhere on this platform.
    [[nodiscard]] static std::optional<PosixTimeZoneRule> parse(std::string_view text);

    // The two changes of a year, ascending; of changes at one instant the last holds. Needs daylight saving.
    [[nodiscard]] std::array<Change, 2> changesInYear(int year) const;
};

}  // namespace zun
