#include <algorithm>
#include <chrono>
#include <optional>

#include "core/ZNReminderManager.h"

namespace zun {
namespace {

// What came just now stays; a second beyond the last nag nothing is a nag any more.
constexpr std::chrono::seconds youngestPreviousNag{300};
constexpr std::chrono::seconds oldestPreviousNag{1801};

}  // namespace

void ZNReminderManager::removePreviousNagNotificationsForReminderID(const std::optional<std::string>& reminderID) {
    const auto reminder = fetchReminderWithReminderID(reminderID);
    if (!reminder || !reminder->naggingNotifications()) return;
    const auto now = _with.environment.now();
    for (const auto& notification : _with.userNotifications.deliveredNotifications()) {
        if (notification.reminderID() != reminderID) continue;
        // The first one outside the span ends the walk: behind it is nothing, or what activation sorts out.
        if (notification.deliveryDate < now - oldestPreviousNag ||
            notification.deliveryDate > now - youngestPreviousNag)
            return;
        _with.userNotifications.removeDeliveredNotification(notification);
    }
}

void ZNReminderManager::clearDeliveredNotifications() {
    // Nothing here changes a reminder, so one fetch serves all notifications.
    std::optional<Reminders> active;
    const auto isOnTheCards = [&](const NSUserNotification& notification) {
        if (!active) active = fetchAllActiveRemindersWithDefaultSort(false);
        return std::ranges::any_of(*active, [&](const ReminderPtr& reminder) {
            return reminder->reminderID() == notification.reminderID() &&
                   reminder->fire_date() == notification.deliveryDate;
        });
    };
    for (const auto& notification : _with.userNotifications.deliveredNotifications()) {
        const auto reminder = fetchReminderWithReminderID(notification.reminderID());
        if (reminder && (reminder->completed_date() || !isOnTheCards(notification)))
            _with.userNotifications.removeDeliveredNotification(notification);
    }
}

}  // namespace zun
