#pragma once

// How the rows of the two lists become alerts.

#include "platform/usernotifications/AlertFile.h"
#include "platform/usernotifications/NSUserNotification.h"

// The columns that both lists have come first, in the same order.
#define ZN_SELECT_SCHEDULED                                                                                          \
    "SELECT identifier, reminderID, deliveryDate, deliveryTimeZone, title, subtitle, actionButtonTitle, soundName, " \
    "NULL, 0 FROM scheduled"
#define ZN_SELECT_DELIVERED                                                                                          \
    "SELECT identifier, reminderID, deliveryDate, deliveryTimeZone, title, subtitle, actionButtonTitle, soundName, " \
    "actualDeliveryDate, sequence, serverIdentifier, server, inSummary FROM delivered"

namespace zun::alertRows {

inline constexpr int sequenceColumn = 9, serverIdentifierColumn = 10, serverColumn = 11, inSummaryColumn = 12;

inline NSUserNotification notificationFrom(const AlertQuery& row) {
    NSUserNotification notification;
    notification.identifier = row.integer(0);
    if (auto reminderID = row.text(1); !reminderID.empty())
        notification.userInfo.emplace(NOTIFICATION_REMINDER_ID, std::move(reminderID));
    notification.deliveryDate = row.date(2);
    notification.deliveryTimeZone = row.text(3);
    notification.title = row.text(4);
    notification.subtitle = row.text(5);
    notification.hasActionButton = !row.isNull(6);
    if (notification.hasActionButton) notification.actionButtonTitle = row.text(6);
    notification.soundName = row.text(7);
    if (!row.isNull(8)) notification.actualDeliveryDate = row.date(8);
    return notification;
}

}  // namespace zun::alertRows
