#pragma once

// A time zone read from the system's own TZif files (RFC 8536), so that its rules are as new as the system's tzdata.
// Immutable and shared between threads.

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/NSDate.h"

namespace zun {

// Wall-clock time: microseconds since 1970-01-01T00:00:00 on the clock on the wall.
using LocalTime = std::chrono::local_time<std::chrono::microseconds>;

class NSTimeZone {
  public:
    // A stretch of time with one offset from UTC: begin <= t < end.
    struct Span {
        NSDate begin;
        NSDate end;
        std::chrono::seconds offset;
    };

    // The zone of that name ("Europe/Berlin") or null if the system has no such file. May read a file; cached by name.
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> named(std::string_view name);
    // The zone that a TZ variable names: a zone name, ":name", a path, or a POSIX rule; UTC if it cannot be read.
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> fromVariable(std::string_view tz);
    [[nodiscard]] static std::shared_ptr<const NSTimeZone> utc();

    [[nodiscard]] const std::string& name() const { return _name; }
    [[nodiscard]] std::chrono::seconds offsetAt(NSDate date) const { return spanAt(date).offset; }
    // The span that holds the date. The outermost spans reach to the ends of what NSDate can say.
    [[nodiscard]] Span spanAt(NSDate date) const;

    [[nodiscard]] LocalTime localTime(NSDate date) const;
    // A wall time that a spring gap skips is read with the offset before the gap, so 02:30 becomes 03:30; of a wall time
    // that an autumn fold repeats, the first is meant.
    [[nodiscard]] NSDate instant(LocalTime wall) const;

  private:
    class Reader;

    struct Transition {
        std::chrono::sys_seconds at;
        std::chrono::seconds offset;
    };

    std::string _name;
    std::chrono::seconds _firstOffset{0};
    std::vector<Transition> _transitions;  // ascending; explicit ones, then those of the footer's rule up to year 2500
};

}  // namespace zun
