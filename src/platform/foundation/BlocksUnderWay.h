#pragma once

// Blocks on a queue that use what their maker does not own: whoever made them waits for them before it goes, since what
// they use may go next. Owned by the maker and used on its thread; the blocks run wherever their queue does.

#include <atomic>
#include <memory>
#include <utility>

#include "platform/foundation/Dispatch.h"

namespace zun {

class BlocksUnderWay {
  public:
    // The dispatch outlives the blocks.
    explicit BlocksUnderWay(Dispatch& dispatch) : _dispatch(dispatch) {}
    ~BlocksUnderWay() { wait(); }
    BlocksUnderWay(const BlocksUnderWay&) = delete;
    BlocksUnderWay& operator=(const BlocksUnderWay&) = delete;

    void async(DispatchQueue& queue, Block block) {
        ++*_count;
        queue.async([count = _count, &dispatch = _dispatch, block = std::move(block)] {
            block();
            --*count;
            dispatch.notify();
        });
    }
    // Blocks the calling thread until all have run.
    void wait() {
        _dispatch.waitUntil([this] { return *_count == 0; });
    }

  private:
    Dispatch& _dispatch;
    const std::shared_ptr<std::atomic<int>> _count = std::make_shared<std::atomic<int>>(0);
};

}  // namespace zun
