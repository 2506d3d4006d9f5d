#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/ZNReminderManager.h"

namespace zun {

void ZNReminderManager::decideReminders(std::vector<std::string> reminderIDs, RecordDecision decide,
                                        std::function<void(const std::vector<DecidedRecord>&)> withCompletion) {
    _writes->database().decideReminders(
        std::move(reminderIDs), std::move(decide),
        [this, withCompletion = std::move(withCompletion)](const std::vector<DecidedRecord>& decided) {
            for (const auto& [verdict, record] : decided) {
                if (verdict != RecordVerdict::Write && verdict != RecordVerdict::Remove) continue;
                const auto reminder = std::make_shared<ZNReminderObject>(record);
                if (verdict == RecordVerdict::Write)
                    scheduleNotificationsForReminder(reminder);
                else
                    removeLocalNotificationsForReminder(reminder);
            }
            if (withCompletion) withCompletion(decided);
        });
}

void ZNReminderManager::forgetThatRemindersWereSent(UnsentDeletions unsentDeletions,
                                                    std::function<void()> withCompletion) {
    const auto verdictOf = [unsentDeletions](const ReminderAttributes& record) {
        if (record.sharedZoneID) return RecordVerdict::Leave;
        // A service that was set back holds what it had deleted meanwhile; only who deleted it can tell it again.
        if (record.shouldDeleteRemote.value_or(false))
            return unsentDeletions == UnsentDeletions::Forget ? RecordVerdict::Remove : RecordVerdict::Leave;
        return record.didPersistToiCloud ? RecordVerdict::Mark : RecordVerdict::Leave;
    };
    std::vector<std::string> reminderIDs;
    for (const auto& reminder : fetchAllReminders()) {
        const auto record = reminder->attributes();
        if (verdictOf(record) != RecordVerdict::Leave) reminderIDs.push_back(*record.reminderID);
    }
    if (reminderIDs.empty()) {
        if (withCompletion) withCompletion();
        return;
    }
    // The store takes writes in order. What the sync finds from now on meets the marks as they are then.
    _writes->database().backUpBeforeSweep({});
    const auto forget = [verdictOf](std::size_t, std::optional<ReminderAttributes>& record) {
        const auto verdict = record ? verdictOf(*record) : RecordVerdict::Leave;
        if (verdict == RecordVerdict::Mark) record->didPersistToiCloud = false;
        return verdict;
    };
    decideReminders(std::move(reminderIDs), forget, [withCompletion = std::move(withCompletion)](const auto&) {
        if (withCompletion) withCompletion();
    });
}

}  // namespace zun
