#pragma once

// The one source of queues, timers, delays and threads. Two implementations: SystemDispatch (a pool of threads; the
// main queue is whatever loop the program has) and SimulatedDispatch (one thread, virtual time, an order drawn from a
// seed).

#include <chrono>
#include <functional>
#include <memory>
#include <string_view>

namespace zun {

using Block = std::function<void()>;

// The platform's numbers for its quality of service classes.
enum class QualityOfService { Background = 9, Utility = 17, Default = 21, UserInitiated = 25 };

// A place where blocks run. A serial queue runs one block at a time in the order of submission; a concurrent one makes
// no promise. Destroying the last reference lets blocks already submitted run to their end.
class DispatchQueue {
  public:
    virtual ~DispatchQueue() = default;
    // Runs the block later on this queue; returns at once. Any thread.
    virtual void async(Block block) = 0;
    virtual void asyncAfter(std::chrono::microseconds delay, Block block) = 0;
    // True inside a block of this queue (for the main queue: on the main thread).
    [[nodiscard]] virtual bool isCurrent() const = 0;
};

using DispatchQueuePtr = std::shared_ptr<DispatchQueue>;

class Dispatch {
  public:
    virtual ~Dispatch() = default;
    [[nodiscard]] virtual DispatchQueuePtr main() = 0;
    [[nodiscard]] virtual DispatchQueuePtr makeSerialQueue(std::string_view label, QualityOfService quality) = 0;
    [[nodiscard]] virtual DispatchQueuePtr concurrent(QualityOfService quality) = 0;
    // Time that never jumps, for delays and measuring.
    [[nodiscard]] virtual std::chrono::microseconds uptime() const = 0;
    // Blocks the calling thread until the condition holds; the condition is tested again after each notify(). The
    // simulated form runs its queues meanwhile. Must not be called inside a block of a queue that the condition waits
    // for.
    virtual void waitUntil(const std::function<bool()>& condition) = 0;
    virtual void notify() = 0;
};

// Runs the block at once when already on the main thread, else asynchronously on the main queue.
void onMainThread(Dispatch& dispatch, Block block);
// For news that come in bursts, one for each of thousands of records: called on the main thread it runs the block at
// once; called from elsewhere, the block runs there once for all calls until it begins. Any thread.
[[nodiscard]] Block gatheredOnMainThread(Dispatch& dispatch, Block block);

// A timer on a queue. Invalidates itself when destroyed; a one-shot timer is invalid once it has fired.
class NSTimer {
  public:
    // A bare timer that was never scheduled.
    NSTimer() = default;
    NSTimer(DispatchQueuePtr queue, std::chrono::microseconds interval, bool repeats, Block action);
    ~NSTimer() { invalidate(); }
    NSTimer(NSTimer&&) noexcept = default;
    NSTimer& operator=(NSTimer&& other) noexcept;

    [[nodiscard]] bool isValid() const;
    void invalidate();

  private:
    struct State;
    static void arm(const std::shared_ptr<State>& state);
    std::shared_ptr<State> _state;
};

}  // namespace zun
