#pragma once

#include <mutex>
#include <utility>

#include "core/ZNReminderManager.h"

namespace zun {

// The reordering that is held back. `pending` is what counts: whoever takes it uploads it, be it the timer or the loss
// of the user's attention. Arming the timer is a hop to the main queue behind it, and a timer that finds nothing
// pending does nothing.
struct ZNReminderManager::Reordering {
    struct Held {
        Reminders reminders;
        // One for each reordering that ends with this upload; those that it has replaced among them.
        std::vector<Block> ended;
    };

    std::mutex mutex;
    Held pending;
    NSTimer timer;  // main thread only

    bool isPending() {
        const std::lock_guard lock(mutex);
        return !pending.reminders.empty();
    }

    Held take() {
        const std::lock_guard lock(mutex);
        return std::exchange(pending, {});
    }
};

}  // namespace zun
