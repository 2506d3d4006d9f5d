#include "platform/foundation/LoopQueue.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace zun {

using Clock = std::chrono::steady_clock;

struct LoopQueue::State {
    const std::thread::id mainThread = std::this_thread::get_id();
    bool runningBlock = false;  // main thread only
    std::mutex mutex;
    std::condition_variable changed;
    std::uint64_t wakes = 0;
    // By the moment at which they may run; equal moments keep the order of submission.
    std::multimap<Clock::time_point, Block> blocks;
};

LoopQueue::LoopQueue() : _state(std::make_unique<State>()) {}
LoopQueue::~LoopQueue() = default;

void LoopQueue::async(Block block) {
    asyncAfter({}, std::move(block));
}

void LoopQueue::asyncAfter(std::chrono::microseconds delay, Block block) {
    {
        const std::lock_guard lock(_state->mutex);
        _state->blocks.emplace(Clock::now() + delay, std::move(block));
    }
    _state->changed.notify_one();
}

bool LoopQueue::isCurrent() const {
    return std::this_thread::get_id() == _state->mainThread;
}

void LoopQueue::runUntil(const std::function<bool()>& condition) {
    auto& state = *_state;
    const bool mayRunBlocks = !state.runningBlock;
    std::unique_lock lock(state.mutex);
    while (true) {
        const auto seen = state.wakes;
        lock.unlock();
        if (condition()) return;
        lock.lock();
        if (!mayRunBlocks) {
            state.changed.wait(lock, [&] { return state.wakes != seen; });
            continue;
        }
        const auto first = state.blocks.begin();
        if (first != state.blocks.end() && first->first <= Clock::now()) {
            auto node = state.blocks.extract(first);
            lock.unlock();
            state.runningBlock = true;
            node.mapped()();
            state.runningBlock = false;
            node = {};
            lock.lock();
        } else if (state.wakes == seen) {
            // A new block may be due before the one waited for, so any change ends this wait.
            if (first == state.blocks.end()) {
                state.changed.wait(lock);
            } else {
                state.changed.wait_until(lock, first->first);
            }
        }
    }
}

void LoopQueue::dropBlocks() {
    std::multimap<Clock::time_point, Block> dropped;
    const std::lock_guard lock(_state->mutex);
    dropped.swap(_state->blocks);
}

void LoopQueue::wake() {
    {
        const std::lock_guard lock(_state->mutex);
        ++_state->wakes;
    }
    _state->changed.notify_one();
}

}  // namespace zun
