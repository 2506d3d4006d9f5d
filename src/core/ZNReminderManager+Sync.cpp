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

void ZNReminderManager::forgetThatRemindersWereSent(std::function<void()> withCompletion) {
    const auto wasSent = [](const ReminderAttributes& record) {
        return !record.sharedZoneID && (record.didPersistToiCloud || record.shouldDeleteRemote.value_or(false));
    };
    std::vector<std::string> reminderIDs;
    for (const auto& reminder : fetchAllReminders()) {
        const auto record = reminder->attributes();
        if (wasSent(record)) reminderIDs.push_back(*record.reminderID);
    }
    if (reminderIDs.empty()) {
        if (withCompletion) withCompletion();
        return;
    }
    // The store takes writes in order. What the sync finds from now on meets the marks as they are then.
    _writes->database().backUpBeforeSweep({});
    const auto forget = [wasSent](std::size_t, std::optional<ReminderAttributes>& record) {
        if (!record || !wasSent(*record)) return RecordVerdict::Leave;
        if (record->shouldDeleteRemote.value_or(false)) return RecordVerdict::Remove;
        record->didPersistToiCloud = false;
        return RecordVerdict::Mark;
    };
    decideReminders(std::move(reminderIDs), forget, [withCompletion = std::move(withCompletion)](const auto&) {
        if (withCompletion) withCompletion();
    });
}

}  // namespace zun
