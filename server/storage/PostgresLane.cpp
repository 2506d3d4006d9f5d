#include "server/storage/PostgresLane.h"

#include <algorithm>
#include <utility>

namespace zun::cloud {
namespace {

using namespace std::chrono_literals;

// About as long as a disk takes for a commit, and as a client on the same machine to ask again.
constexpr auto patience = 200us;
// How often the silence of a server is looked at.
constexpr auto lookInterval = 1s;

}  // namespace

PostgresLane::PostgresLane(PostgresJob::Kind kind, EventLoop& loop, PostgresQueue& queue, PostgresSpares& spares,
                           RememberedRows& remembered, PostgresTurn::Woken woken)
    : _kind(kind), _loop(loop), _queue(queue), _spares(spares), _remembered(remembered), _woken(std::move(woken)) {
    wantConnection();
}

PostgresLane::~PostgresLane() {
    while (_turn)
        step(&PostgresTurn::goOn);
    _queue.add(std::move(_waiting));
}

void PostgresLane::add(PostgresJob job) {
    _waiting.push_back(std::move(job));
    plan();
}

// Not at once, so that what has come to the thread at the same time is done together.
void PostgresLane::plan() {
    if (_turn || _waiting.empty()) return;
    const bool isWaiting = _kind == PostgresJob::Kind::Write && _waiting.size() < _awaited;
    const auto wait = isWaiting ? patience : 0us;
    if (_wait && *_wait <= wait) return;
    _wait = wait;
    _loop.after(wait, [this, plan = ++_plans] {
        if (plan == _plans) begin();
    });
}

void PostgresLane::wantConnection() {
    if (!std::exchange(_isConnectionWanted, true)) _spares.want();
}

bool PostgresLane::connectIfNeeded() {
    if (_connection && _connection->isOpen()) return true;
    _watch.reset();
    _connection = _spares.take();
    if (_connection) {
        _isConnectionWanted = false;
        _watch = _loop.watch(_connection->socket());
        if (_watch) return true;
        _connection.reset();
    }
    wantConnection();
    return false;
}

void PostgresLane::begin() {
    _wait.reset();
    ++_plans;
    if (!connectIfNeeded()) {
        _queue.add(std::exchange(_waiting, {}));
        return;
    }
    _jobs = takeTogether(_waiting);
    _awaited = _jobs.size();
    _turn.emplace(*_connection, _remembered, _woken, _kind, _jobs);
    step(&PostgresTurn::begin);
}

void PostgresLane::goOn() {
    if (_connection->hasAnswer()) {
        step(&PostgresTurn::goOn);
    } else {
        _watch->whenReadable([this] { goOn(); });
    }
}

void PostgresLane::step(void (PostgresTurn::*what)()) {
    try {
        ((*_turn).*what)();
        if (_turn->isUnderWay()) {
            _watch->whenReadable([this] { goOn(); });
            watchOverTurn();
            return;
        }
    } catch (const StorageFailure& failure) {
        meet(failure);
    }
    _queue.addAlone(_turn->takeMissed());
    _turn.reset();
    _awaited = std::min(_awaited + _waiting.size(), jobsPerTurn);
    plan();
}

// By one timer, whatever number of turns pass.
void PostgresLane::watchOverTurn() {
    if (std::exchange(_isTurnWatchedOver, true)) return;
    _loop.after(lookInterval, [this] {
        _isTurnWatchedOver = false;
        if (!_turn) return;
        if (!_connection->hasGoneSilent()) {
            watchOverTurn();
            return;
        }
        _watch.reset();
        _connection->giveUp();
        step(&PostgresTurn::goOn);
    });
}

void PostgresLane::meet(const StorageFailure& failure) {
    const bool isBroken = !_connection->isOpen();
    _connection->rollback();
    if (isBroken && _turn->isCommitting()) {
        // Whether a commit that was not answered took place, nobody knows.
        endAll(_jobs, failure);
    } else {
        _queue.addAlone(std::exchange(_jobs, {}));
    }
}

}  // namespace zun::cloud
