#include "toolkit/DayKeys.h"

namespace zun {

int columnForWeekday(int weekday, const NSCalendar& calendar) {
    const int column = weekday - calendar.firstWeekday();
    return column < 0 ? column + 7 : column;
}

std::optional<NSDate> dayAfterKey(const QKeyEvent& event, NSDate day, const NSCalendar& calendar,
                                  Qt::LayoutDirection direction) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const bool isPageKey = event.key() == Qt::Key_PageUp || event.key() == Qt::Key_PageDown;
    if (modifiers != Qt::NoModifier && !(isPageKey && modifiers == Qt::ShiftModifier)) return std::nullopt;
    const int onwards = direction == Qt::RightToLeft ? -1 : 1;
    const auto by = [&](NSCalendarUnit unit, int value) { return calendar.dateByAddingUnit(unit, value, day); };
    const auto paged = modifiers == Qt::ShiftModifier ? NSCalendarUnit::Year : NSCalendarUnit::Month;
    const int column = columnForWeekday(calendar.weekday(day), calendar);
    switch (event.key()) {
        case Qt::Key_Left:
            return by(NSCalendarUnit::Day, -onwards);
        case Qt::Key_Right:
            return by(NSCalendarUnit::Day, onwards);
        case Qt::Key_Up:
            return by(NSCalendarUnit::Day, -7);
        case Qt::Key_Down:
            return by(NSCalendarUnit::Day, 7);
        case Qt::Key_Home:
            return by(NSCalendarUnit::Day, -column);
        case Qt::Key_End:
            return by(NSCalendarUnit::Day, 6 - column);
        case Qt::Key_PageUp:
            return by(paged, -1);
        case Qt::Key_PageDown:
            return by(paged, 1);
        default:
            return std::nullopt;
    }
}

}  // namespace zun
