#include <chrono>
#include <string>
#include <unordered_set>

#include "core/ZNReminderManager.h"

namespace zun {
namespace {

// 30 days of 24 hours, whatever the calendar does meanwhile.
constexpr std::chrono::hours completedRemindersKept{30 * 24};

}  // namespace

void ZNReminderManager::deDupeDatabase() {
    std::unordered_set<std::string> seen;
    for (const auto& reminder : fetchAllReminders()) {
        const auto identifier = reminder->reminderID().value_or("");
        if (!seen.insert(identifier).second) _writes->database().deDupReminderWithID(identifier);
    }
}

void ZNReminderManager::removeCompletedRemindersIfEnabled() {
    if (!_with.settings.shouldDeleteCompleted()) return;
    const auto cutoff = _with.environment.now() - completedRemindersKept;
    // A tombstone among them goes through the delete again.
    for (const auto& reminder : fetch("completed_date <= %@", {cutoff}, {{"completed_date", false}})) {
        deleteReminder(reminder, ShouldSyncWithiCloud::Yes);
    }
}

void ZNReminderManager::clearCoreData() {
    _writes->database().clearRemindersFromStore();
}

}  // namespace zun
