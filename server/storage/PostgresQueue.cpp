#include "server/storage/PostgresQueue.h"

#include <algorithm>
#include <iterator>

namespace zun::cloud {
namespace {

// Of each kind. With more of them less would be done together.
constexpr unsigned turnsAtOnce = 1;

}  // namespace

PostgresJobs takeTogether(PostgresJobs& waiting) {
    PostgresJobs together;
    while (!waiting.empty() && together.size() < jobsPerTurn) {
        together.push_back(std::move(waiting.front()));
        waiting.pop_front();
    }
    return together;
}

PostgresJobs takeOverdue(PostgresJobs& waiting) {
    PostgresJobs overdue, rest;
    for (auto& job : waiting)
        (job.isOverdue() ? overdue : rest).push_back(std::move(job));
    waiting = std::move(rest);
    return overdue;
}

void endAll(PostgresJobs& jobs, const std::optional<StorageFailure>& how) {
    while (!jobs.empty()) {
        const auto job = std::move(jobs.front());
        jobs.pop_front();
        job.done(how);
    }
}

void PostgresQueue::add(PostgresJob job) {
    {
        std::lock_guard lock(_mutex);
        waitingOf(job.kind).push_back(std::move(job));
    }
    _news.notify_one();
}

void PostgresQueue::add(PostgresJobs jobs) {
    for (auto& job : jobs)
        add(std::move(job));
}

void PostgresQueue::addAlone(PostgresJobs jobs) {
    if (jobs.empty()) return;
    {
        std::lock_guard lock(_mutex);
        std::move(jobs.begin(), jobs.end(), std::back_inserter(_alone));
    }
    _news.notify_all();
}

std::optional<PostgresQueue::Turn> PostgresQueue::nextTurn() {
    std::unique_lock lock(_mutex);
    while (true) {
        if (auto turn = takeTurn()) {
            ++_turnsUnderWay;
            return turn;
        }
        if (_isEnding && isEmpty()) return std::nullopt;
        _news.wait(lock);
    }
}

std::optional<PostgresQueue::Turn> PostgresQueue::takeTurn() {
    if (!_alone.empty()) {
        Turn turn{_alone.front().kind, true, {}};
        turn.jobs.push_back(std::move(_alone.front()));
        _alone.pop_front();
        return turn;
    }
    auto turn = takeTurn(PostgresJob::Kind::Write);
    return turn ? std::move(turn) : takeTurn(PostgresJob::Kind::Read);
}

std::optional<PostgresQueue::Turn> PostgresQueue::takeTurn(PostgresJob::Kind kind) {
    auto& waiting = waitingOf(kind);
    auto& turns = kind == PostgresJob::Kind::Read ? _readTurns : _writeTurns;
    if (waiting.empty() || turns >= turnsAtOnce) return std::nullopt;
    ++turns;
    return Turn{kind, false, takeTogether(waiting)};
}

void PostgresQueue::endTurn(PostgresJob::Kind kind, bool isAlone) {
    bool isEnding = false;
    {
        std::lock_guard lock(_mutex);
        isEnding = _isEnding;
        if (--_turnsUnderWay == 0 && isEmpty()) _idle.notify_all();
        if (!isAlone) --(kind == PostgresJob::Kind::Read ? _readTurns : _writeTurns);
    }
    if (isEnding) _news.notify_all();
}

void PostgresQueue::waitUntilIdle() {
    std::unique_lock lock(_mutex);
    _idle.wait(lock, [this] { return _turnsUnderWay == 0 && isEmpty(); });
}

PostgresJobs PostgresQueue::takeOverdue() {
    PostgresJobs overdue;
    std::lock_guard lock(_mutex);
    for (auto* waiting : {&_reads, &_writes, &_alone})
        std::ranges::move(zun::cloud::takeOverdue(*waiting), std::back_inserter(overdue));
    return overdue;
}

void PostgresQueue::end() {
    {
        std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _news.notify_all();
}

}  // namespace zun::cloud
