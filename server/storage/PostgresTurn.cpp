#include "server/storage/PostgresTurn.h"

#include <utility>

namespace zun::cloud {
namespace {

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

void PostgresTurn::begin() {
    if (_kind == PostgresJob::Kind::Read) {
        _guessed = guessAll(_jobs, _remembered);
        _connection.startFetch(_guessed.others);
        _step = Step::Reading;
    } else if (!storeOverRemembered()) {
        lock();
    }
}

void PostgresTurn::goOn() {
    switch (std::exchange(_step, Step::None)) {
        case Step::Reading:
            read();
            break;
        case Step::StoringOverRemembered:
            endStoringOverRemembered();
            break;
        case Step::Locking:
            write();
            break;
        case Step::Committing:
            _connection.endCommit();
            endWriting();
            break;
        case Step::None:
            break;
    }
}

void PostgresTurn::read() {
    PostgresBatch batch(_guessed.others, _connection.endFetch(_guessed.others.size()));
    batch.remember(_remembered);
    while (!_jobs.empty()) {
        auto job = std::move(_jobs.front());
        _jobs.pop_front();
        std::optional<StorageFailure> failure;
        try {
            (void)batch.run(job.work);
        } catch (const PostgresBatch::Missed&) {
            _missed.push_back(std::move(job));
            continue;
        } catch (const StorageFailure& thrown) {
            failure = thrown;
        }
        job.done(std::move(failure));
    }
}

void PostgresTurn::runAll() {
    _wokenAccounts.clear();
    for (const auto& job : _jobs)
        _wokenAccounts.merge(_batch->run(job.work));
}

// In one trip, where everything that the works read is remembered.
bool PostgresTurn::storeOverRemembered() {
    _batch.emplace(_remembered, _jobs.size());
    try {
        runAll();
    } catch (const PostgresBatch::Missed&) {
        return false;
    } catch (const StorageFailure&) {
        return false;
    }
    // What is refused has to be refused for what is there.
    // Where the connection breaks now, nobody knows whether it was written; so not on one that is broken already.
    if (!_batch->hasChanges() || !_connection.isStillOpen()) return false;
    _batch->storeOverRemembered(_connection);
    _isCommitting = true;
    _connection.startCommitWithoutBegin();
    _step = Step::StoringOverRemembered;
    return true;
}

void PostgresTurn::endStoringOverRemembered() {
    try {
        _connection.endCommit();
    } catch (const PostgresStale&) {
        _isCommitting = false;
        _batch->doubt(_remembered);
        lock();
        return;
    }
    endWriting();
}

void PostgresTurn::lock() {
    if (!_connection.isOpen()) throw StorageFailure("PostgreSQL: the connection is broken");
    _guessed = guessAll(_jobs, _remembered);
    _connection.begin(PostgresConnection::Mode::Write);
    _connection.startFetchForUpdate(_guessed.locked, _guessed.others);
    _step = Step::Locking;
}

void PostgresTurn::write() {
    auto [locked, others] = _connection.endFetchForUpdate(_guessed.locked.size(), _guessed.others.size());
    _batch.emplace(_connection, _jobs.size());
    _batch->addForUpdate(_guessed, std::move(locked), std::move(others));
    runAll();
    if (!_batch->hasChanges()) {
        _connection.endReading();
        endWriting();
        return;
    }
    _batch->store(_connection);
    _isCommitting = true;
    _connection.startCommit();
    _step = Step::Committing;
}

void PostgresTurn::endWriting() {
    _isCommitting = false;
    _batch->remember(_remembered);
    endAll(_jobs, std::nullopt);
    if (!_wokenAccounts.empty()) _woken(_connection, _wokenAccounts);
}

}  // namespace zun::cloud
