#pragma once

// Which days a month's grid of six weeks shows, and what a click or a step means to it. Pure arithmetic on the user's
// calendar. Weeks start where the calendar's do.
//
// The days before the first are counted from the previous month's length less the first's column, so the one beside the
// first is one short of that month's last day. A click compares month numbers alone: January in a December grid is
// earlier.

#include <array>
#include <optional>

#include "platform/foundation/NSCalendar.h"

namespace zun {

class MonthGrid {
  public:
    static constexpr int rows = 6;
    static constexpr int columns = 7;
    enum class Month { Previous, Current, Next };
    struct Day {
        NSDate date;  // the start of the day
        int number;   // in its month
        Month month;
    };

    // The grid of the month in which the date lies.
    MonthGrid(const NSCalendar& calendar, NSDate date);

    [[nodiscard]] const Day& day(int row, int column) const {
        return _days[static_cast<std::size_t>(row * columns + column)];
    }

    // The months to step when this day was clicked in the grid of `date`: -1, 0 or 1.
    [[nodiscard]] static int stepForClick(const NSCalendar& calendar, NSDate clicked, NSDate date);
    // The month number moves by `months`; beyond December it is January of the next year, before January December of
    // the year before. From the 31st to the last day of a shorter month.
    [[nodiscard]] static NSDate stepMonth(const NSCalendar& calendar, NSDate date, int months);
    // The start of the date's day.
    [[nodiscard]] static NSDate normalised(const NSCalendar& calendar, NSDate date) {
        return calendar.startOfDayForDate(date);
    }

  private:
    std::array<Day, static_cast<std::size_t>(rows* columns)> _days;
};

}  // namespace zun
