#include "server/storage/PostgresWorker.h"

#include <thread>

namespace zun::cloud {
namespace {

constexpr std::chrono::milliseconds waitForServer(250);
// Who was in the way is done soon. The waits differ, so that two do not meet for ever.
constexpr int attemptsAgainstOthers = 60;
constexpr unsigned longestWaitForOthers = 30;  // milliseconds

}  // namespace

PostgresWorker::PostgresWorker(const PostgresServer& server, PostgresQueue& queue, RememberedRows& remembered,
                               PostgresTurn::Woken woken, std::unique_ptr<PostgresConnection> connection)
    : _server(server),
      _queue(queue),
      _remembered(remembered),
      _woken(std::move(woken)),
      _connection(std::move(connection)),
      _random(static_cast<std::minstd_rand::result_type>(std::hash<PostgresWorker*>()(this))) {}

void PostgresWorker::run(const std::function<void()>& reached) {
    while (auto turn = _queue.nextTurn()) {
        const auto kind = turn->kind;
        const bool isAlone = turn->isAlone;
        _conflicts = 0;
        while (!turn->jobs.empty())
            if (reach(turn->jobs)) attempt(*turn);
        _queue.endTurn(kind, isAlone);
        if (!isAlone && isConnected()) reached();
    }
}

bool PostgresWorker::reach(PostgresJobs& jobs) {
    if (isConnected()) return true;
    try {
        _connection = std::make_unique<PostgresConnection>(_server);
        return true;
    } catch (const StorageFailure& failure) {
        for (auto overdue : {takeOverdue(jobs), _queue.takeOverdue()})
            endAll(overdue, failure);
        if (!jobs.empty()) std::this_thread::sleep_for(waitForServer);
        return false;
    }
}

void PostgresWorker::attempt(Turn& turn) {
    _isCommitting = false;
    try {
        if (turn.kind == PostgresJob::Kind::Read && turn.isAlone) {
            readAlone(turn);
        } else {
            doTogether(turn);
        }
    } catch (const PostgresConflict& conflict) {
        _connection->rollback();
        meetConflict(turn, conflict);
    } catch (const StorageFailure& failure) {
        meetFailure(turn, failure);
    }
}

void PostgresWorker::doTogether(Turn& turn) {
    PostgresTurn steps(*_connection, _remembered, _woken, turn.kind, turn.jobs);
    try {
        for (steps.begin(); steps.isUnderWay();)
            steps.goOn();
    } catch (...) {
        _isCommitting = steps.isCommitting();
        throw;
    }
    _queue.addAlone(steps.takeMissed());
}

void PostgresWorker::readAlone(Turn& turn) {
    _connection->begin(PostgresConnection::Mode::Read);
    (void)turn.jobs.front().work(*_connection);
    _connection->endReading();
    endAll(turn.jobs, std::nullopt);
}

void PostgresWorker::meetConflict(Turn& turn, const StorageFailure& conflict) {
    if (turn.jobs.size() > 1) {
        _queue.addAlone(std::exchange(turn.jobs, {}));
    } else if (++_conflicts >= attemptsAgainstOthers) {
        endAll(turn.jobs, conflict);
    } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(_random() % longestWaitForOthers));
    }
}

void PostgresWorker::meetFailure(Turn& turn, const StorageFailure& failure) {
    const bool isBroken = !_connection->isOpen();
    _connection->rollback();
    if (isBroken && !_isCommitting) {
        auto overdue = takeOverdue(turn.jobs);
        endAll(overdue, failure);
    } else if (!isBroken && turn.jobs.size() > 1) {
        // One of them may have failed all of them.
        _queue.addAlone(std::exchange(turn.jobs, {}));
    } else {
        // Whether a commit that was not answered took place, nobody knows.
        endAll(turn.jobs, failure);
    }
}

}  // namespace zun::cloud
