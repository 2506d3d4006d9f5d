#include "server/storage/PostgresStorage.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>

namespace zun::cloud {
namespace {

// Of work on everything there is, which somebody at a terminal waits for.
constexpr std::chrono::hours untroubled(24);

std::string makeMark() {
    std::uint64_t mark = 0;
    if (::getrandom(&mark, sizeof mark, 0) != sizeof mark)
        throw std::runtime_error("the system gives no random numbers");
    return fmt::format("{:016x}", mark);
}

}  // namespace

// Of one thread: what it asks for is found here.
class PostgresStorage::Place final : public Seat {
  public:
    Place(PostgresStorage& storage, EventLoop& loop)
        : of(storage),
          _woken([&storage](auto& link, const auto& accounts) { storage.wake(link, accounts); }),
          _reads(PostgresJob::Kind::Read, loop, storage._queue, storage._spares, storage._remembered, _woken),
          _writes(PostgresJob::Kind::Write, loop, storage._queue, storage._spares, storage._remembered, _woken) {
        ofThread = this;
    }
    ~Place() override { ofThread = nullptr; }

    void add(PostgresJob job) { (job.kind == PostgresJob::Kind::Read ? _reads : _writes).add(std::move(job)); }

    PostgresStorage& of;
    static thread_local Place* ofThread;

  private:
    const PostgresTurn::Woken _woken;
    PostgresLane _reads, _writes;
};

thread_local PostgresStorage::Place* PostgresStorage::Place::ofThread = nullptr;

PostgresStorage::PostgresStorage(PostgresServer server, unsigned connections)
    : _server(std::move(server)), _mark(makeMark()), _spares(_server) {
    // The first one in this thread, so that a wrong address is told at once.
    auto first = std::make_unique<PostgresConnection>(_server, PostgresLink::Table::MadeIfMissing);
    for (unsigned number = 0; number < connections; ++number)
        _threads.emplace_back([this, connection = std::move(first)]() mutable {
            const auto woken = [this](auto& link, const auto& accounts) { wake(link, accounts); };
            PostgresWorker(_server, _queue, _remembered, woken, std::move(connection)).run([this] { _spares.make(); });
        });
    _others.emplace(_server, [this](const std::string& payload) {
        if (!payload.starts_with(_mark))
            _listener.tell(std::array{payload.substr(std::min(_mark.size(), payload.size()))});
    });
}

PostgresStorage::~PostgresStorage() {
    _queue.end();
    for (auto& thread : _threads)
        thread.join();
    _others.reset();
}

void PostgresStorage::write(Work work, Done done) {
    add({PostgresJob::Kind::Write, std::move(work), std::move(done)});
}

void PostgresStorage::read(Work work, Done done) {
    add({PostgresJob::Kind::Read, std::move(work), std::move(done)});
}

std::unique_ptr<Storage::Seat> PostgresStorage::joinLoop(EventLoop& loop) {
    auto seat = std::make_unique<Place>(*this, loop);
    // What it fails to make is made once the server answers.
    _spares.make();
    return seat;
}

void PostgresStorage::add(PostgresJob job) {
    auto* place = Place::ofThread;
    place&& & place->of == this ? place->add(std::move(job)) : _queue.add(std::move(job));
}

// After the commit rather than in it: the server lets one transaction with notifications commit at a time.
void PostgresStorage::wake(PostgresConnection& connection, const std::set<std::string>& accounts) {
    std::set<std::string> payloads;
    for (const auto& account : accounts)
        payloads.insert(_mark + account);
    connection.notify(payloads);
    _listener.tell(accounts);
}

void PostgresStorage::setWakeListener(WakeListener listener) {
    _listener.set(std::move(listener));
}

void PostgresStorage::dump(const RowVisitor& visitor) {
    PostgresConnection connection({_server.address, untroubled});
    connection.begin(PostgresConnection::Mode::Read);
    connection.dump(visitor);
    connection.rollback();
}

void PostgresStorage::load(const std::function<void(const RowVisitor& add)>& rows) {
    PostgresConnection connection({_server.address, untroubled});
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
