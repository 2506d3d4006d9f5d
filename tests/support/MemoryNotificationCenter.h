#pragma once

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/ISO8601.h"
#include "platform/usernotifications/NSUserNotificationCenter.h"

namespace zun {

// The two lists in memory, with what becomes of them noted as lines. Nothing is delivered but by the test.
class MemoryNotificationCenter final : public NSUserNotificationCenter {
  public:
    using Notifications = std::vector<NSUserNotification>;

    Notifications scheduledNotifications() const override {
        const std::lock_guard lock(_mutex);
        return _scheduled;
    }
    Notifications scheduledNotificationsForReminderID(const std::string& reminderID) const override {
        auto all = scheduledNotifications();
        std::erase_if(all, [&](const auto& each) { return each.reminderID().value_or("") != reminderID; });
        return all;
    }
    std::vector<ScheduledReminder> scheduledReminders(const std::optional<std::string>& after,
                                                      std::size_t most) const override {
        std::map<std::string, std::size_t> alerts;
        for (const auto& each : scheduledNotifications())
            ++alerts[each.reminderID().value_or("")];
        std::vector<ScheduledReminder> all;
        for (auto next = after ? alerts.upper_bound(*after) : alerts.begin(); next != alerts.end(); ++next) {
            if (all.size() < most) all.push_back({next->first, next->second});
        }
        return all;
    }
    void scheduleNotification(const NSUserNotification& notification) override {
        const std::lock_guard lock(_mutex);
        note("schedule " + notification.reminderID().value_or("nobody") + " " +
             iso8601FromDate(notification.deliveryDate));
        auto scheduled = notification;
        scheduled.identifier = ++_lastIdentifier;
        _scheduled.insert(
            std::ranges::upper_bound(_scheduled, scheduled.deliveryDate, {}, &NSUserNotification::deliveryDate),
            std::move(scheduled));
    }
    void removeScheduledNotification(const NSUserNotification& notification) override {
        const std::lock_guard lock(_mutex);
        note("remove one of " + notification.reminderID().value_or("nobody"));
        std::erase_if(_scheduled, [&](const auto& each) { return each.identifier == notification.identifier; });
    }
    void removeScheduledNotificationsForReminderID(const std::string& reminderID) override {
        const std::lock_guard lock(_mutex);
        note("remove " + reminderID);
        std::erase_if(_scheduled, [&](const auto& each) { return each.reminderID().value_or("") == reminderID; });
    }

    Notifications deliveredNotifications() const override {
        const std::lock_guard lock(_mutex);
        return _delivered;
    }
    void removeDeliveredNotification(const NSUserNotification& notification) override {
        const std::lock_guard lock(_mutex);
        std::erase_if(_delivered, [&](const auto& each) { return each.identifier == notification.identifier; });
    }
    bool wasDelivered(const std::string& reminderID, NSDate deliveryDate) const override {
        const std::lock_guard lock(_mutex);
        return _everDelivered.contains({reminderID, deliveryDate});
    }
    void synchronize() override {}

    // An alert that was due at `deliveryDate` comes up at `at`; scheduled or not.
    void deliver(const std::string& reminderID, NSDate deliveryDate, NSDate at) {
        const std::lock_guard lock(_mutex);
        const auto isMeant = [&](const auto& each) {
            return each.reminderID() == reminderID && each.deliveryDate == deliveryDate;
        };
        NSUserNotification notification;
        if (const auto found = std::ranges::find_if(_scheduled, isMeant); found != _scheduled.end()) {
            notification = *found;
            std::erase_if(_scheduled, isMeant);
        } else {
            notification.identifier = ++_lastIdentifier;
            notification.userInfo = {{NOTIFICATION_REMINDER_ID, reminderID}};
            notification.deliveryDate = deliveryDate;
        }
        notification.actualDeliveryDate = at;
        _delivered.insert(std::ranges::upper_bound(_delivered, notification.actualDeliveryDate, {},
                                                   &NSUserNotification::actualDeliveryDate),
                          std::move(notification));
        _everDelivered.insert({reminderID, deliveryDate});
    }
    // What was changed in the schedule since the last call: "remove s", "schedule s 2026-01-14T09:00:00Z".
    std::vector<std::string> takeLines() {
        const std::lock_guard lock(_mutex);
        return std::exchange(_lines, {});
    }

  private:
    void note(std::string line) { _lines.push_back(std::move(line)); }

    mutable std::mutex _mutex;
    Notifications _scheduled;
    Notifications _delivered;
    std::set<std::pair<std::string, NSDate>> _everDelivered;
    std::int64_t _lastIdentifier = 0;
    std::vector<std::string> _lines;
};

}  // namespace zun
