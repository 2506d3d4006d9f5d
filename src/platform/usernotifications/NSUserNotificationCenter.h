#pragma once

// The two lists of alerts that all programs of the user share: those that are scheduled and those that have been
// delivered and still stand. Both outlast every program; the alert service moves an alert from the first to the second
// when its moment comes, whether or not any other program runs.
//
// Any thread. Changes return at once and are seen by the next read in this process; they are durable, and known to the
// other programs, some milliseconds later or after synchronize(). Reads block for a query. A list that cannot be read
// or written is told to the log and reads as empty.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/usernotifications/NSUserNotification.h"

namespace zun {

// Called on the main queue, in the program that the user works with.
class NSUserNotificationCenterDelegate {
  public:
    virtual ~NSUserNotificationCenterDelegate() = default;
    // An alert has come up on the screen. It is shown whether or not this program is in front.
    virtual void didDeliverNotification(const NSUserNotification& notification) = 0;
    // The user clicked it, or its action button.
    virtual void didActivateNotification(const NSUserNotification& notification) = 0;
};

class NSUserNotificationCenter {
  public:
    virtual ~NSUserNotificationCenter() = default;

    // By their delivery dates, earliest first; as often as they were scheduled.
    [[nodiscard]] virtual std::vector<NSUserNotification> scheduledNotifications() const = 0;
    [[nodiscard]] virtual std::vector<NSUserNotification> scheduledNotificationsForReminderID(
        const std::string& reminderID) const = 0;
    // A reminder with its number of scheduled alerts; "" stands for alerts that belong to none.
    struct ScheduledReminder {
        std::string reminderID;
        std::size_t alerts = 0;
        bool operator==(const ScheduledReminder&) const = default;
    };
    // In the order of the identifiers' bytes, those behind `after` (from the start without), at most `most`.
    [[nodiscard]] virtual std::vector<ScheduledReminder> scheduledReminders(const std::optional<std::string>& after,
                                                                            std::size_t most) const = 0;
    virtual void scheduleNotification(const NSUserNotification& notification) = 0;
    virtual void removeScheduledNotification(const NSUserNotification& notification) = 0;
    // What walking the scheduled ones and removing each of this reminder would do, without the walk.
    virtual void removeScheduledNotificationsForReminderID(const std::string& reminderID) = 0;

    // By the moment at which they came, oldest first.
    [[nodiscard]] virtual std::vector<NSUserNotification> deliveredNotifications() const = 0;
    // Takes it from the list and from the screen, unless a newer alert stands there in its place.
    virtual void removeDeliveredNotification(const NSUserNotification& notification) = 0;

    // Whether this moment of the reminder has been alerted before. It will not be alerted again.
    [[nodiscard]] virtual bool wasDelivered(const std::string& reminderID, NSDate deliveryDate) const = 0;

    // Blocks until all that was asked before is durable.
    virtual void synchronize() = 0;
};

}  // namespace zun
