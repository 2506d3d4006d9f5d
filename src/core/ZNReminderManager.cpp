#include "core/ZNReminderManager.h"

#include <fmt/format.h>

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

// Names repeat no sooner than the clock does, which is longer than a push can be under way.
WriteNotes ZNReminderManager::notesOfPush(bool willPush) const {
    if (!willPush) return {};
    return {fmt::format("{}-{}", _with.environment.now().time_since_epoch().count(), ++_writes->pushes), {}};
}

Block ZNReminderManager::endOfPush(const WriteNotes& notes) const {
    return [writes = _writes, pushID = notes.pushID] {
        if (pushID) writes->database().pushDidEnd(*pushID);
    };
}

void ZNReminderManager::pushSave(const ReminderPtr& reminder) {
    const auto persisted = [writes = _writes, reminder] {
        reminder->setDidPersistToiCloud(true);
        writes->database().markReminders({reminder->reminderID().value_or("")}, CloudMark::DidPersist);
    };
    _with.cloud.saveReminderToCloudKit(reminder, ShouldRetry::Yes, persisted, {});
}

void ZNReminderManager::pushUpdate(const ReminderPtr& reminder, const WriteNotes& notes) {
    const auto ended = endOfPush(notes);
    const auto failed = [writes = _writes, reminder, ended] {
        reminder->setHasLocalChanges(true);
        writes->database().markReminders({reminder->reminderID().value_or("")}, CloudMark::HasLocalChanges);
        ended();
    };
    _with.cloud.updateReminderOnCloudKit(reminder, ShouldRetry::Yes, ended, failed);
}

void ZNReminderManager::pushDelete(const ReminderPtr& reminder, const WriteNotes& notes) {
    const auto ended = endOfPush(notes);
    const auto failed = [writes = _writes, reminder, notes, ended] {
        reminder->setShouldDeleteRemote(true);
        writes->database().addTombstones({reminder}, notes);
        ended();
    };
    _with.cloud.deleteReminderOnCloudKit(reminder, ShouldRetry::No, ended, failed);
}

void ZNReminderManager::saveReminder(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud) {
    _writes->database().addReminder(reminder, [this, shouldSyncWithiCloud](const ReminderPtr& stored) {
        scheduleNotificationsForReminder(stored);
        if (shouldPush(stored, shouldSyncWithiCloud)) pushSave(stored);
    });
}

void ZNReminderManager::updateReminder(const ReminderPtr& reminder, ShouldUpdateDateModified shouldupdateDateModified,
                                       ShouldSyncWithiCloud shouldSyncWithiCloud) {
    const bool willPush = shouldPush(reminder, shouldSyncWithiCloud);
    const auto notes = notesOfPush(willPush);
    _writes->database().updateReminder(
        reminder, shouldupdateDateModified,
        [this, willPush, notes](const ReminderPtr& stored) {
            scheduleNotificationsForReminder(stored);
            if (willPush) pushUpdate(stored, notes);
        },
        notes);
}

void ZNReminderManager::update(const ReminderPtr& reminder) {
    updateReminder(reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
}

void ZNReminderManager::deleteReminder(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud) {
    removeLocalNotificationsForReminder(reminder);
    const bool willPush = shouldPush(reminder, shouldSyncWithiCloud);
    const auto notes = notesOfPush(willPush);
    _writes->database().removeReminder(reminder, {}, notes);
    if (willPush) pushDelete(reminder, notes);
}

void ZNReminderManager::bulkUpdateReminders(Reminders reminders, ShouldSyncWithiCloud shouldSyncWithiCloud,
                                            std::function<void()> withCompletion) {
    const auto dateModified = shouldSyncWithiCloud == ShouldSyncWithiCloud::Yes ? ShouldUpdateDateModified::Yes
                                                                                : ShouldUpdateDateModified::No;
    const bool willPush = shouldPushBulk(shouldSyncWithiCloud);
    const auto notes = notesOfPush(willPush);
    const auto done = [this, willPush, notes, withCompletion = std::move(withCompletion)](const Reminders& stored) {
        if (withCompletion) withCompletion();
        if (!willPush) return;
        const auto ended = endOfPush(notes);
        const auto failed = [writes = _writes, stored, ended] {
            std::vector<std::string> identifiers;
            for (const auto& reminder : stored) {
                reminder->setHasLocalChanges(true);
                identifiers.push_back(reminder->reminderID().value_or(""));
            }
            writes->database().markReminders(std::move(identifiers), CloudMark::HasLocalChanges);
            ended();
        };
        _with.cloud.bulkUpdateRemindersOnCloudKit(stored, ShouldRetry::Yes, ShouldDelete::No,
                                                  ShouldUpdatePersistenceStatus::No, ended, failed);
    };
    _writes->database().bulkUpdateReminders(std::move(reminders), dateModified, SaveIfNotFound::No, done, notes);
}

void ZNReminderManager::bulkDeleteReminders(Reminders reminders, ShouldSyncWithiCloud shouldSyncWithiCloud,
                                            std::function<void()> withCompletion) {
    const bool willPush = shouldPushBulk(shouldSyncWithiCloud);
    const auto notes = notesOfPush(willPush);
    const auto done = [this, willPush, notes, withCompletion = std::move(withCompletion)](const Reminders& removed) {
        if (withCompletion) withCompletion();
        for (const auto& reminder : removed)
            removeLocalNotificationsForReminder(reminder);
        if (!willPush) return;
        const auto ended = endOfPush(notes);
        const auto failed = [writes = _writes, removed, notes, ended] {
            for (const auto& reminder : removed)
                reminder->setShouldDeleteRemote(true);
            // They are no longer stored; as tombstones they must be again.
            writes->database().addTombstones(removed, notes);
            ended();
        };
        _with.cloud.bulkUpdateRemindersOnCloudKit(removed, ShouldRetry::Yes, ShouldDelete::Yes,
                                                  ShouldUpdatePersistenceStatus::No, ended, failed);
    };
    _writes->database().bulkDeleteReminders(std::move(reminders), done, notes);
}

void ZNReminderManager::backUpBeforeImport() {
    _writes->database().backUpBeforeSweep({});
}

void ZNReminderManager::importReminders(Reminders reminders) {
    for (const auto& reminder : reminders) {
        // What the cloud has of it, this store knows and not the file, which may come from another account's device.
        const auto row = fetchReminderWithReminderID(reminder->reminderID());
        const bool isThere = row && row->didPersistToiCloud();
        reminder->setDidPersistToiCloud(isThere);
        reminder->setHasLocalChanges(isThere);
        reminder->setSharedZoneID(row ? row->sharedZoneID() : std::nullopt);
    }
    _writes->database().replaceReminders(std::move(reminders), [this](const Reminders& stored) {
        for (const auto& reminder : stored)
            scheduleNotificationsForReminder(reminder);
    });
}

void ZNReminderManager::bringBack(ReminderAttributes version) {
    version.shouldDeleteRemote.reset();
    const auto row = fetchReminderWithReminderID(version.reminderID);
    if (!row) {
        version.didPersistToiCloud = version.hasLocalChanges = false;
        return saveReminder(std::make_shared<ZNReminderObject>(std::move(version)), ShouldSyncWithiCloud::Yes);
    }
    version.didPersistToiCloud = row->didPersistToiCloud();
    version.hasLocalChanges = row->hasLocalChanges();
    version.sharedZoneID = row->sharedZoneID();
    auto present = row->attributes();
    present.modified_date = version.modified_date;
    row->setAttributes(version);
    auto notes = notesOfPush(shouldPush(row, ShouldSyncWithiCloud::Yes));
    // Whoever brings back the wrong one wants to have the other again.
    if (present != version) notes.keeps = KeptReason::Replaced;
    _writes->database().updateReminder(
        row, ShouldUpdateDateModified::Yes,
        [this, notes](const ReminderPtr& stored) {
            scheduleNotificationsForReminder(stored);
            if (notes.pushID) pushUpdate(stored, notes);
        },
        notes);
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
