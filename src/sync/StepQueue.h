#pragma once

// The queue that runs the steps of a sync pass, each as soon as a thread is free. Any thread.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "platform/foundation/Dispatch.h"
#include "sync/LifeGuard.h"

namespace zun {

// A piece of work that can be queued once; queueing it again does nothing.
class SyncStep {
  public:
    explicit SyncStep(Block body) : _body(std::move(body)) {}

  private:
    friend class StepQueue;
    const Block _body;
    std::atomic<bool> _wasQueued = false;
};
using SyncStepPtr = std::shared_ptr<SyncStep>;

class StepQueue {
  public:
    StepQueue(Dispatch& dispatch, const LifeGuard& guard)
        : _queue(dispatch.concurrent(QualityOfService::UserInitiated)), _guard(guard) {}

    void addOperation(const SyncStepPtr& step) {
        if (step->_wasQueued.exchange(true)) return;
        const std::uint64_t generation = *_generation;
        _queue->async(_guard.guarded([step, generation, current = _generation] {
            if (generation == *current) step->_body();
        }));
    }
    // Drops the steps that have not begun. What is queued later runs.
    void cancelAllOperations() { ++*_generation; }

  private:
    DispatchQueuePtr _queue;
    const LifeGuard& _guard;
    std::shared_ptr<std::atomic<std::uint64_t>> _generation = std::make_shared<std::atomic<std::uint64_t>>(0);
};

}  // namespace zun
