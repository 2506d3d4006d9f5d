#include <utility>

#include "core/Reordering.h"
#include "core/ZNReminderManager.h"

namespace zun {
void ZNReminderManager::uploadReordering(const std::shared_ptr<Writes>& writes, ReminderCloudPushes& cloud,
                                         Reordering& reordering, ShouldRetry shouldRetry) {
    auto held = reordering.take();
    if (held.reminders.empty()) return;
    const auto ended = [all = std::move(held.ended)] {
        for (const auto& each : all)
            each();
    };
    // Nothing else would ever tell the others of an order that was lost on its way.
    const auto failed = [writes, reminders = held.reminders, ended] {
        std::vector<std::string> identifiers;
        for (const auto& reminder : reminders)
            identifiers.push_back(reminder->reminderID().value_or(""));
        writes->database().markReminders(std::move(identifiers), CloudMark::HasLocalChanges);
        ended();
    };
    cloud.bulkUpdateRemindersOnCloudKit(std::move(held.reminders), shouldRetry, ShouldDelete::No,
                                        ShouldUpdatePersistenceStatus::No, ended, failed);
}

void ZNReminderManager::bulkSortAndUpdate(const Reminders& reminders, ShouldSyncWithiCloud shouldSyncWithiCloud) {
    // Rank 0 stays free to mean unranked.
    auto rank = static_cast<std::int64_t>(reminders.size());
    const bool willPush = shouldPushBulk(shouldSyncWithiCloud);
    const bool canPush = _with.cloud.canPush();
    for (const auto& reminder : reminders) {
        reminder->setRank(rank--);
        if (willPush && !canPush) reminder->setHasLocalChanges(true);
    }
    const auto dateModified = shouldSyncWithiCloud == ShouldSyncWithiCloud::Yes ? ShouldUpdateDateModified::Yes
                                                                                : ShouldUpdateDateModified::No;
    const bool holdsBack = willPush && canPush;
    // Noted with the change, since a program may end while it is held back.
    const auto notes = notesOfPush(holdsBack);
    _writes->database().bulkUpdateReminders(
        reminders, dateModified, SaveIfNotFound::No,
        [this, holdsBack, notes](const Reminders& stored) {
            if (holdsBack) holdBackReordering(stored, endOfPush(notes));
        },
        notes);
}

void ZNReminderManager::holdBackReordering(Reminders reminders, Block ended) {
    {
        const std::lock_guard lock(_reordering->mutex);
        _reordering->pending.reminders = std::move(reminders);
        _reordering->pending.ended.push_back(std::move(ended));
    }
    onMainThread(_with.dispatch, [guard = std::weak_ptr(_reordering), main = _with.dispatch.main(), writes = _writes,
                                  &cloud = _with.cloud] {
        const auto reordering = guard.lock();
        if (!reordering) return;
        reordering->timer = NSTimer(main, reorderDelay, false, [guard, writes, &cloud] {
            if (const auto due = guard.lock()) uploadReordering(writes, cloud, *due, ShouldRetry::Yes);
        });
    });
}

void ZNReminderManager::willBecomeInactive() {
    uploadReordering(_writes, _with.cloud, *_reordering, ShouldRetry::No);
    onMainThread(_with.dispatch, [guard = std::weak_ptr(_reordering)] {
        const auto reordering = guard.lock();
        // A reordering that has come in meanwhile will replace the timer by its own.
        if (reordering && !reordering->isPending()) reordering->timer.invalidate();
    });
}

}  // namespace zun
