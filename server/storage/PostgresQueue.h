#pragma once

// What a PostgresStorage was asked for and has not begun, given out in turns: what waits is done together, reads with
// reads and writes with writes. What did not do so is then done alone. Any thread.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "server/storage/Storage.h"

namespace zun::cloud {

struct PostgresJob {
    enum class Kind { Read, Write };
    Kind kind;
    Storage::Work work;
    Storage::Done done;
    std::chrono::steady_clock::time_point accepted = std::chrono::steady_clock::now();

    // Requests wait so long for a server that starts again or hands over.
    [[nodiscard]] bool isOverdue() const {
        return std::chrono::steady_clock::now() - accepted > std::chrono::seconds(5);
    }
};
using PostgresJobs = std::deque<PostgresJob>;

// More together would let the first wait for the last, and each for whoever holds a row of one of them.
constexpr std::size_t jobsPerTurn = 64;
// Removes as many from the front, or all.
[[nodiscard]] PostgresJobs takeTogether(PostgresJobs& waiting);
// Removes those that have waited too long.
[[nodiscard]] PostgresJobs takeOverdue(PostgresJobs& waiting);
// Removes all of them.
void endAll(PostgresJobs& jobs, const std::optional<StorageFailure>& how);

class PostgresQueue {
  public:
    struct Turn {
        PostgresJob::Kind kind;
        bool isAlone;
        PostgresJobs jobs;  // at least one; of one kind
    };

    void add(PostgresJob job);
    void add(PostgresJobs jobs);
    // They come again, each in a turn of its own.
    void addAlone(PostgresJobs jobs);
    // Waits for one; nothing once all is done and end() was called.
    [[nodiscard]] std::optional<Turn> nextTurn();
    // Of a thread that takes the next one itself.
    void endTurn(PostgresJob::Kind kind, bool isAlone);
    void waitUntilIdle();
    [[nodiscard]] PostgresJobs takeOverdue();
    void end();

  private:
    [[nodiscard]] std::optional<Turn> takeTurn(PostgresJob::Kind kind);
    [[nodiscard]] PostgresJobs& waitingOf(PostgresJob::Kind kind) {
        return kind == PostgresJob::Kind::Read ? _reads : _writes;
    }
    [[nodiscard]] std::optional<Turn> takeTurn();
    [[nodiscard]] bool isEmpty() const { return _reads.empty() && _writes.empty() && _alone.empty(); }

    std::mutex _mutex;
    std::condition_variable _news;
    PostgresJobs _reads, _writes, _alone;
    std::condition_variable _idle;
    unsigned _readTurns = 0, _writeTurns = 0;
    unsigned _turnsUnderWay = 0;  // of all kinds, also those of one job
    bool _isEnding = false;
};

}  // namespace zun::cloud
