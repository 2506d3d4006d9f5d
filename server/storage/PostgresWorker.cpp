#include "server/storage/PostgresWorker.h"

#include <thread>

namespace zun::cloud {
namespace {

constexpr std::chrono::milliseconds waitForServer(250);
// Who was in the way is done soon. The waits differ, so that two do not meet for ever.
constexpr int attemptsAgainstOthers = 60;
constexpr unsigned longestWaitForOthers = 30;  // milliseconds

void end(PostgresJobs& jobs, const std::optional<StorageFailure>& how) {
    while (!jobs.empty()) {
        const auto job = std::move(jobs.front());
        jobs.pop_front();
        job.done(how);
    }
}

PostgresJobs takeOverdue(PostgresJobs& jobs) {
    PostgresJobs overdue, rest;
    for (auto& job : jobs)
        (job.isOverdue() ? overdue : rest).push_back(std::move(job));
    jobs = std::move(rest);
    return overdue;
}

// What all of them will ask for, each row once, in an order that is everybody's.
GuessedRows guessAll(const PostgresJobs& jobs, const RememberedRows& remembered) {
    std::set<RowKey> locked, others;
    for (const auto& job : jobs) {
        auto guessed = guessRows(job.work, remembered);
        locked.insert(guessed.locked.begin(), guessed.locked.end());
        others.insert(guessed.others.begin(), guessed.others.end());
    }
    for (const auto& key : locked)
        others.erase(key);
    return {{locked.begin(), locked.end()}, {others.begin(), others.end()}};
}

}  // namespace

PostgresWorker::PostgresWorker(const std::string& address, PostgresQueue& queue, RememberedRows& remembered,
                               Woken woken, std::unique_ptr<PostgresConnection> connection)
    : _address(address),
      _queue(queue),
      _remembered(remembered),
      _woken(std::move(woken)),
      _connection(std::move(connection)),
      _random(static_cast<std::minstd_rand::result_type>(std::hash<PostgresWorker*>()(this))) {}

void PostgresWorker::run(const std::function<void(PostgresJob::Kind)>& done) {
    while (auto turn = _queue.nextTurn()) {
        const auto kind = turn->kind;
        const bool isAlone = turn->isAlone;
        _conflicts = 0;
        while (!turn->jobs.empty())
            if (reach(turn->jobs)) attempt(*turn);
        if (!isAlone && isConnected()) done(kind);
        _queue.endTurn(kind, isAlone);
    }
}

void PostgresWorker::connectIfNeeded() {
    if (isConnected()) return;
    try {
        _connection = std::make_unique<PostgresConnection>(_address);
        _isReady = true;
    } catch (const StorageFailure&) {
        _isReady = false;
    }
}

void PostgresWorker::runOnce(Turn turn) {
    const auto kind = turn.kind;
    _conflicts = 0;
    if (isConnected()) attempt(turn);
    if (!turn.jobs.empty()) _queue.addAlone(std::move(turn.jobs));
    _isReady = isConnected();
    _queue.leaveTurn(kind);
}

bool PostgresWorker::reach(PostgresJobs& jobs) {
    if (isConnected()) return true;
    try {
        _connection = std::make_unique<PostgresConnection>(_address);
        return true;
    } catch (const StorageFailure& failure) {
        for (auto overdue : {takeOverdue(jobs), _queue.takeOverdue()})
            end(overdue, failure);
        if (!jobs.empty()) std::this_thread::sleep_for(waitForServer);
        return false;
    }
}

void PostgresWorker::attempt(Turn& turn) {
    _isCommitting = false;
    try {
        if (turn.kind == PostgresJob::Kind::Write) {
            write(turn);
        } else if (turn.isAlone) {
            readAlone(turn);
        } else {
            readTogether(turn);
        }
    } catch (const PostgresConflict& conflict) {
        _connection->rollback();
        meetConflict(turn, conflict);
    } catch (const StorageFailure& failure) {
        meetFailure(turn, failure);
    }
}

void PostgresWorker::readTogether(Turn& turn) {
    auto keys = guessAll(turn.jobs, _remembered).others;
    auto rows = _connection->fetch(keys);
    PostgresBatch batch(keys, std::move(rows));
    batch.remember(_remembered);
    PostgresJobs missed;
    while (!turn.jobs.empty()) {
        auto job = std::move(turn.jobs.front());
        turn.jobs.pop_front();
        std::optional<StorageFailure> failure;
        try {
            (void)batch.run(job.work);
        } catch (const PostgresBatch::Missed&) {
            missed.push_back(std::move(job));
            continue;
        } catch (const StorageFailure& thrown) {
            failure = thrown;
        }
        job.done(std::move(failure));
    }
    if (!missed.empty()) _queue.addAlone(std::move(missed));
}

void PostgresWorker::readAlone(Turn& turn) {
    _connection->begin(PostgresConnection::Mode::Read);
    (void)turn.jobs.front().work(*_connection);
    _connection->endReading();
    end(turn.jobs, std::nullopt);
}

// In one trip, where everything that the works read is remembered.
bool PostgresWorker::writeOverRemembered(Turn& turn) {
    PostgresBatch batch(_remembered, turn.jobs.size());
    std::set<std::string> woken;
    try {
        for (const auto& job : turn.jobs)
            woken.merge(batch.run(job.work));
    } catch (const PostgresBatch::Missed&) {
        return false;
    } catch (const StorageFailure&) {
        return false;
    }
    // What is refused has to be refused for what is there.
    // Where the connection breaks now, nobody knows whether it was written; so not on one that is broken already.
    if (!batch.hasChanges() || !_connection->isStillOpen()) return false;
    try {
        _connection->begin(PostgresConnection::Mode::Write);
        batch.expect(*_connection);
        batch.store(*_connection);
        _isCommitting = true;
        _connection->commit();
    } catch (const PostgresStale&) {
        _isCommitting = false;
        _connection->rollback();
        batch.doubt(_remembered);
        return false;
    }
    batch.remember(_remembered);
    end(turn.jobs, std::nullopt);
    if (!woken.empty()) _woken(*_connection, woken);
    return true;
}

void PostgresWorker::write(Turn& turn) {
    if (writeOverRemembered(turn)) return;
    if (!isConnected()) throw StorageFailure("PostgreSQL: the connection is broken");
    _connection->begin(PostgresConnection::Mode::Write);
    PostgresBatch batch(*_connection, turn.jobs.size());
    batch.fetchForUpdate(guessAll(turn.jobs, _remembered));
    std::set<std::string> woken;
    for (const auto& job : turn.jobs)
        woken.merge(batch.run(job.work));
    if (batch.hasChanges()) {
        batch.store(*_connection);
        _isCommitting = true;
        _connection->commit();
    } else {
        _connection->endReading();
    }
    batch.remember(_remembered);
    end(turn.jobs, std::nullopt);
    if (!woken.empty()) _woken(*_connection, woken);
}

void PostgresWorker::meetConflict(Turn& turn, const StorageFailure& conflict) {
    if (turn.jobs.size() > 1) {
        _queue.addAlone(std::exchange(turn.jobs, {}));
    } else if (++_conflicts >= attemptsAgainstOthers) {
        end(turn.jobs, conflict);
    } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(_random() % longestWaitForOthers));
    }
}

void PostgresWorker::meetFailure(Turn& turn, const StorageFailure& failure) {
    const bool isBroken = !_connection->isOpen();
    _connection->rollback();
    if (isBroken && !_isCommitting) {
        auto overdue = takeOverdue(turn.jobs);
        end(overdue, failure);
    } else if (!isBroken && turn.jobs.size() > 1) {
        // One of them may have failed all of them.
        _queue.addAlone(std::exchange(turn.jobs, {}));
    } else {
        // Whether a commit that was not answered took place, nobody knows.
        end(turn.jobs, failure);
    }
}

}  // namespace zun::cloud
