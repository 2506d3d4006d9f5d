#pragma once

// Queues in virtual time on the one thread that made them, for replaying what many threads could do. Nothing happens
// until the thread says so: runUntilIdle(), advance() or waitUntil(). Which ready queue runs next is drawn from the
// seed; a serial queue keeps its own order, a concurrent one does not. Outside of blocks the thread is the main thread.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/foundation/Dispatch.h"

namespace zun {

class SimulatedDispatch final : public Dispatch {
  public:
    explicit SimulatedDispatch(std::uint64_t seed);
    ~SimulatedDispatch() override;
    SimulatedDispatch(const SimulatedDispatch&) = delete;
    SimulatedDispatch& operator=(const SimulatedDispatch&) = delete;

    [[nodiscard]] DispatchQueuePtr main() override;
    [[nodiscard]] DispatchQueuePtr makeSerialQueue(std::string_view label, QualityOfService quality) override;
    [[nodiscard]] DispatchQueuePtr concurrent(QualityOfService quality) override;
    // Virtual time since construction.
    [[nodiscard]] std::chrono::microseconds uptime() const override { return _now; }
    // Runs blocks, and where none is ready moves time on to the next delayed one, until the condition holds. Ends the
    // program with a message if it can never hold: when nothing is left to run, or an hour has passed.
    void waitUntil(const std::function<bool()>& condition) override;
    void notify() override {}

    // Runs every block that is ready, and those that they submit, without moving time.
    void runUntilIdle();
    // Moves time on, running each delayed block at its own moment.
    void advance(std::chrono::microseconds duration);

  private:
    class Queue;
    enum class Kind { Serial, Concurrent };

    std::shared_ptr<Queue> makeQueue(std::string label, Kind kind);
    [[nodiscard]] bool runOne();
    // Makes the earliest delayed blocks ready and sets the time to theirs, unless they lie after `limit`.
    [[nodiscard]] bool moveToNextDelayed(std::chrono::microseconds limit);

    std::mt19937_64 _random;
    std::chrono::microseconds _now{0};
    std::vector<std::shared_ptr<Queue>>
        _ready;  // each queue with ready blocks once, in the order in which it became so
    std::multimap<std::chrono::microseconds, std::pair<std::shared_ptr<Queue>, Block>> _delayed;
    const Queue* _running = nullptr;
    std::shared_ptr<Queue> _main;
    std::map<QualityOfService, DispatchQueuePtr> _concurrent;
};

}  // namespace zun
