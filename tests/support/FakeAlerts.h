#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/ReminderAlerts.h"

namespace zun {

// Notes what is asked of it: "schedule id-1", "remove id-1".
class FakeAlerts final : public ReminderAlerts {
  public:
    void scheduleNotificationsForReminder(const ReminderPtr& reminder) override { note("schedule", reminder); }
    void removeLocalNotificationsForReminder(const ReminderPtr& reminder,
                                             std::function<void()> completionBlock) override {
        note("remove", reminder);
        if (completionBlock) completionBlock();
    }

    std::vector<std::string> takeLines() {
        const std::lock_guard lock(_mutex);
        return std::exchange(_lines, {});
    }

  private:
    void note(const char* verb, const ReminderPtr& reminder) {
        const std::lock_guard lock(_mutex);
        _lines.push_back(std::string(verb) + " " + reminder->reminderID().value_or("nobody"));
    }

    std::mutex _mutex;
    std::vector<std::string> _lines;
};

}  // namespace zun
