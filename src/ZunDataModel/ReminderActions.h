#pragma once

// Which actions a reminder is offered. Any thread.

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

// It is open.
[[nodiscard]] inline bool isValidForCompletion(const ZNReminderObject& reminder) {
    return !reminder.completed_date();
}

// It is snoozed.
[[nodiscard]] inline bool isValidForSnoozeUndo(const ZNReminderObject& reminder) {
    return reminder.onGetIsSnoozed();
}

// It is completed.
[[nodiscard]] inline bool isValidForCompletionUndo(const ZNReminderObject& reminder) {
    return reminder.completed_date().has_value();
}

}  // namespace zun
