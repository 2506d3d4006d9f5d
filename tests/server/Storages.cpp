#include "server/Storages.h"

#include <array>
#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <latch>
#include <thread>

#include "server/PostgresCluster.h"
#include "server/http/AsioLoop.h"
#include "server/storage/MemoryStorage.h"
#include "server/storage/PostgresStorage.h"
#include "server/storage/SqliteStorage.h"
#include "support/TemporaryFolder.h"

namespace zun::cloud {
namespace {

// Passes everything on to a storage that outlives it.
class Borrowed final : public Storage {
  public:
    explicit Borrowed(std::shared_ptr<Storage> storage) : _storage(std::move(storage)) {}
    ~Borrowed() override { _storage->setWakeListener(nullptr); }
    void write(Work work, Done done) override { _storage->write(std::move(work), std::move(done)); }
    void read(Work work, Done done) override { _storage->read(std::move(work), std::move(done)); }
    void setWakeListener(WakeListener listener) override { _storage->setWakeListener(std::move(listener)); }
    void dump(const RowVisitor& visitor) override { _storage->dump(visitor); }
    void load(const std::function<void(const RowVisitor& add)>& rows) override { _storage->load(rows); }
    std::vector<std::string> check() override { return _storage->check(); }

  private:
    std::shared_ptr<Storage> _storage;
};

class MemoryPlace final : public StoragePlace {
  public:
    std::unique_ptr<Storage> open() override { return std::make_unique<Borrowed>(_storage); }

  private:
    std::shared_ptr<Storage> _storage = std::make_shared<MemoryStorage>();
};

class SqlitePlace final : public StoragePlace {
  public:
    std::unique_ptr<Storage> open() override { return std::make_unique<SqliteStorage>(_folder.path()); }

  private:
    TemporaryFolder _folder;
};

class InLoops final : public Storage {
  public:
    explicit InLoops(std::unique_ptr<Storage> storage) : _storage(std::move(storage)) {
        std::latch joined(threads);
        for (auto& loop : _loops)
            loop.thread = std::thread([this, &loop, &joined] {
                AsioLoop events(loop.context);
                const auto seat = _storage->joinLoop(events);
                const auto guard = boost::asio::make_work_guard(loop.context);
                joined.count_down();
                loop.context.run();
            });
        joined.wait();
    }
    // What has begun by then is left to the seats.
    ~InLoops() override {
        for (auto& loop : _loops)
            boost::asio::post(loop.context, [&loop] { loop.context.stop(); });
        for (auto& loop : _loops)
            loop.thread.join();
    }
    void write(Work work, Done done) override {
        inTurn([this, work = std::move(work), done = std::move(done)]() mutable {
            _storage->write(std::move(work), std::move(done));
        });
    }
    void read(Work work, Done done) override {
        inTurn([this, work = std::move(work), done = std::move(done)]() mutable {
            _storage->read(std::move(work), std::move(done));
        });
    }
    void setWakeListener(WakeListener listener) override { _storage->setWakeListener(std::move(listener)); }
    void dump(const RowVisitor& visitor) override { _storage->dump(visitor); }
    void load(const std::function<void(const RowVisitor& add)>& rows) override { _storage->load(rows); }
    std::vector<std::string> check() override { return _storage->check(); }

  private:
    static constexpr int threads = 2;
    struct Loop {
        boost::asio::io_context context;
        std::thread thread;
    };
    template <class Ask>
    void inTurn(Ask ask) {
        boost::asio::post(_loops[_asked++ % threads].context, std::move(ask));
    }

    std::unique_ptr<Storage> _storage;
    std::atomic<unsigned> _asked{0};
    std::array<Loop, threads> _loops;
};

enum class Asked { ByAnyone, InLoops };

template <Asked asked>
class PostgresPlace final : public StoragePlace {
  public:
    std::unique_ptr<Storage> open() override {
        auto storage = std::make_unique<PostgresStorage>(PostgresServer{_address}, 4);
        if constexpr (asked == Asked::ByAnyone) return storage;
        return askedInLoops(std::move(storage));
    }

  private:
    std::string _address = PostgresCluster::shared().makeDatabase();
};

template <class Place>
StorageKind always(std::string name) {
    return {std::move(name), [] { return true; }, [] { return std::make_unique<Place>(); }};
}

}  // namespace

std::vector<StorageKind> allStorages() {
    return {
        always<MemoryPlace>("Memory"),
        always<SqlitePlace>("SQLite"),
        {"PostgreSQL", PostgresCluster::isAvailable, [] { return std::make_unique<PostgresPlace<Asked::ByAnyone>>(); }},
        {"PostgreSQLInLoops", PostgresCluster::isAvailable,
         [] { return std::make_unique<PostgresPlace<Asked::InLoops>>(); }}};
}

std::unique_ptr<Storage> askedInLoops(std::unique_ptr<Storage> storage) {
    return std::make_unique<InLoops>(std::move(storage));
}

}  // namespace zun::cloud
