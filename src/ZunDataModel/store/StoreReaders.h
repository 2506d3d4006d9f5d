#pragma once

// The read connections of one store, lent to whoever fetches. Any thread; a fetch waits for no other.

#include <filesystem>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "ZunDataModel/store/StoreConnection.h"

namespace zun {

class StoreReaders {
  public:
    // Gives its connection back when it goes.
    class Lease {
      public:
        Lease(StoreReaders& owner, std::unique_ptr<StoreConnection> connection)
            : _owner(&owner), _connection(std::move(connection)) {}
        ~Lease() {
            if (_connection) _owner->giveBack(std::move(_connection));
        }
        Lease(Lease&&) noexcept = default;
        Lease& operator=(Lease&&) = delete;
        StoreConnection* operator->() const { return _connection.get(); }
        StoreConnection& operator*() const { return *_connection; }

      private:
        StoreReaders* _owner;
        std::unique_ptr<StoreConnection> _connection;
    };

    StoreReaders(std::filesystem::path file, StoreConnection::Access access)
        : _file(std::move(file)), _access(access) {}

    // Opens a connection if none is idle; throws SQLite::Exception if that fails.
    [[nodiscard]] Lease lend();
    void giveBack(std::unique_ptr<StoreConnection> connection);

  private:
    std::filesystem::path _file;
    StoreConnection::Access _access;
    std::mutex _mutex;
    std::vector<std::unique_ptr<StoreConnection>> _idle;
};

}  // namespace zun
