#include "platform/foundation/Dispatch.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace zun {

void onMainThread(Dispatch& dispatch, Block block) {
    const auto main = dispatch.main();
    if (main->isCurrent()) {
        block();
    } else {
        main->async(std::move(block));
    }
}

Block gatheredOnMainThread(Dispatch& dispatch, Block block) {
    struct Shared {
        const DispatchQueuePtr main;
        const Block block;
        std::atomic<bool> isWaiting = false;
    };
    return [shared = std::shared_ptr<Shared>(new Shared{dispatch.main(), std::move(block)})] {
        if (shared->main->isCurrent()) return shared->block();
        if (shared->isWaiting.exchange(true)) return;
        shared->main->async([shared] {
            shared->isWaiting = false;
            shared->block();
        });
    };
}

struct NSTimer::State {
    const DispatchQueuePtr queue;
    const std::chrono::microseconds interval;
    const bool repeats;
    std::mutex mutex;
    // Null once the timer is invalid, so that what the action holds is let go at once and not when the delay is over.
    std::shared_ptr<const Block> action;
};

NSTimer::NSTimer(DispatchQueuePtr queue, std::chrono::microseconds interval, bool repeats, Block action)
    : _state(new State{std::move(queue), interval, repeats, {}, std::make_shared<const Block>(std::move(action))}) {
    arm(_state);
}

NSTimer& NSTimer::operator=(NSTimer&& other) noexcept {
    if (this != &other) {
        invalidate();
        _state = std::move(other._state);
    }
    return *this;
}

void NSTimer::arm(const std::shared_ptr<State>& state) {
    state->queue->asyncAfter(state->interval, [state] {
        std::shared_ptr<const Block> action;
        {
            const std::lock_guard lock(state->mutex);
            action = state->repeats ? state->action : std::exchange(state->action, nullptr);
        }
        if (!action) return;
        (*action)();
        if (!state->repeats) return;
        {
            const std::lock_guard lock(state->mutex);
            if (!state->action) return;
        }
        arm(state);
    });
}

bool NSTimer::isValid() const {
    if (!_state) return false;
    const std::lock_guard lock(_state->mutex);
    return _state->action != nullptr;
}

void NSTimer::invalidate() {
    if (!_state) return;
    std::shared_ptr<const Block> action;  // destroyed after the lock is released: it may own anything
    const std::lock_guard lock(_state->mutex);
    action = std::exchange(_state->action, nullptr);
}

}  // namespace zun
