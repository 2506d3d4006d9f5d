#include <algorithm>

#include "shell/AppDelegate.h"

namespace zun {

void AppDelegate::didDeliverNotification(const NSUserNotification& notification) {
    _with.manager.removePreviousNagNotificationsForReminderID(notification.reminderID());
    updateBadgeIcon();
    updateCardController();
}

void AppDelegate::remoteNotificationArrived() {
    updateBadgeIcon();
    updateCardController();
}

void AppDelegate::didActivateNotification(const NSUserNotification& notification) {
    const auto reminderID = notification.reminderID();
    _with.userNotifications.removeDeliveredNotification(notification);
    if (notification.activationType == NSUserNotificationActivationType::ActionButtonClicked) {
        if (const auto reminder = _with.manager.fetchReminderWithReminderID(reminderID))
            _with.manager.snoozeReminder(reminder);
    } else if (reminderID) {
        root().onSetActiveTab(0);
        root().cardController().showReminderWithID(*reminderID);
        // Fetched here and not when the window has come forward, which it may not do where it is in front already.
        updateCardController();
        _requestedReminderShown = _with.dispatch.uptime();
    }
    showActiveWindow(IgnoringOtherApps::Yes);
}

void AppDelegate::alertWasAnswered(std::int64_t identifier, const std::string& reminderID,
                                   NSUserNotificationActivationType answer, const Activation& activation) {
    const auto delivered = _with.userNotifications.deliveredNotifications();
    const auto found = std::find_if(delivered.begin(), delivered.end(),
                                    [&](const auto& each) { return each.identifier == identifier; });
    NSUserNotification notification;
    if (found != delivered.end()) {
        notification = *found;
    } else {
        // It has left the list since: its reminder is still meant.
        notification.identifier = identifier;
        notification.userInfo[NOTIFICATION_REMINDER_ID] = reminderID;
    }
    notification.activationType = answer;
    _activation = activation;
    didActivateNotification(notification);
}

}  // namespace zun
