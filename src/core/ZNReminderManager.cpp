#include "core/ZNReminderManager.h"

#include <utility>

#include "core/AlertOperations.h"
#include "core/NotificationNames.h"
#include "core/Reordering.h"

namespace zun {

ZNReminderManager::ZNReminderManager(Collaborators collaborators)
    : _with(collaborators),
      _engine(collaborators.environment),
      _notificationQueue(
          collaborators.dispatch.makeSerialQueue("com.zunlabs.notifications", QualityOfService::Utility)),
      _writes(std::make_shared<Writes>(collaborators.database)),
      _reordering(std::make_shared<Reordering>()),
      _alertOperations(std::make_shared<AlertOperations>(collaborators.dispatch)) {}

ZNReminderManager::~ZNReminderManager() {
    waitUntilSettled();
}

bool ZNReminderManager::shouldPush(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud) const {
    if (shouldSyncWithiCloud == ShouldSyncWithiCloud::No) return false;
    return _with.settings.onGetCloudKitStatus() || reminder->shareURL().has_value();
}

bool ZNReminderManager::shouldPushBulk(ShouldSyncWithiCloud shouldSyncWithiCloud) const {
    return shouldSyncWithiCloud == ShouldSyncWithiCloud::Yes && _with.settings.onGetCloudKitStatus();
}

void ZNReminderManager::pushSave(const ReminderPtr& reminder) {
    const auto persisted = [writes = _writes, reminder] {
        reminder->setDidPersistToiCloud(true);
        writes->database().updateReminder(reminder, ShouldUpdateDateModified::No);
    };
    _with.cloud.saveReminderToCloudKit(reminder, ShouldRetry::Yes, persisted, {});
}

void ZNReminderManager::pushUpdate(const ReminderPtr& reminder, ShouldUpdateDateModified shouldupdateDateModified) {
    const auto failed = [writes = _writes, reminder, shouldupdateDateModified] {
        reminder->setHasLocalChanges(true);
        writes->database().updateReminder(reminder, shouldupdateDateModified);
    };
    _with.cloud.updateReminderOnCloudKit(reminder, ShouldRetry::Yes, {}, failed);
}

void ZNReminderManager::pushDelete(const ReminderPtr& reminder) {
    const auto failed = [writes = _writes, reminder] {
        reminder->setShouldDeleteRemote(true);
        writes->database().addReminder(reminder);
    };
    _with.cloud.deleteReminderOnCloudKit(reminder, ShouldRetry::No, {}, failed);
}

void ZNReminderManager::saveReminder(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud) {
    _writes->database().addReminder(reminder, [this, shouldSyncWithiCloud](const ReminderPtr& stored) {
        scheduleNotificationsForReminder(stored);
        if (shouldPush(stored, shouldSyncWithiCloud)) pushSave(stored);
    });
}

void ZNReminderManager::updateReminder(const ReminderPtr& reminder, ShouldUpdateDateModified shouldupdateDateModified,
                                       ShouldSyncWithiCloud shouldSyncWithiCloud) {
    _writes->database().updateReminder(
        reminder, shouldupdateDateModified,
        [this, shouldupdateDateModified, shouldSyncWithiCloud](const ReminderPtr& stored) {
            scheduleNotificationsForReminder(stored);
            if (shouldPush(stored, shouldSyncWithiCloud)) pushUpdate(stored, shouldupdateDateModified);
        });
}

void ZNReminderManager::update(const ReminderPtr& reminder) {
    updateReminder(reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
}

void ZNReminderManager::deleteReminder(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud) {
    removeLocalNotificationsForReminder(reminder);
    _writes->database().removeReminder(reminder);
    if (shouldPush(reminder, shouldSyncWithiCloud)) pushDelete(reminder);
}

void ZNReminderManager::bulkUpdateReminders(Reminders reminders, ShouldSyncWithiCloud shouldSyncWithiCloud,
                                            std::function<void()> withCompletion) {
    const auto dateModified = shouldSyncWithiCloud == ShouldSyncWithiCloud::Yes ? ShouldUpdateDateModified::Yes
                                                                                : ShouldUpdateDateModified::No;
    const auto done = [this, shouldSyncWithiCloud,
                       withCompletion = std::move(withCompletion)](const Reminders& stored) {
        if (withCompletion) withCompletion();
        if (!shouldPushBulk(shouldSyncWithiCloud)) return;
        const auto failed = [writes = _writes, stored] {
            for (const auto& reminder : stored)
                reminder->setHasLocalChanges(true);
            writes->database().bulkUpdateReminders(stored, ShouldUpdateDateModified::No, SaveIfNotFound::No);
        };
        _with.cloud.bulkUpdateRemindersOnCloudKit(stored, ShouldRetry::Yes, ShouldDelete::No,
                                                  ShouldUpdatePersistenceStatus::No, {}, failed);
    };
    _writes->database().bulkUpdateReminders(std::move(reminders), dateModified, SaveIfNotFound::No, done);
}

void ZNReminderManager::bulkDeleteReminders(Reminders reminders, ShouldSyncWithiCloud shouldSyncWithiCloud,
                                            std::function<void()> withCompletion) {
    const auto done = [this, shouldSyncWithiCloud,
                       withCompletion = std::move(withCompletion)](const Reminders& removed) {
        if (withCompletion) withCompletion();
        for (const auto& reminder : removed)
            removeLocalNotificationsForReminder(reminder);
        if (!shouldPushBulk(shouldSyncWithiCloud)) return;
        const auto failed = [writes = _writes, removed] {
            for (const auto& reminder : removed)
                reminder->setShouldDeleteRemote(true);
            // They are no longer stored; as tombstones they must be again.
            writes->database().bulkUpdateReminders(removed, ShouldUpdateDateModified::No, SaveIfNotFound::Yes);
        };
        _with.cloud.bulkUpdateRemindersOnCloudKit(removed, ShouldRetry::Yes, ShouldDelete::Yes,
                                                  ShouldUpdatePersistenceStatus::No, {}, failed);
    };
    _writes->database().bulkDeleteReminders(std::move(reminders), done);
}

void ZNReminderManager::importReminders(Reminders reminders) {
    _writes->database().replaceReminders(std::move(reminders), [this](const Reminders& stored) {
        for (const auto& reminder : stored)
            scheduleNotificationsForReminder(reminder);
    });
}

void ZNReminderManager::updateBadgeIcon() {
    _with.notifications.postNotificationName(ZNUpdateBadgeNotification);
}

void ZNReminderManager::waitUntilSettled() {
    std::uint64_t seen = 0;
    do {
        seen = _writes->submitted;
        _with.database.waitForWrites();
        _alertOperations->waitUntilNoneIsLeft();
    } while (_writes->submitted != seen);
}

}  // namespace zun
