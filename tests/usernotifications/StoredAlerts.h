#pragma once

// A program's view of the stored alerts in virtual time, and what the alert service does with the file beside it.

#include <string>
#include <vector>

#include "platform/foundation/SimulatedDispatch.h"
#include "platform/usernotifications/StoredNotificationCenter.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {

inline NSUserNotification alertFor(const std::string& reminderID, NSDate date) {
    NSUserNotification one;
    if (!reminderID.empty()) one.userInfo[NOTIFICATION_REMINDER_ID] = reminderID;
    one.deliveryDate = date;
    one.deliveryTimeZone = "Europe/Berlin";
    one.title = "title of " + reminderID;
    one.subtitle = "Due now";
    one.hasActionButton = true;
    one.actionButtonTitle = "Snooze";
    one.soundName = NSUserNotificationDefaultSoundName;
    return one;
}

// "r 10:05", one for each, in the order of the list.
inline std::vector<std::string> lines(const std::vector<NSUserNotification>& notifications) {
    std::vector<std::string> all;
    for (const auto& one : notifications) {
        const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(one.deliveryDate.time_since_epoch());
        const auto ofDay = static_cast<int>(minutes.count() % (24 * 60));
        const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
        all.push_back(one.reminderID().value_or("nobody") + " " + two(ofDay / 60) + ":" + two(ofDay % 60));
    }
    return all;
}

struct AlertDevice {
    AlertDevice(const std::filesystem::path& folder, const Environment& environment)
        : center(folder, {dispatch, environment}),
          service(StoredNotificationCenter::storeFolder(folder), environment) {}

    // The alert service shows what is due.
    bool deliver(NSDate now, std::uint32_t place = 7) {
        center.synchronize();
        const auto due = service.due(now, 100);
        bool isRecorded = due.isKnown;
        for (const auto& one : due.first)
            isRecorded = service.recordShown(now, due, one.reminderID().value_or(""), {place, "bus/1"}) && isRecorded;
        return isRecorded;
    }

    SimulatedDispatch dispatch{1};
    StoredNotificationCenter center;
    AlertStore service;
};

}  // namespace zun
