#pragma once

#include <mutex>
#include <utility>

#include "core/ZNReminderManager.h"

namespace zun {

// The reordering that is held back. `pending` is what counts: whoever takes it uploads it, be it the timer or the loss
// of the user's attention. Arming the timer is a hop to the main queue behind it, and a timer that finds nothing
// pending does nothing.
struct ZNReminderManager::Reordering {
    std::mutex mutex;
    Reminders pending;
    NSTimer timer;  // main thread only

    bool isPending() {
        const std::lock_guard lock(mutex);
        return !pending.empty();
    }

    Reminders take() {
        const std::lock_guard lock(mutex);
        return std::exchange(pending, {});
    }
};

}  // namespace zun
