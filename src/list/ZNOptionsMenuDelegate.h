#pragma once

// What the options of a reminder's row ask for. The cell is null where it has gone while the menu was open. Main
// thread.

#include <QWidget>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

class ZNOptionsMenuDelegate {
  public:
    virtual ~ZNOptionsMenuDelegate() = default;
    virtual void shouldCompleteWithReminder(const ReminderPtr& reminder, QWidget* withCell) = 0;
    virtual void shouldUndoSnoozeWithReminder(const ReminderPtr& reminder, QWidget* withCell) = 0;
    virtual void shouldUndoCompleteWithReminder(const ReminderPtr& reminder, QWidget* withCell) = 0;
    virtual void shouldShareWithReminder(const ReminderPtr& reminder, QWidget* withCell) = 0;
    virtual void shouldCopyWithReminder(const ReminderPtr& reminder, QWidget* withCell) = 0;
    virtual void shouldDeleteWithReminder(const ReminderPtr& reminder, QWidget* withCell) = 0;
};

}  // namespace zun
