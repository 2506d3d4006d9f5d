#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "core/Reordering.h"
#include "core/ZNReminderManager.h"

namespace zun {
namespace {

// 30 days of 24 hours, whatever the calendar does meanwhile.
constexpr std::chrono::hours completedRemindersKept{30 * 24};
// Reminders with alerts that are looked at together: more need more memory, fewer more queries.
constexpr std::size_t stalePage = 1'000;

}  // namespace

std::size_t ZNReminderManager::deDupeDatabase() {
    // In their order, so that doubles stand side by side: a hundred thousand identifiers need not be kept for it.
    std::vector<std::string> doubles;
    std::optional<std::string> previous;
    const bool isRead =
        _with.database.forEachReminderID(std::nullopt, std::nullopt, [&](const std::string& reminderID) {
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
    // Both lists are walked in the same order, a page of alerts at a time. The alerts come first: whoever schedules has
    // stored the reminder before.
    using Page = std::vector<NSUserNotificationCenter::ScheduledReminder>;
    Page stale;
    for (Page page = _with.userNotifications.scheduledReminders(std::nullopt, stalePage); !page.empty();
         page = _with.userNotifications.scheduledReminders(page.back().reminderID, stalePage)) {
        auto next = page.begin();
        const bool isRead = _with.database.forEachReminderID(
            page.front().reminderID, page.back().reminderID, [&](const std::string& reminderID) {
                for (; next != page.end() && next->reminderID < reminderID; ++next)
                    stale.push_back(*next);
                if (next != page.end() && next->reminderID == reminderID) ++next;
            });
        // A store that cannot be read is no reason to let its alerts go.
        if (!isRead) return 0;
        stale.insert(stale.end(), next, page.end());
    }
    std::size_t removed = 0;
    for (const auto& [reminderID, alerts] : stale) {
        _with.userNotifications.removeScheduledNotificationsForReminderID(reminderID);
        removed += alerts;
    }
    return removed;
}

void ZNReminderManager::clearCoreData() {
    // A reordering of what goes is not for the account that comes.
    (void)_reordering->take();
    _writes->database().clearRemindersFromStore();
}

}  // namespace zun
