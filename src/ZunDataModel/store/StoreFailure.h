#pragma once

// How the store's inner sources report what went wrong: SQLite::Exception, std::system_error or StoreFailure are
// thrown, and turned into a StoreError where an operation of the store ends. None of them leaves the store.

#include <sqlite3.h>

#include <stdexcept>

#include "ZunDataModel/StoreHealth.h"

namespace zun {

class StoreFailure : public std::runtime_error {
  public:
    explicit StoreFailure(StoreError error) : std::runtime_error(error.message), _error(std::move(error)) {}
    [[nodiscard]] const StoreError& error() const { return _error; }

  private:
    StoreError _error;
};

// The error being handled; only inside a catch block. `connection` tells the system's reason behind SQLite's.
[[nodiscard]] StoreError currentStoreError(sqlite3* connection = nullptr);

// True for the codes by which SQLite says that the bytes of the file make no sense.
[[nodiscard]] bool saysDamaged(int sqliteCode);

}  // namespace zun
