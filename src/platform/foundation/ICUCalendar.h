#pragma once

// ICU's calendar as NSCalendar uses it: proleptic Gregorian, counting wall-clock time as if it were UTC, with the week
// rules of a locale. One per thread and locale; belongs to the thread that asked for it.

#include <unicode/gregocal.h>

#include <string>

#include "platform/foundation/NSTimeZone.h"

namespace zun {

class ICUCalendar {
  public:
    // The calling thread's calendar for the locale, set to that first weekday; 0 stands for the locale's own.
    [[nodiscard]] static ICUCalendar& forLocale(const std::string& localeIdentifier, int firstWeekday);

    [[nodiscard]] int firstWeekday() const { return _ownFirstWeekday; }

    void setTime(LocalTime wall);
    // The time that is set, with the fraction of a second of the one that was set last.
    [[nodiscard]] LocalTime time();
    [[nodiscard]] int get(UCalendarDateFields field);
    void clear();
    void set(UCalendarDateFields field, int value);
    void add(UCalendarDateFields field, int value);

    // Milliseconds after the start of that day at which a weekend begins; empty if none begins on it.
    [[nodiscard]] std::optional<int> weekendOnset(int weekday);

  private:
    explicit ICUCalendar(const std::string& localeIdentifier);

    icu::GregorianCalendar _calendar;
    int _ownFirstWeekday;
    std::chrono::microseconds _belowSecond{0};
};

}  // namespace zun
