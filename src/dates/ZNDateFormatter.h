#pragma once

// Dates as words, in the formats that the string table sets and the order that the user's region uses. Field names and
// digits are those of the locale of formats, whatever the language of the texts. The year is always the Gregorian one.
//
// Any thread: the ICU formatters stay with the thread that made them and are made again when the locale changes. Some
// microseconds a call, a fifth of a millisecond for the first of a thread. Nothing fails: a pattern that ICU cannot
// read gives an empty text.

#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSDate.h"

namespace zun {

enum class ShowTime { No, Yes };
enum class ShowYear { No, Yes };
enum class UseShortStrings { No, Yes };

class ZNDateFormatter {
  public:
    // Both must outlive the formatter.
    ZNDateFormatter(const Environment& environment, const LocalizedStrings& strings)
        : _environment(environment), _strings(strings) {}

    // "Wed, Jan 14, 2026, 10:00 AM". The time always stands last, after a comma.
    [[nodiscard]] std::string dateAsShortStringWithWeekdayDayMonthYear(ShowTime showTime, ShowYear showYear,
                                                                       NSDate forDate) const;
    // The same with the year.
    [[nodiscard]] std::string dateAsShortStringWithWeekdayDayMonthYear(ShowTime showTime, NSDate forDate) const;
    // The region's short time, "10:00 AM" (with the narrow blank that ICU puts there) or "10:00".
    [[nodiscard]] std::string dateAsTimeForDate(NSDate date) const;
    // What the region writes for before and after noon, "AM" and "PM".
    [[nodiscard]] std::string AMSymbol() const;
    [[nodiscard]] std::string PMSymbol() const;
    [[nodiscard]] std::string shortStringWithWeekdayAndIntegerDayMonthYearForDate(NSDate date) const;
    [[nodiscard]] std::string monthAndDayStringForDate(NSDate date) const;
    [[nodiscard]] std::string monthAndYearStringForDate(NSDate date) const;
    [[nodiscard]] std::string dayStringForDate(NSDate date) const;
    [[nodiscard]] std::string dayStringAsWeekdayForDate(NSDate date) const;
    [[nodiscard]] std::string dayStringAsLongWeekdayForDate(NSDate date) const;

    // Seven names, Sunday first: as they read inside a date, and as they read alone.
    [[nodiscard]] std::vector<std::string> weekdayStrings() const;
    [[nodiscard]] std::vector<std::string> standaloneWeekdaySymbols(UseShortStrings useShortStrings) const;

  private:
    [[nodiscard]] std::string stringWithFormatOfKey(std::string_view key, NSDate date) const;

    const Environment& _environment;
    const LocalizedStrings& _strings;
};

}  // namespace zun
