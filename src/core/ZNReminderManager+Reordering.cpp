#include <utility>

#include "core/Reordering.h"
#include "core/ZNReminderManager.h"

namespace zun {
namespace {

void upload(ReminderCloudPushes& cloud, ZNReminderManager::Reminders reminders, ShouldRetry shouldRetry,
            const Block& didEnd) {
    if (!reminders.empty())
        return cloud.bulkUpdateRemindersOnCloudKit(std::move(reminders), shouldRetry, ShouldDelete::No,
                                                   ShouldUpdatePersistenceStatus::No, didEnd, didEnd);
    if (didEnd) didEnd();
}

}  // namespace

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
    _writes->database().bulkUpdateReminders(reminders, dateModified, SaveIfNotFound::No,
                                            [this, holdsBack = willPush && canPush](const Reminders& stored) {
                                                if (holdsBack) holdBackReordering(stored);
                                            });
}

void ZNReminderManager::holdBackReordering(Reminders reminders) {
    {
        const std::lock_guard lock(_reordering->mutex);
        _reordering->pending = std::move(reminders);
    }
    onMainThread(_with.dispatch,
                 [guard = std::weak_ptr(_reordering), main = _with.dispatch.main(), &cloud = _with.cloud] {
                     const auto reordering = guard.lock();
                     if (!reordering) return;
                     reordering->timer = NSTimer(main, reorderDelay, false, [guard, &cloud] {
                         if (const auto due = guard.lock()) upload(cloud, due->take(), ShouldRetry::Yes, {});
                     });
                 });
}

void ZNReminderManager::willBecomeInactive(Block uploadDidEnd) {
    upload(_with.cloud, _reordering->take(), ShouldRetry::No, uploadDidEnd);
    onMainThread(_with.dispatch, [guard = std::weak_ptr(_reordering)] {
        const auto reordering = guard.lock();
        // A reordering that has come in meanwhile will replace the timer by its own.
        if (reordering && !reordering->isPending()) reordering->timer.invalidate();
    });
}

}  // namespace zun
