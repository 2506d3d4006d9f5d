#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "core/ZNReminderManager.h"

namespace zun {
namespace {

// 30 days of 24 hours, whatever the calendar does meanwhile.
constexpr std::chrono::hours completedRemindersKept{30 * 24};

}  // namespace

std::size_t ZNReminderManager::deDupeDatabase() {
    // In their order, so that doubles stand side by side: a hundred thousand identifiers need not be kept for it.
    std::vector<std::string> doubles;
    std::optional<std::string> previous;
    const bool isRead = _with.database.forEachReminderID([&](const std::string& reminderID) {
        if (previous == reminderID) doubles.push_back(reminderID);
        previous = reminderID;
    });
    if (!isRead) return 0;
    for (const auto& reminderID : doubles)
        _writes->database().deDupReminderWithID(reminderID);
    return doubles.size();
}

std::optional<std::size_t> ZNReminderManager::removeCompletedRemindersIfEnabled() {
    if (!_with.settings.shouldDeleteCompleted()) return 0;
    if (_with.clock.hasJumpedWithinADay()) return std::nullopt;
    const auto cutoff = _with.environment.now() - completedRemindersKept;
    const auto fetchOld = [this, cutoff] {
        return fetch("completed_date <= %@", {cutoff}, {{"completed_date", false}});
    };
    const auto found = fetchOld().size();
    if (found == 0) return 0;
    _writes->database().backUpBeforeSweep([this, fetchOld] {
        // As they are by now: one may have been taken back meanwhile. A tombstone goes through the delete again.
        for (const auto& reminder : fetchOld())
            deleteReminder(reminder, ShouldSyncWithiCloud::Yes);
    });
    return found;
}

std::size_t ZNReminderManager::removeStaleLocalNotifications() {
    // In this order: whoever schedules has stored the reminder before.
    auto stale = _with.userNotifications.scheduledReminderIDs();
    if (stale.empty()) return 0;
    const bool isRead =
        _with.database.forEachReminderID([&](const std::string& reminderID) { stale.erase(reminderID); });
    // A store that cannot be read is no reason to let its alerts go.
    if (!isRead || stale.empty()) return 0;
    // Reading between the removals would make each of them durable by itself.
    const auto removed = std::ranges::count_if(
        _with.userNotifications.scheduledNotifications(),
        [&](const NSUserNotification& each) { return stale.contains(each.reminderID().value_or("")); });
    for (const auto& reminderID : stale)
        _with.userNotifications.removeScheduledNotificationsForReminderID(reminderID);
    return static_cast<std::size_t>(removed);
}

void ZNReminderManager::clearCoreData() {
    _writes->database().clearRemindersFromStore();
}

}  // namespace zun
