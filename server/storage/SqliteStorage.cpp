#include "server/storage/SqliteStorage.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <set>

#include "server/storage/SqliteConnection.h"

namespace zun::cloud {
namespace {

// More in one transaction would let the first of them wait for the last.
constexpr std::size_t jobsPerTransaction = 128;
// The log is written back when it has this many pages; the larger, the rarer and the longer.
constexpr int pagesOfLog = 2'000;
constexpr std::int64_t bytesOfLog = (pagesOfLog + 200) * (8'192 + 24);
constexpr std::size_t idleReadersKept = 16;

int openLock(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const auto file = folder / "writing.lock";
    const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0) throw StorageFailure("cannot open " + file.string() + ": " + std::strerror(errno));
    return descriptor;
}

}  // namespace

// The exclusive right to write to the file or to write its log back. SQLite has locks of its own, but the releases
// before 3.51.3 can corrupt a file in WAL mode when two connections do so at the same instant.
class SqliteStorage::WriteRight {
  public:
    explicit WriteRight(int descriptor) : _descriptor(descriptor) {
        while (::flock(_descriptor, LOCK_EX) != 0)
            if (errno != EINTR) throw StorageFailure(std::string("cannot lock: ") + std::strerror(errno));
    }
    ~WriteRight() { ::flock(_descriptor, LOCK_UN); }
    WriteRight(const WriteRight&) = delete;
    WriteRight& operator=(const WriteRight&) = delete;

  private:
    int _descriptor;
};

// A reader's connection, which goes back to the others afterwards.
class SqliteStorage::Borrowed {
  public:
    explicit Borrowed(SqliteStorage& storage) : _storage(storage) {
        {
            std::lock_guard lock(storage._mutex);
            if (!storage._idleReaders.empty()) {
                _connection = std::move(storage._idleReaders.back());
                storage._idleReaders.pop_back();
            }
        }
        if (!_connection)
            _connection = std::make_unique<SqliteConnection>(storage._file, SqliteConnection::Mode::Reader);
    }
    ~Borrowed() {
        if (!_connection) return;
        _connection->abandon();
        std::lock_guard lock(_storage._mutex);
        if (_storage._idleReaders.size() < idleReadersKept) _storage._idleReaders.push_back(std::move(_connection));
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    SqliteConnection& operator*() const { return *_connection; }
    SqliteConnection* operator->() const { return _connection.get(); }

  private:
    SqliteStorage& _storage;
    std::unique_ptr<SqliteConnection> _connection;
};

std::filesystem::path SqliteStorage::fileIn(const std::filesystem::path& folder) {
    return folder / "cloud.sqlite3";
}

SqliteStorage::SqliteStorage(const std::filesystem::path& folder) : _file(fileIn(folder)), _lockFile(openLock(folder)) {
    try {
        const WriteRight right(_lockFile);
        _writer = std::make_unique<SqliteConnection>(_file, SqliteConnection::Mode::Writer);
        sqlite3_wal_hook(
            _writer->handle(),
            [](void* pages, sqlite3*, const char*, int length) {
                *static_cast<int*>(pages) = length;
                return SQLITE_OK;
            },
            &_pagesOfLog);
        _writer->reserveLog(bytesOfLog);
    } catch (...) {
        ::close(_lockFile);
        throw;
    }
    _thread = std::thread([this] { runWriter(); });
}

// Reads end before they return, and writes in their order.
void SqliteStorage::waitUntilIdle() {
    const auto ended = std::make_shared<std::promise<void>>();
    write([](Transaction&) { return Ending::Commit; }, [ended](const auto&) { ended->set_value(); });
    ended->get_future().wait();
}

SqliteStorage::~SqliteStorage() {
    {
        std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _news.notify_one();
    _thread.join();
    _idleReaders.clear();
    try {
        // Closing the last connection writes the log back.
        const WriteRight right(_lockFile);
        _writer.reset();
    } catch (const StorageFailure&) {
        _writer.reset();
    }
    ::close(_lockFile);
}

void SqliteStorage::write(Work work, Done done) {
    std::deque<Job> batch;
    {
        std::lock_guard lock(_mutex);
        auto& where = _isWriting ? _waiting : batch;
        where.push_back({std::move(work), std::move(done), {}, {}});
        _isWriting = true;
    }
    if (batch.empty()) return;
    // Nobody is writing: to wake the thread for it would take as long as the write.
    runBatch(batch);
    stopWriting();
    report(batch);
}

void SqliteStorage::stopWriting() {
    bool isSomebodyWaiting = false;
    {
        std::lock_guard lock(_mutex);
        _isWriting = false;
        isSomebodyWaiting = _isEnding || !_waiting.empty();
    }
    if (isSomebodyWaiting) _news.notify_one();
}

void SqliteStorage::runWriter() {
    while (true) {
        std::deque<Job> batch;
        {
            std::unique_lock lock(_mutex);
            _news.wait(lock, [this] { return !_isWriting && (_isEnding || !_waiting.empty()); });
            if (_waiting.empty()) return;
            _isWriting = true;
            while (!_waiting.empty() && batch.size() < jobsPerTransaction) {
                batch.push_back(std::move(_waiting.front()));
                _waiting.pop_front();
            }
        }
        runBatch(batch);
        stopWriting();
        report(batch);
    }
}

void SqliteStorage::runBatch(std::deque<Job>& batch) {
    if (tryBatch(batch) || batch.size() == 1) return;
    // One of them may have failed all of them.
    for (auto& job : batch) {
        std::deque<Job> single;
        job.failure.reset();
        job.woken.clear();
        single.push_back(std::move(job));
        (void)tryBatch(single);
        job = std::move(single.front());
    }
}

bool SqliteStorage::tryBatch(std::deque<Job>& batch) {
    try {
        const WriteRight right(_lockFile);
        _writer->begin();
        for (auto& job : batch)
            runJob(job);
        _writer->commit();
        writeBack();
        return true;
    } catch (const StorageFailure& failure) {
        _writer->abandon();
        for (auto& job : batch)
            job.failure = failure;
        return false;
    }
}

void SqliteStorage::runJob(Job& job) {
    _writer->beginJob();
    const auto ending = job.work(*_writer);
    auto woken = _writer->takeWoken();
    if (ending == Ending::Commit) {
        job.woken.assign(woken.begin(), woken.end());
    } else {
        _writer->undoJob();
    }
    _writer->endJob();
}

void SqliteStorage::writeBack() {
    if (_pagesOfLog < pagesOfLog) return;
    // Nothing is lost if it fails: the next time is as good.
    sqlite3_wal_checkpoint_v2(_writer->handle(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

void SqliteStorage::report(std::deque<Job>& batch) {
    std::set<std::string> woken;
    for (auto& job : batch) {
        if (!job.failure) woken.insert(job.woken.begin(), job.woken.end());
        job.done(std::move(job.failure));
    }
    _listener.tell(woken);
}

void SqliteStorage::read(Work work, Done done) {
    std::optional<StorageFailure> failure;
    try {
        const Borrowed reader(*this);
        reader->begin();
        (void)work(*reader);
    } catch (const StorageFailure& thrown) {
        failure = thrown;
    }
    done(std::move(failure));
}

void SqliteStorage::setWakeListener(WakeListener listener) {
    _listener.set(std::move(listener));
}

void SqliteStorage::dump(const RowVisitor& visitor) {
    const Borrowed reader(*this);
    SqliteStatement all(reader->handle(), "SELECT account, kind, name, value FROM rows ORDER BY account, kind, name");
    while (all.step())
        visitor(all.bytes(0), static_cast<Table>(all.number(1)), all.bytes(2), all.bytes(3));
}

void SqliteStorage::load(const std::function<void(const RowVisitor& add)>& rows) {
    SqliteConnection connection(_file, SqliteConnection::Mode::Writer);
    const WriteRight right(_lockFile);
    try {
        connection.begin();
        connection.execute("DELETE FROM rows");
        rows([&](std::string_view account, Table table, std::string_view name, std::string_view value) {
            connection.put(account, table, name, std::string(value));
        });
        connection.commit();
    } catch (...) {
        connection.abandon();
        throw;
    }
}

std::vector<std::string> SqliteStorage::check() {
    const Borrowed reader(*this);
    SqliteStatement complaints(reader->handle(), "PRAGMA integrity_check");
    std::vector<std::string> found;
    while (complaints.step())
        found.emplace_back(complaints.bytes(0));
    if (found.size() == 1 && found.front() == "ok") found.clear();
    return found;
}

}  // namespace zun::cloud
