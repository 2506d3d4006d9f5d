#pragma once

// One connection to the file of a SqliteStorage, with its statements prepared; and the rows through it. Used by one
// thread at a time. Everything throws StorageFailure.

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "server/storage/Storage.h"

namespace zun::cloud {

class SqliteStatement {
  public:
    SqliteStatement(sqlite3* connection, const char* sql);

    SqliteStatement& bind(int index, std::string_view bytes);
    SqliteStatement& bind(int index, std::int64_t number);
    // True while there is a row.
    bool step();
    void reset() noexcept { sqlite3_reset(_handle.get()); }
    // For statements without rows.
    void run();
    // Of the present row; until the next step.
    [[nodiscard]] std::string_view bytes(int column) const;
    [[nodiscard]] std::int64_t number(int column) const { return sqlite3_column_int64(_handle.get(), column); }

  private:
    void check(int code) const;
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> _handle;
};

class SqliteConnection final : public Transaction {
  public:
    // A writer makes the file and its table where there are none. A backup is a file at rest, only read.
    enum class Mode { Reader, Writer, Backup };
    SqliteConnection(const std::filesystem::path& file, Mode mode);

    void execute(const char* sql);
    // A transaction, and the part of one job in it.
    void begin() { _begin->run(); }
    void commit() { _commit->run(); }
    void beginJob() { _beginJob->run(); }
    void undoJob() { _undoJob->run(); }
    void endJob() { _endJob->run(); }
    // Makes the write-ahead log this long, for a writer outside of a transaction: to overwrite a file and sync it takes
    // half as long as to make it longer. Never fails: without room the log stays as it is.
    void reserveLog(std::int64_t bytes) noexcept;
    [[nodiscard]] sqlite3* handle() const { return _handle.get(); }
    // Rolls back whatever is open. Never fails.
    void abandon() noexcept;
    [[nodiscard]] std::set<std::string> takeWoken() { return std::exchange(_woken, {}); }

    std::optional<std::string> get(std::string_view account, Table table, std::string_view name) override;
    std::optional<std::string> getForUpdate(std::string_view account, Table table, std::string_view name) override {
        return get(account, table, name);
    }
    void scan(std::string_view account, Table table, std::string_view prefix, std::string_view after, std::size_t limit,
              const Visitor& visitor) override;
    void put(std::string_view account, Table table, std::string_view name, std::string value) override;
    void erase(std::string_view account, Table table, std::string_view name) override;
    void erasePrefix(std::string_view account, Table table, std::string_view prefix) override;
    void wake(std::string_view account) override { _woken.emplace(account); }

  private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
    };
    std::unique_ptr<sqlite3, Close> _handle;
    void prepare();

    std::optional<SqliteStatement> _begin, _commit, _rollback, _beginJob, _undoJob, _endJob;
    std::optional<SqliteStatement> _get, _scanFrom, _scanAfter, _put, _erase, _erasePrefix;
    std::set<std::string> _woken;
};

}  // namespace zun::cloud
