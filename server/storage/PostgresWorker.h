#pragma once

// Does turns of the queue of a PostgresStorage on a connection of its own, which is made anew where it breaks. Used by
// one thread at a time.

#include <atomic>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>

#include "server/storage/PostgresBatch.h"
#include "server/storage/PostgresQueue.h"

namespace zun::cloud {

class PostgresWorker {
  public:
    // After a commit; the connection is free to tell others.
    using Woken = std::function<void(PostgresConnection&, const std::set<std::string>& accounts)>;

    PostgresWorker(const std::string& address, PostgresQueue& queue, RememberedRows& remembered, Woken woken,
                   std::unique_ptr<PostgresConnection> connection = nullptr);
    // Until the queue ends. `done` runs after each turn of several, before another one of its kind can begin.
    void run(const std::function<void(PostgresJob::Kind)>& done);

    // For a worker without a thread. Whoever has a turn of the worker's kind has the worker, too.
    void connectIfNeeded();
    // What does not succeed at once is left to others. Ends the turn.
    void runOnce(PostgresQueue::Turn turn);
    // Whether runOnce() is worth a try. Any thread.
    [[nodiscard]] bool isReady() const { return _isReady; }

  private:
    using Turn = PostgresQueue::Turn;
    [[nodiscard]] bool isConnected() const { return _connection && _connection->isOpen(); }
    // Returns whether there is a connection; without one it has waited.
    [[nodiscard]] bool reach(PostgresJobs& jobs);
    // These take out of the turn what is done, or has failed for good.
    void attempt(Turn& turn);
    void readTogether(Turn& turn);
    void readAlone(Turn& turn);
    [[nodiscard]] bool writeOverRemembered(Turn& turn);
    void write(Turn& turn);
    void meetConflict(Turn& turn, const StorageFailure& conflict);
    void meetFailure(Turn& turn, const StorageFailure& failure);

    const std::string& _address;
    PostgresQueue& _queue;
    RememberedRows& _remembered;
    const Woken _woken;
    std::unique_ptr<PostgresConnection> _connection;
    std::minstd_rand _random;
    std::atomic<bool> _isReady{false};
    bool _isCommitting = false;
    int _conflicts = 0;  // in this turn
};

}  // namespace zun::cloud
