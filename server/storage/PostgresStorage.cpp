#include "server/storage/PostgresStorage.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <random>
#include <set>

#include "server/storage/PostgresConnection.h"

namespace zun::cloud {
namespace {

// A server that starts again or hands over takes some seconds; requests wait that long at most.
constexpr int attemptsToReach = 20;
constexpr std::chrono::milliseconds waitForServer(250);
// Who was in the way is done soon. The waits differ, so that two do not meet for ever.
constexpr int attemptsAgainstOthers = 60;
constexpr unsigned longestWaitForOthers = 30;  // milliseconds
constexpr int waitBeforeListeningAgain = 500;  // milliseconds

std::string makeMark() {
    std::uint64_t mark = 0;
    if (::getrandom(&mark, sizeof mark, 0) != sizeof mark)
        throw std::runtime_error("the system gives no random numbers");
    return fmt::format("{:016x}", mark);
}

}  // namespace

PostgresStorage::PostgresStorage(std::string address, unsigned connections)
    : _address(std::move(address)), _mark(makeMark()), _ending(::eventfd(0, EFD_CLOEXEC)) {
    // The first one in this thread, so that a wrong address is told at once.
    auto first = std::make_unique<PostgresConnection>(_address);
    for (unsigned number = 0; number < connections; ++number)
        _threads.emplace_back([this, connection = std::move(first)]() mutable { runWorker(std::move(connection)); });
    _threads.emplace_back([this] { runListener(); });
}

PostgresStorage::~PostgresStorage() {
    {
        std::lock_guard lock(_mutex);
        _isEnding = true;
    }
    _news.notify_all();
    const std::uint64_t one = 1;
    (void)!::write(_ending, &one, sizeof one);
    for (auto& thread : _threads)
        thread.join();
    ::close(_ending);
}

void PostgresStorage::write(Work work, Done done) {
    enqueue({true, std::move(work), std::move(done)});
}

void PostgresStorage::read(Work work, Done done) {
    enqueue({false, std::move(work), std::move(done)});
}

void PostgresStorage::enqueue(Job job) {
    {
        std::lock_guard lock(_mutex);
        _waiting.push_back(std::move(job));
    }
    _news.notify_one();
}

void PostgresStorage::runWorker(std::unique_ptr<PostgresConnection> connection) {
    while (true) {
        std::optional<Job> job;
        {
            std::unique_lock lock(_mutex);
            _news.wait(lock, [this] { return _isEnding || !_waiting.empty(); });
            if (_waiting.empty()) return;
            job = std::move(_waiting.front());
            _waiting.pop_front();
        }
        auto failure = run(connection, *job);
        auto woken = !failure && connection && job->isWrite ? connection->takeWoken() : std::set<std::string>();
        job->done(std::move(failure));
        for (const auto& account : woken)
            tell(account);
        if (!woken.empty()) wakeOthers(*connection, woken);
    }
}

std::optional<StorageFailure> PostgresStorage::run(std::unique_ptr<PostgresConnection>& connection, const Job& job) {
    StorageFailure last("PostgreSQL: no connection");
    std::minstd_rand random(std::hash<std::thread::id>()(std::this_thread::get_id()));
    for (int reached = 0, conflicts = 0; reached < attemptsToReach && conflicts < attemptsAgainstOthers;) {
        bool isCommitting = false;
        try {
            if (!connection || !connection->isOpen()) connection = std::make_unique<PostgresConnection>(_address);
            tryOnce(*connection, job, isCommitting);
            return std::nullopt;
        } catch (const PostgresConflict& conflict) {
            connection->rollback();
            last = conflict;
            ++conflicts;
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % longestWaitForOthers));
        } catch (const StorageFailure& failure) {
            const bool isBroken = !connection || !connection->isOpen();
            if (connection) connection->rollback();
            last = failure;
            // Whether a commit that was not answered took place, nobody knows.
            if (!isBroken || isCommitting) return last;
            ++reached;
            std::this_thread::sleep_for(waitForServer);
        }
    }
    return last;
}

void PostgresStorage::tryOnce(PostgresConnection& connection, const Job& job, bool& isCommitting) {
    connection.begin(job.isWrite ? PostgresConnection::Mode::Write : PostgresConnection::Mode::Read);
    if (job.work(connection) == Ending::Rollback || !job.isWrite) {
        connection.rollback();
        return;
    }
    isCommitting = true;
    connection.commit();
}

// After the commit rather than in it: the server lets one transaction with notifications commit at a time.
void PostgresStorage::wakeOthers(PostgresConnection& connection, const std::set<std::string>& accounts) {
    try {
        for (const auto& account : accounts)
            connection.notify(_mark + account);
    } catch (const StorageFailure&) {
        connection.rollback();
    }
}

void PostgresStorage::tell(const std::string& account) {
    std::shared_ptr<const WakeListener> listener;
    {
        std::lock_guard lock(_mutex);
        listener = _listener;
    }
    if (listener) (*listener)(account);
}

void PostgresStorage::runListener() {
    while (true) {
        try {
            listen();
            return;
        } catch (const StorageFailure&) {
            pollfd ending{_ending, POLLIN, 0};
            if (::poll(&ending, 1, waitBeforeListeningAgain) > 0) return;
        }
    }
}

// Returns when the storage ends.
void PostgresStorage::listen() {
    const std::unique_ptr<PGconn, void (*)(PGconn*)> connection(PQconnectdb(_address.c_str()), PQfinish);
    PQclear(PQexec(connection.get(), "LISTEN zun_wake"));
    if (PQstatus(connection.get()) != CONNECTION_OK) throw StorageFailure("PostgreSQL: cannot listen");
    // Whatever was said while nobody listened.
    tell({});
    while (true) {
        std::array<pollfd, 2> waiting{{{PQsocket(connection.get()), POLLIN, 0}, {_ending, POLLIN, 0}}};
        if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) throw StorageFailure("cannot wait");
        if (waiting[1].revents != 0) return;
        if (PQconsumeInput(connection.get()) != 1) throw StorageFailure("PostgreSQL: the connection is broken");
        while (PGnotify* notice = PQnotifies(connection.get())) {
            const std::string payload = notice->extra;
            PQfreemem(notice);
            if (!payload.starts_with(_mark) && payload.size() > _mark.size()) tell(payload.substr(_mark.size()));
        }
    }
}

void PostgresStorage::setWakeListener(WakeListener listener) {
    auto shared = listener ? std::make_shared<const WakeListener>(std::move(listener)) : nullptr;
    std::lock_guard lock(_mutex);
    _listener = std::move(shared);
}

void PostgresStorage::dump(const RowVisitor& visitor) {
    PostgresConnection connection(_address);
    connection.begin(PostgresConnection::Mode::Read);
    connection.dump(visitor);
    connection.rollback();
}

void PostgresStorage::load(const std::function<void(const RowVisitor& add)>& rows) {
    PostgresConnection connection(_address);
    connection.begin(PostgresConnection::Mode::Write);
    connection.eraseAll();
    // What is not committed is gone with the connection.
    rows([&](std::string_view account, Table table, std::string_view name, std::string_view value) {
        connection.put(account, table, name, std::string(value));
    });
    connection.commit();
}

std::vector<std::string> PostgresStorage::check() {
    // The server watches over its files itself; that it can read every row is what can be asked of it here.
    try {
        dump([](std::string_view, Table, std::string_view, std::string_view) {});
        return {};
    } catch (const StorageFailure& failure) {
        return {failure.what()};
    }
}

}  // namespace zun::cloud
