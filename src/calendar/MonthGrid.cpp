#include "calendar/MonthGrid.h"

#include <algorithm>

#include "toolkit/DayKeys.h"

namespace zun {
namespace {

constexpr int monthsInYear = 12;

NSDate dayOf(const NSCalendar& calendar, int year, int month, int day) {
    NSDateComponents components;
    components.year = year;
    components.month = month;
    components.day = day;
    return calendar.startOfDayForDate(calendar.dateFromComponents(components));
}

int lengthOfMonth(int year, int month) {
    const std::chrono::year_month_day_last last(
        std::chrono::year(year), std::chrono::month_day_last(std::chrono::month(static_cast<unsigned>(month))));
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

}  // namespace

MonthGrid::MonthGrid(const NSCalendar& calendar, NSDate date) {
    const auto shown = calendar.components(date);
    const int year = *shown.year;
    const int month = *shown.month;
    const int first = columnForWeekday(calendar.weekday(dayOf(calendar, year, month, 1)), calendar);
    const int length = lengthOfMonth(year, month);
    const int previousMonth = month == 1 ? monthsInYear : month - 1;
    const int previousLength = lengthOfMonth(year, previousMonth);
    for (int i = 0; i < rows * columns; ++i) {
        auto& day = _days[static_cast<std::size_t>(i)];
        const int running = i - first + 1;
        if (i < first) {
            day.month = Month::Previous;
            day.number = previousLength - first + i;
            day.date = dayOf(calendar, month == 1 ? year - 1 : year, previousMonth, day.number);
        } else if (running <= length) {
            day.month = Month::Current;
            day.number = running;
            day.date = dayOf(calendar, year, month, day.number);
        } else {
            day.month = Month::Next;
            day.number = running - length;
            day.date = dayOf(calendar, month == monthsInYear ? year + 1 : year, month == monthsInYear ? 1 : month + 1,
                             day.number);
        }
    }
}

int MonthGrid::stepForClick(const NSCalendar& calendar, NSDate clicked, NSDate date) {
    const int clickedMonth = *calendar.components(clicked).month;
    const int month = *calendar.components(date).month;
    return clickedMonth == month ? 0 : clickedMonth > month ? 1 : -1;
}

NSDate MonthGrid::stepMonth(const NSCalendar& calendar, NSDate date, int months) {
    const auto from = calendar.components(date);
    int year = *from.year;
    int month = *from.month + months;
    if (month > monthsInYear) {
        month = 1;
        ++year;
    } else if (month <= 0) {
        month = monthsInYear;
        --year;
    }
    return dayOf(calendar, year, month, std::min(*from.day, lengthOfMonth(year, month)));
}

}  // namespace zun
