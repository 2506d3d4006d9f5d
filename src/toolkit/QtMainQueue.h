#pragma once

// The main queue of a program with Qt's loop: blocks run on the thread of the application object, inside its event
// loop, in the order in which they were submitted. Made on that thread once the application object stands; blocks that
// are still waiting when that object is destroyed are dropped. Any thread may submit.

#include "platform/foundation/Dispatch.h"

class QObject;

namespace zun {

class QtMainQueue final : public DispatchQueue {
  public:
    QtMainQueue();

    void async(Block block) override;
    // Precise to the millisecond, never early.
    void asyncAfter(std::chrono::microseconds delay, Block block) override;
    // True on the main thread, inside a block or not.
    [[nodiscard]] bool isCurrent() const override;

  private:
    QObject* _context;  // a child of the application object
};

}  // namespace zun
