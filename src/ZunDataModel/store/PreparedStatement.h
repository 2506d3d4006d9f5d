#pragma once

// One prepared statement over the raw handle: the store's statements run often enough that a wrapper's checks per
// column show. Used by the thread that has its connection. Everything throws SQLite::Exception.

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/foundation/Bytes.h"
#include "platform/foundation/NSDate.h"

namespace zun {

class PreparedStatement {
  public:
    PreparedStatement(sqlite3* connection, std::string_view sql);

    void bindNull(int index) { check(sqlite3_bind_null(_handle.get(), index)); }
    void bind(int index, std::int64_t value) { check(sqlite3_bind_int64(_handle.get(), index, value)); }
    void bind(int index, double value) { check(sqlite3_bind_double(_handle.get(), index, value)); }
    // The text or the bytes must stay until the statement has run.
    void bind(int index, std::string_view value);
    void bind(int index, const Bytes& value);
    void bind(int index, NSDate value) { bind(index, std::int64_t{value.time_since_epoch().count()}); }

    // True while there is a row.
    bool step();
    // For statements without rows: runs them and makes them ready again.
    void run();
    void reset() noexcept;

    [[nodiscard]] sqlite3_stmt* handle() const { return _handle.get(); }
    [[nodiscard]] std::int64_t integer(int column) const { return sqlite3_column_int64(_handle.get(), column); }
    [[nodiscard]] std::string text(int column) const;

  private:
    void check(int code) const {
        if (code != SQLITE_OK) fail();
    }
    [[noreturn]] void fail() const;

    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> _handle;
};

// Makes a statement ready for its next use however the present one ends. A statement in the middle of its rows would
// keep its connection's picture of the store, and with it the log from being written back.
class StatementUse {
  public:
    explicit StatementUse(PreparedStatement& statement) : _statement(statement) {}
    ~StatementUse() { _statement.reset(); }
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;
    PreparedStatement* operator->() const { return &_statement; }
    PreparedStatement& operator*() const { return _statement; }

  private:
    PreparedStatement& _statement;
};

}  // namespace zun
