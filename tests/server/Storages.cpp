#include "server/Storages.h"

#include "server/PostgresCluster.h"
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

class PostgresPlace final : public StoragePlace {
  public:
    std::unique_ptr<Storage> open() override { return std::make_unique<PostgresStorage>(_address, 4); }

  private:
    std::string _address = PostgresCluster::shared().makeDatabase();
};

template <class Place>
StorageKind always(std::string name) {
    return {std::move(name), [] { return true; }, [] { return std::make_unique<Place>(); }};
}

}  // namespace

std::vector<StorageKind> allStorages() {
    return {always<MemoryPlace>("Memory"),
            always<SqlitePlace>("SQLite"),
            {"PostgreSQL", PostgresCluster::isAvailable, [] { return std::make_unique<PostgresPlace>(); }}};
}

}  // namespace zun::cloud
