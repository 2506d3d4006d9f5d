#pragma once

// A thread's part of a PostgresStorage: takes turns from the queue and does them on a connection of its own, which is
// made anew where it breaks. Used by one thread.

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

    PostgresWorker(const std::string& address, PostgresQueue& queue, RememberedAccounts& remembered, Woken woken,
                   std::unique_ptr<PostgresConnection> connection);
    // Until the queue ends.
    void run();

  private:
    using Turn = PostgresQueue::Turn;
    // Returns whether there is a connection; without one it has waited.
    [[nodiscard]] bool reach(PostgresJobs& jobs);
    // These take out of the turn what is done, or has failed for good.
    void attempt(Turn& turn);
    void readTogether(Turn& turn);
    void readAlone(Turn& turn);
    void write(Turn& turn);
    void meetConflict(Turn& turn, const StorageFailure& conflict);
    void meetFailure(Turn& turn, const StorageFailure& failure);

    const std::string& _address;
    PostgresQueue& _queue;
    RememberedAccounts& _remembered;
    const Woken _woken;
    std::unique_ptr<PostgresConnection> _connection;
    std::minstd_rand _random;
    bool _isCommitting = false;
    int _conflicts = 0;  // in this turn
};

}  // namespace zun::cloud
