#pragma once

// The loop of events of one thread that serves connections, as far as a storage needs it that wants to work there
// while others are served. Used by that thread.

#include <chrono>
#include <functional>
#include <memory>

namespace zun::cloud {

class EventLoop {
  public:
    class Watch {
      public:
        // Nothing is called any more.
        virtual ~Watch() = default;
        // Runs it once, when there is something to read, or the other side has hung up.
        virtual void whenReadable(std::function<void()> then) = 0;
    };

    virtual ~EventLoop() = default;
    // Runs it when so much time has passed, and after what can be done now. Not at all once the loop has ended.
    virtual void after(std::chrono::microseconds time, std::function<void()> work) = 0;
    // Of a socket, which may be closed before the watch ends. Null where there are no descriptors left.
    [[nodiscard]] virtual std::unique_ptr<Watch> watch(int socket) = 0;
};

}  // namespace zun::cloud
