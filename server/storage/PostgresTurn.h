#pragma once

// Jobs of one kind that are done together over one connection: reads by one question, writes in one transaction. Goes
// in steps, each of which ends with a question to the server, so that a thread can do something else until the answer
// is there.
//
//   read:  fetch what the works will ask for -> run them
//   write: store over what is remembered -> done, or stale -> lock and fetch -> run the works, commit -> done
//
// Used by one thread at a time. The steps throw StorageFailure; what is still among the jobs then has not been done,
// but while it is committing, where nobody knows.

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "server/storage/PostgresBatch.h"
#include "server/storage/PostgresQueue.h"

namespace zun::cloud {

class PostgresTurn {
  public:
    // After a commit; the connection is free to tell others.
    using Woken = std::function<void(PostgresConnection&, const std::set<std::string>& accounts)>;

    // All of these outlive it. What is done is taken out of the jobs.
    PostgresTurn(PostgresConnection& connection, RememberedRows& remembered, const Woken& woken, PostgresJob::Kind kind,
                 PostgresJobs& jobs)
        : _connection(connection), _remembered(remembered), _woken(woken), _kind(kind), _jobs(jobs) {}

    void begin();
    [[nodiscard]] bool isUnderWay() const { return _step != Step::None; }
    // Waits for the answer where the connection does not have it.
    void goOn();
    [[nodiscard]] bool isCommitting() const { return _isCommitting; }
    // Reads that want more than can be guessed.
    [[nodiscard]] PostgresJobs takeMissed() { return std::exchange(_missed, {}); }

  private:
    enum class Step { None, Reading, StoringOverRemembered, Locking, Committing };
    void read();
    [[nodiscard]] bool storeOverRemembered();
    void endStoringOverRemembered();
    void lock();
    void write();
    void runAll();
    void endWriting();

    PostgresConnection& _connection;
    RememberedRows& _remembered;
    const Woken& _woken;
    const PostgresJob::Kind _kind;
    PostgresJobs& _jobs;
    PostgresJobs _missed;
    Step _step = Step::None;
    bool _isCommitting = false;
    GuessedRows _guessed;
    std::optional<PostgresBatch> _batch;
    std::set<std::string> _wokenAccounts;
};

}  // namespace zun::cloud
