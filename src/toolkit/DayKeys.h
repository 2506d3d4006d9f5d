#pragma once

// How keys move a selected day over a grid of weeks, the same in every calendar. Main thread.

#include <QKeyEvent>
#include <optional>

#include "platform/foundation/NSCalendar.h"

namespace zun {

// The day that the key leads to from this one; absent for a key that leads nowhere. Arrows go by a day or a week, Home
// and End to the ends of the week, the page keys by a month, with Shift by a year; from the 31st to the last day of a
// shorter month. In a mirrored layout the arrow keys to the sides mean the other way. Keys with other modifiers are no
// steps.
[[nodiscard]] std::optional<NSDate> dayAfterKey(const QKeyEvent& event, NSDate day, const NSCalendar& calendar,
                                                Qt::LayoutDirection direction);

// The column of a weekday (1 Sunday to 7 Saturday) in a week that starts where the calendar's does.
[[nodiscard]] int columnForWeekday(int weekday, const NSCalendar& calendar);

}  // namespace zun
