#pragma once

#include "core/ReminderAlerts.h"

namespace zun {

// For a program without alerts: there is nothing to schedule and nothing to remove.
class NoAlerts final : public ReminderAlerts {
  public:
    void scheduleNotificationsForReminder(const ReminderPtr&) override {}
    void removeLocalNotificationsForReminder(const ReminderPtr&, std::function<void()> completionBlock) override {
        if (completionBlock) completionBlock();
    }
};

}  // namespace zun
