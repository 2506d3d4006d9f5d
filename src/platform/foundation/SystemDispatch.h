#pragma once

// The real queues: pools of threads with Boost.Asio's strands in front. A pool is started by the first block for it, so
// a program that needs no thread starts none. Work of the qualities Utility and Background has a pool of its own at a
// lower priority, which therefore can neither delay nor starve the rest. In a program with a window all of them have a
// lower priority than its thread, which a sync would else keep from painting on a computer of few processors.
//
// The main queue is the program's own loop: Qt's, handed in as a DispatchQueue, or a LoopQueue in a program without
// one.
//
// Any thread. Destroyed last, after everything that was given it: blocks under way are waited for, later ones are
// dropped unrun.

#include <array>
#include <memory>

#include "platform/foundation/Dispatch.h"
#include "platform/foundation/LoopQueue.h"

namespace zun {

class SystemDispatch final : public Dispatch {
  public:
    // With the loop of a program that has a window.
    explicit SystemDispatch(DispatchQueuePtr main);
    // With a LoopQueue, waitUntil() on the main thread runs main's blocks while it waits.
    explicit SystemDispatch(std::shared_ptr<LoopQueue> main);
    ~SystemDispatch() override;
    SystemDispatch(const SystemDispatch&) = delete;
    SystemDispatch& operator=(const SystemDispatch&) = delete;

    [[nodiscard]] DispatchQueuePtr main() override { return _main; }
    [[nodiscard]] DispatchQueuePtr makeSerialQueue(std::string_view label, QualityOfService quality) override;
    [[nodiscard]] DispatchQueuePtr concurrent(QualityOfService quality) override;
    [[nodiscard]] std::chrono::microseconds uptime() const override;
    void waitUntil(const std::function<bool()>& condition) override;
    void notify() override;

  private:
    class Pool;
    class PoolQueue;
    struct Wait;

    SystemDispatch(DispatchQueuePtr main, int workNiceness);

    DispatchQueuePtr _main;
    std::shared_ptr<LoopQueue> _loop;  // null if main is someone else's loop
    std::unique_ptr<Pool> _pool;
    std::unique_ptr<Pool> _quietPool;
    std::array<DispatchQueuePtr, 2> _concurrent;
    std::unique_ptr<Wait> _wait;
};

}  // namespace zun
