#include "server/storage/PostgresQueue.h"

#include <iterator>

namespace zun::cloud {
namespace {

// More together would let the first wait for the last, and each for whoever holds a row of one of them.
constexpr std::size_t jobsPerTurn = 64;
// Of each kind. With more of them less would be done together.
constexpr unsigned turnsAtOnce = 1;

}  // namespace

std::optional<PostgresQueue::Turn> PostgresQueue::add(PostgresJob job, Caller caller) {
    {
        std::lock_guard lock(_mutex);
        const auto kind = job.kind;
        (kind == PostgresJob::Kind::Read ? _reads : _writes).push_back(std::move(job));
        if (caller == Caller::Works)
            if (auto turn = takeTurn(kind)) return turn;
    }
    _news.notify_one();
    return std::nullopt;
}

void PostgresQueue::addAlone(PostgresJobs jobs) {
    {
        std::lock_guard lock(_mutex);
        std::move(jobs.begin(), jobs.end(), std::back_inserter(_alone));
    }
    _news.notify_all();
}

std::optional<PostgresQueue::Turn> PostgresQueue::nextTurn() {
    std::unique_lock lock(_mutex);
    while (true) {
        if (auto turn = takeTurn()) return turn;
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
    auto& waiting = kind == PostgresJob::Kind::Read ? _reads : _writes;
    auto& turns = kind == PostgresJob::Kind::Read ? _readTurns : _writeTurns;
    if (waiting.empty() || turns >= turnsAtOnce) return std::nullopt;
    ++turns;
    Turn turn{kind, false, {}};
    while (!waiting.empty() && turn.jobs.size() < jobsPerTurn) {
        turn.jobs.push_back(std::move(waiting.front()));
        waiting.pop_front();
    }
    return turn;
}

void PostgresQueue::endTurn(PostgresJob::Kind kind, bool isAlone) {
    bool isEnding = false;
    {
        std::lock_guard lock(_mutex);
        isEnding = _isEnding;
        if (!isAlone) --(kind == PostgresJob::Kind::Read ? _readTurns : _writeTurns);
    }
    if (isEnding) _news.notify_all();
}

void PostgresQueue::leaveTurn(PostgresJob::Kind kind) {
    bool isMore = false;
    {
        std::lock_guard lock(_mutex);
        --(kind == PostgresJob::Kind::Read ? _readTurns : _writeTurns);
        isMore = _isEnding || !isEmpty();
    }
    if (isMore) _news.notify_all();
}

PostgresJobs PostgresQueue::takeOverdue() {
    PostgresJobs overdue;
    std::lock_guard lock(_mutex);
    for (auto* waiting : {&_reads, &_writes, &_alone}) {
        PostgresJobs rest;
        for (auto& job : *waiting)
            (job.isOverdue() ? overdue : rest).push_back(std::move(job));
        *waiting = std::move(rest);
    }
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
