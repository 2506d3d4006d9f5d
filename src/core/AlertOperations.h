#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

#include "core/ZNReminderManager.h"

namespace zun {

// Everything under way towards the alerts, counted so that waiting sees the operations that operations start.
struct ZNReminderManager::AlertOperations : std::enable_shared_from_this<AlertOperations> {
    explicit AlertOperations(Dispatch& theDispatch) : dispatch(theDispatch) {}

    void start(const DispatchQueuePtr& queue, Block operation) {
        ++started;
        queue->async([self = shared_from_this(), operation = std::move(operation)]() mutable {
            operation();
            operation = nullptr;
            // The manager may go as soon as the count says so.
            if (++self->finished == self->started) self->dispatch.notify();
        });
    }
    void waitUntilNoneIsLeft() {
        dispatch.waitUntil([this] { return finished == started; });
    }

    Dispatch& dispatch;
    std::atomic<std::uint64_t> started{0};
    std::atomic<std::uint64_t> finished{0};
};

}  // namespace zun
