#include "ZunDataModel/store/StoreWriter.h"

#include "ZunDataModel/store/StoreBackup.h"
#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

namespace {

// Rolls back unless committed. Over kept statements, since it surrounds every write.
class WriteTransaction {
  public:
    explicit WriteTransaction(StoreConnection& connection) : _connection(connection) {
        connection.statement("BEGIN IMMEDIATE").run();
    }
    ~WriteTransaction() {
        // SQLite has rolled back by itself after some errors; then this fails and nothing is left to do.
        if (!_committed) _connection.database().tryExec("ROLLBACK");
    }
    WriteTransaction(const WriteTransaction&) = delete;
    WriteTransaction& operator=(const WriteTransaction&) = delete;

    void commit() {
        _connection.statement("COMMIT").run();
        _committed = true;
    }

  private:
    StoreConnection& _connection;
    bool _committed = false;
};

}  // namespace

StoreWriter::StoreWriter(StoreFiles files, StoreSession* session, std::optional<StoreError> refusal)
    : _files(std::move(files)), _session(session), _refusal(std::move(refusal)), _lock(_files.lock) {}

StoreConnection& StoreWriter::connection() {
    if (_connection) return *_connection;
    _connection = std::make_unique<StoreConnection>(_files.database, StoreConnection::Access::Write);
    sqlite3_wal_hook(
        _connection->handle(),
        [](void* writer, sqlite3*, const char*, int pages) {
            static_cast<StoreWriter*>(writer)->_pagesInLog = pages;
            return SQLITE_OK;
        },
        this);
    // A program that was killed after writing the log back could not say so, and the log would grow on.
    std::error_code none;
    const auto logSize = std::filesystem::file_size(_files.writeAheadLog(), none);
    if (!none && logSize > std::uintmax_t{tuning::checkpointPages} * tuning::pageSize)
        checkpointHoldingLock(Log::Empty);
    return *_connection;
}

std::optional<StoreError> StoreWriter::commit(const std::function<void(RecordChanges&)>& work) {
    if (_refusal) return _refusal;
    try {
        const StoreLock::Held held = _lock.acquire(tuning::lockWait);
        _session->markWriting();
        commitHoldingLock(connection(), work);
        return std::nullopt;
    } catch (...) {
        return failed();
    }
}

void StoreWriter::commitHoldingLock(StoreConnection& connection, const std::function<void(RecordChanges&)>& work) {
    const std::int64_t numberBefore = _number;
    try {
        WriteTransaction transaction(connection);
        ChangeLogWriter log(_number);
        RecordChanges changes(connection, log);
        work(changes);
        log.finish(connection);
        transaction.commit();
    } catch (...) {
        // The number goes with the entry that bore it: another writer may take it next.
        _number = numberBefore;
        throw;
    }
    _lock.ring();
}

std::optional<StoreError> StoreWriter::clear(NSDate now) {
    if (_refusal) return _refusal;
    try {
        const StoreLock::Held held = _lock.acquire(tuning::lockWait);
        _session->markWriting();
        backUpHoldingLock(now, "cleared");
        commitHoldingLock(connection(), [](RecordChanges& changes) { changes.clear(); });
        return std::nullopt;
    } catch (...) {
        return failed();
    }
}

std::optional<StoreError> StoreWriter::backUp(NSDate now, std::string_view reason) {
    if (_refusal) return _refusal;
    try {
        const StoreLock::Held held = _lock.acquire(tuning::lockWait);
        backUpHoldingLock(now, reason);
        return std::nullopt;
    } catch (...) {
        return failed();
    }
}

void StoreWriter::backUpHoldingLock(NSDate now, std::string_view reason) {
    StoreConnection& open = connection();
    if (open.integer("SELECT EXISTS (SELECT 1 FROM reminders)") != 0) zun::backUp(open, _files, now, reason);
}

void StoreWriter::checkpointIfLong() {
    if (_pagesInLog >= tuning::checkpointPages) checkpoint(Log::Keep);
}

void StoreWriter::checkpointAtRest() {
    checkpoint(Log::Empty);
}

void StoreWriter::checkpointAtEnd() {
    if (_pagesInLog >= tuning::checkpointPagesAtEnd) checkpoint(Log::Empty);
}

void StoreWriter::checkpoint(Log log) {
    try {
        const StoreLock::Held held = _lock.acquire(tuning::lockWait);
        checkpointHoldingLock(log);
    } catch (...) {
        static_cast<void>(failed());
    }
}

void StoreWriter::checkpointHoldingLock(Log log) {
    sqlite3* const handle = connection().handle();
    // A reader in the middle of its rows keeps the rest in the log; waiting for it would keep the writes waiting.
    sqlite3_busy_timeout(handle, 0);
    const int mode = log == Log::Keep ? SQLITE_CHECKPOINT_PASSIVE : SQLITE_CHECKPOINT_TRUNCATE;
    int inLog = 0;
    int writtenBack = 0;
    const int code = sqlite3_wal_checkpoint_v2(handle, nullptr, mode, &inLog, &writtenBack);
    sqlite3_busy_timeout(handle, static_cast<int>(tuning::lockWait.count()));
    if (code == SQLITE_OK && log == Log::Empty) _pagesInLog = 0;
}

StoreError StoreWriter::failed() {
    StoreError error = currentStoreError(_connection ? _connection->handle() : nullptr);
    if (error.code == StoreErrorCode::Damaged && _session) _session->markSuspect();
    return error;
}

}  // namespace zun
