#pragma once

// Looks from the reminders to their alerts and adds what is missing.
//
//   owed      a reminder that was saved while its moment lay ahead, by a program that died before it had scheduled
//   series    the manager schedules a week of a repeating reminder; when nobody touches it and its last alert comes
//             near, its true occurrences follow (interval, weekdays and end date obeyed), so that it alerts for years
//   filling   a new file of alerts, after the old one was damaged, or a clock that had been wrong by days and had
//             used up alerts of the future, gets every reminder's alerts anew
//
// Everything here blocks, for some milliseconds a thousand reminders.

#include <string>
#include <vector>

#include "core/ZNReminderManager.h"
#include "platform/usernotifications/AlertStore.h"
#include "platform/usernotifications/NSUserNotificationCenter.h"

namespace zun {

class AlertLook {
  public:
    struct Collaborators {
        ZNReminderManager& manager;
        NSUserNotificationCenter& center;
        AlertStore& store;
        const Environment& environment;
    };

    explicit AlertLook(const Collaborators& collaborators) : _with(collaborators) {}

    void lookAtReminders();
    // Only at these, and only for their series.
    void extendSeries(const std::vector<std::string>& reminderIDs);

  private:
    [[nodiscard]] std::vector<ReminderPtr> fetch(std::string_view format,
                                                 std::vector<NSPredicate::Argument> arguments) const;
    void fill(const std::vector<ReminderPtr>& series);
    void scheduleOwed();
    void extend(const ReminderPtr& reminder);
    [[nodiscard]] bool hasAlert(const std::string& reminderID, NSDate fireDate) const;

    Collaborators _with;
};

}  // namespace zun
