#pragma once

#include <mutex>
#include <vector>

#include "platform/foundation/Dispatch.h"

namespace zun {

// Runs what is to wait at once, and remembers how long it should have waited.
class ImpatientDispatch final : public Dispatch {
  public:
    explicit ImpatientDispatch(Dispatch& real) : _real(real) {}
    DispatchQueuePtr main() override { return _real.main(); }
    DispatchQueuePtr makeSerialQueue(std::string_view label, QualityOfService quality) override {
        return std::make_shared<Queue>(_real.makeSerialQueue(label, quality), *this);
    }
    DispatchQueuePtr concurrent(QualityOfService quality) override { return _real.concurrent(quality); }
    std::chrono::microseconds uptime() const override { return _real.uptime(); }
    void waitUntil(const std::function<bool()>& condition) override { _real.waitUntil(condition); }
    void notify() override { _real.notify(); }

    std::vector<std::chrono::microseconds> waits() {
        const std::scoped_lock lock(_mutex);
        return _waits;
    }

  private:
    struct Queue final : DispatchQueue {
        Queue(DispatchQueuePtr real, ImpatientDispatch& owner) : queue(std::move(real)), dispatch(owner) {}
        void async(Block block) override { queue->async(std::move(block)); }
        void asyncAfter(std::chrono::microseconds delay, Block block) override {
            {
                const std::scoped_lock lock(dispatch._mutex);
                dispatch._waits.push_back(delay);
            }
            queue->async(std::move(block));
        }
        bool isCurrent() const override { return queue->isCurrent(); }
        DispatchQueuePtr queue;
        ImpatientDispatch& dispatch;
    };

    Dispatch& _real;
    std::mutex _mutex;
    std::vector<std::chrono::microseconds> _waits;
};

}  // namespace zun
