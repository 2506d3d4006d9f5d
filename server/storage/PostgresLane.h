#pragma once

// Does what one thread asks for, reads or writes, on a connection of its own: what comes while the server is at work is
// done together in the next turn. The thread's loop of events goes on with other things meanwhile, so that a request
// passes no other thread. What does not succeed is left to the queue. Used by the thread, which does wait for the
// server where a request asks for rows that were not guessed.
//
// A turn of writes begins when as many are there as had come when the last one ended, since those who were answered may
// well ask again at once; but it does not wait for them for longer than a commit takes anyway. A connection whose
// server has been silent for too long is left, and the queue looks for another.

#include <chrono>
#include <memory>
#include <optional>

#include "server/storage/EventLoop.h"
#include "server/storage/PostgresQueue.h"
#include "server/storage/PostgresSpares.h"
#include "server/storage/PostgresTurn.h"

namespace zun::cloud {

class PostgresLane {
  public:
    // All of these outlive it, but the loop ends before it. Wants a spare connection.
    PostgresLane(PostgresJob::Kind kind, EventLoop& loop, PostgresQueue& queue, PostgresSpares& spares,
                 RememberedRows& remembered, PostgresTurn::Woken woken);
    // Waits for what is under way and leaves the rest to the queue.
    ~PostgresLane();
    PostgresLane(const PostgresLane&) = delete;
    PostgresLane& operator=(const PostgresLane&) = delete;

    void add(PostgresJob job);

  private:
    void plan();
    void begin();
    void goOn();
    void step(void (PostgresTurn::*what)());
    void meet(const StorageFailure& failure);
    [[nodiscard]] bool connectIfNeeded();
    void wantConnection();
    void watchOverTurn();

    const PostgresJob::Kind _kind;
    EventLoop& _loop;
    PostgresQueue& _queue;
    PostgresSpares& _spares;
    RememberedRows& _remembered;
    const PostgresTurn::Woken _woken;
    std::unique_ptr<PostgresConnection> _connection;
    std::unique_ptr<EventLoop::Watch> _watch;
    bool _isConnectionWanted = false;
    bool _isTurnWatchedOver = false;
    PostgresJobs _waiting;
    std::size_t _awaited = 1;                        // how many are worth waiting for
    std::optional<std::chrono::microseconds> _wait;  // of the plan for the next turn
    unsigned _plans = 0;                             // only the last one counts
    PostgresJobs _jobs;                              // of the turn
    std::optional<PostgresTurn> _turn;
};

}  // namespace zun::cloud
