#pragma once

// What the manager asks of the alerts. It calls both operations on its own serial notification queue only, in the order
// of the changes they follow, so an implementation needs no lock against itself. Both may block.

#include <functional>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

class ReminderAlerts {
  public:
    virtual ~ReminderAlerts() = default;
    // Throws away the reminder's alerts and adds them anew if it still qualifies, by its attributes at this moment.
    virtual void scheduleNotificationsForReminder(const ReminderPtr& reminder) = 0;
    // Removes all of the reminder's scheduled alerts, then runs the block, if any.
    virtual void removeLocalNotificationsForReminder(const ReminderPtr& reminder,
                                                     std::function<void()> completionBlock) = 0;
};

}  // namespace zun
