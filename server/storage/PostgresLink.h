#pragma once

// One connection to a PostgreSQL database, and the statements prepared on it. What brings no answer is sent with the
// next question, so that a transaction takes few trips to the server and back. Used by one thread at a time. Everything
// throws StorageFailure where it does not say that it never fails.

#include <libpq-fe.h>

#include <memory>
#include <string>
#include <vector>

#include "server/storage/Storage.h"

namespace zun::cloud {

// Others were in the way; the same work may succeed when it is run again.
class PostgresConflict : public StorageFailure {
  public:
    using StorageFailure::StorageFailure;
};

// What was remembered is no longer so; nothing has happened.
class PostgresStale : public StorageFailure {
  public:
    using StorageFailure::StorageFailure;
};

struct PostgresClose {
    void operator()(PGconn* connection) const { PQfinish(connection); }
    void operator()(PGresult* result) const { PQclear(result); }
};
using PostgresResult = std::unique_ptr<PGresult, PostgresClose>;

// Connects to where libpq's words for an address lead, or to the first of several hosts that it asks for. A host that
// has gone silent is given up after some seconds, unless the address says otherwise. Not open if nobody answers.
[[nodiscard]] std::unique_ptr<PGconn, PostgresClose> connectToPostgres(const std::string& address);

class PostgresLink {
  public:
    using Values = std::vector<std::string_view>;
    enum class Table { Expected, MadeIfMissing };

    PostgresLink(const std::string& address, Table table);

    // False once it has been found broken, or of no more use: the server has ended it or takes no writes.
    [[nodiscard]] bool isOpen() const { return _handle && PQstatus(_handle.get()) == CONNECTION_OK; }

    // Looks whether the server has hung up meanwhile, which isOpen() does not know before somebody asks.
    [[nodiscard]] bool isStillOpen() noexcept;

    // Sends it sometime before the next question.
    void say(const char* statement, const Values& values = {});
    // Sends it with whatever waits and returns its answer.
    PostgresResult ask(const char* statement, const Values& values = {});
    // Sends whatever waits and returns the answers of all that was said since the last question. In two halves for
    // those who have something else to do meanwhile: between them nothing is said.
    std::vector<PostgresResult> collect() {
        startCollecting();
        return endCollecting();
    }
    void startCollecting();
    // Takes what has come; whether that is all of it, so that endCollecting() does not wait.
    [[nodiscard]] bool isCollected() noexcept;
    std::vector<PostgresResult> endCollecting();
    // Readable when there may be more of it; -1 without a connection.
    [[nodiscard]] int socket() const { return _handle ? PQsocket(_handle.get()) : -1; }
    // Sends whatever waits; nobody wants to know how it ended. Never fails.
    void send() noexcept;
    // Ends a transaction, whatever state it is in. Never fails.
    void rollback() noexcept;

  private:
    void takeResult();
    void prepare();
    void execute(const char* sql);
    [[noreturn]] void fail(const PGresult* result);

    std::unique_ptr<PGconn, PostgresClose> _handle;
    int _said = 0;     // since the last collect()
    int _syncs = 0;    // ends of what was sent whose answers were not read yet
    int _ignored = 0;  // of these, how many nobody wants to know about
    struct Collected {
        std::vector<PostgresResult> answers;
        PostgresResult failed;
        bool isBetweenAnswers = false;
    };
    Collected _collected;
};

}  // namespace zun::cloud
