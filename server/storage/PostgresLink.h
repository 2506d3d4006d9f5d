#pragma once

// One connection to a PostgreSQL database, and the statements prepared on it. What brings no answer is sent with the
// next question, so that a transaction takes few trips to the server and back. Used by one thread at a time. Everything
// throws StorageFailure where it does not say that it never fails.

#include <libpq-fe.h>

#include <chrono>
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

using PostgresHandle = std::unique_ptr<PGconn, PostgresClose>;

struct PostgresServer {
    std::string address;  // as libpq reads it
    // So long it may take over an answer, or over one part of it, before it is given up: one on the same machine may
    // stand still without hanging up.
    std::chrono::milliseconds patience = std::chrono::seconds(10);
};

// Connects to where libpq's words for an address lead, or to the first of several hosts that it asks for. A host that
// has gone silent is given up after some seconds, unless the address says otherwise. Not open if nobody answers.
[[nodiscard]] PostgresHandle connectToPostgres(const PostgresServer& server);
// Commands outside of a pipeline. Nothing if the server does not answer; else the first answer that is a failure, or
// the last one.
[[nodiscard]] PostgresResult command(PGconn* connection, const char* sql, std::chrono::milliseconds patience) noexcept;

class PostgresLink {
  public:
    using Values = std::vector<std::string_view>;
    enum class Table { Expected, MadeIfMissing };

    PostgresLink(const PostgresServer& server, Table table);

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
    // When there is something to read: takes what has come. Whether that is all of it, so that endCollecting() does not
    // wait.
    [[nodiscard]] bool isCollected() noexcept;
    // Whether nothing has come for too long since startCollecting().
    [[nodiscard]] bool hasGoneSilent() const { return std::chrono::steady_clock::now() - _heard > _patience; }
    // Not open any more; what is collected fails. Never fails.
    void giveUp() noexcept;
    std::vector<PostgresResult> endCollecting();
    // Readable when there may be more of it; -1 without a connection.
    [[nodiscard]] int socket() const { return _handle ? PQsocket(_handle.get()) : -1; }
    // Sends whatever waits; nobody wants to know how it ended. Never fails.
    void send() noexcept;
    // Ends a transaction, whatever state it is in. Never fails.
    void rollback() noexcept;

  private:
    [[nodiscard]] bool flush() noexcept;
    void takeResult();
    void prepare();
    void execute(const char* sql);
    [[noreturn]] void fail(const PGresult* result);

    PostgresHandle _handle;
    std::chrono::milliseconds _patience;
    std::chrono::steady_clock::time_point _heard;  // when it was asked, or something came
    bool _isGivenUp = false;
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
