#pragma once

// Does turns of the queue of a PostgresStorage on a connection of its own, which is made anew where it breaks. Used by
// one thread at a time.

#include <functional>
#include <memory>
#include <random>
#include <string>

#include "server/storage/PostgresTurn.h"

namespace zun::cloud {

class PostgresWorker {
  public:
    PostgresWorker(const PostgresServer& server, PostgresQueue& queue, RememberedRows& remembered,
                   PostgresTurn::Woken woken, std::unique_ptr<PostgresConnection> connection = nullptr);
    // Until the queue ends. `reached` runs after each turn that found the server well, but for those of one job done
    // alone.
    void run(const std::function<void()>& reached);

  private:
    using Turn = PostgresQueue::Turn;
    [[nodiscard]] bool isConnected() const { return _connection && _connection->isOpen(); }
    // Returns whether there is a connection; without one it has waited.
    [[nodiscard]] bool reach(PostgresJobs& jobs);
    // These take out of the turn what is done, or has failed for good.
    void attempt(Turn& turn);
    void doTogether(Turn& turn);
    void readAlone(Turn& turn);
    void meetConflict(Turn& turn, const StorageFailure& conflict);
    void meetFailure(Turn& turn, const StorageFailure& failure);

    const PostgresServer& _server;
    PostgresQueue& _queue;
    RememberedRows& _remembered;
    const PostgresTurn::Woken _woken;
    std::unique_ptr<PostgresConnection> _connection;
    std::minstd_rand _random;
    bool _isCommitting = false;
    int _conflicts = 0;  // in this turn
};

}  // namespace zun::cloud
