#pragma once

#include <memory>

#include "platform/foundation/Dispatch.h"

namespace zun {

// The main queue of a program without a loop of its own. The thread that makes it is the main thread; blocks run there
// while it is inside runUntil().
class LoopQueue final : public DispatchQueue {
  public:
    LoopQueue();
    ~LoopQueue() override;

    void async(Block block) override;
    void asyncAfter(std::chrono::microseconds delay, Block block) override;
    // True on the main thread, inside a block or not.
    [[nodiscard]] bool isCurrent() const override;

    // Main thread only. Runs blocks until the condition holds; it is tested after each block and each wake(). Called
    // inside a block of this queue it runs no others, so that one block still ends before the next begins.
    void runUntil(const std::function<bool()>& condition);
    // Has the condition tested again. Any thread.
    void wake();
    // Lets go of every block that waits, unrun. What they hold may hold this queue.
    void dropBlocks();

  private:
    struct State;
    std::unique_ptr<State> _state;
};

}  // namespace zun
