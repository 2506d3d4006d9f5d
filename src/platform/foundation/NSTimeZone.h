#pragma once

// A time zone read from the system's own TZif files (RFC 8536), so that its rules are as new as the system's tzdata.
// Immutable and shared between threads.

#include <bitset>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/NSDate.h"

namespace zun {

// Wall-clock time: microseconds since 1970-01-01T00:00:00 on the clock on the wall.
using LocalTime = std::chrono::local_time<std::chrono::microseconds>;

struct PosixTimeZoneRule;
struct TZifContents;

class NSTimeZone {
  public:
    // A stretch of time with one offset from UTC: begin <= t < end.
    struct Span {
        NSDate begin;
        NSDate end;
        std::chrono::seconds offset;
    };
    // A forward jump of the clock at one instant. It skips the wall times begin <= t < end.
    struct Gap {
        NSDate at;
        LocalTime begin;
        LocalTime end;
    };
    // What a skipped wall time is taken for.
    enum class SkippedTime {
        LaterByGap,    // read with the offset before the gap: 02:30 becomes 03:30
        EarlierByGap,  // read with the offset after the gap: 02:30 becomes 01:30
        EndOfGap,      // the first time that exists again: 03:00
    };

    // The zone of that name ("Europe/Berlin") or null if the system has no such file. May read a file; cached by name
    // until the file changes.
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> named(std::string_view name);
    // The zone that a TZ variable names: a zone name, ":name", a path, or a POSIX rule; UTC if it cannot be read.
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> fromVariable(std::string_view tz);
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> utc();
    // From the bytes of a TZif file; null if they are damaged. Leap seconds are not looked at.
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> fromFileContents(std::string name, std::string_view bytes);
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> fromRule(std::string name, const PosixTimeZoneRule& rule);

    [[nodiscard]] const std::string& name() const { return _name; }
    [[nodiscard]] std::chrono::seconds offsetAt(NSDate date) const { return spanAt(date).offset; }
    // The span that holds the date. The outermost spans reach to the ends of what NSDate can say.
    [[nodiscard]] Span spanAt(NSDate date) const;

    // Times beyond what NSDate can say come out at its ends, here and in instant().
    [[nodiscard]] LocalTime localTime(NSDate date) const;
    // Of a wall time that an autumn fold repeats, the first is meant.
    [[nodiscard]] NSDate instant(LocalTime wall, SkippedTime ifSkipped = SkippedTime::LaterByGap) const;

    // False if no gap of the zone ever skips this time of day, which holds for most. True may err by a minute.
    [[nodiscard]] bool mightSkip(std::chrono::microseconds timeOfDay) const {
        return _skippedMinutes[static_cast<std::size_t>(timeOfDay / std::chrono::minutes{1}) % _skippedMinutes.size()];
    }
    // All gaps are numbered in order of time. The number of the first one after the date, for a walk through gap().
    [[nodiscard]] std::size_t gapNumberAfter(NSDate date) const;
    // Empty when the zone has no gap of that number.
    [[nodiscard]] std::optional<Gap> gap(std::size_t number) const;

  private:
    struct Transition {
        NSDate at;
        std::chrono::seconds offset;
    };

    NSTimeZone(std::string name, const TZifContents& contents);
    void addTransition(std::chrono::sys_seconds at, std::chrono::seconds offset);
    void addRule(const PosixTimeZoneRule& rule);
    void findGaps();
    [[nodiscard]] std::size_t transitionAfter(NSDate date) const;
    [[nodiscard]] std::chrono::seconds offsetBefore(std::size_t transition) const;
    [[nodiscard]] std::chrono::microseconds shiftIntoTable(NSDate date) const;

    std::string _name;
    std::chrono::seconds _firstOffset{0};
    // Ascending, each with another offset than the one before: the file's own, then those of its closing rule up to the
    // year 2500 or later. The calendar repeats itself every 400 years, weekdays included, so a date at or after
    // _tableEnd is answered by one 400 years earlier, or a multiple of it.
    std::vector<Transition> _transitions;
    NSDate _tableEnd = NSDate::max();

    std::vector<Gap> _gaps;
    std::size_t _repeatingGaps = 0;  // how many of the last ones come again every 400 years
    std::bitset<24 * 60> _skippedMinutes;
};

}  // namespace zun
