#include "server/storage/SqliteConnection.h"

#include <vector>

namespace zun::cloud {
namespace {

constexpr int busyMilliseconds = 10'000;

[[noreturn]] void fail(sqlite3* connection) {
    throw StorageFailure(std::string("SQLite: ") + (connection ? sqlite3_errmsg(connection) : "out of memory"));
}

std::int64_t asLimit(std::size_t limit) {
    return limit > INT64_MAX ? -1 : static_cast<std::int64_t>(limit);
}

// Ready for its next use however the present one ends.
class Use {
  public:
    explicit Use(SqliteStatement& statement) : _statement(statement) {}
    ~Use() { _statement.reset(); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

  private:
    SqliteStatement& _statement;
};

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* connection, const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
        fail(connection);
    _handle.reset(statement);
}

void SqliteStatement::check(int code) const {
    if (code != SQLITE_OK) fail(sqlite3_db_handle(_handle.get()));
}

SqliteStatement& SqliteStatement::bind(int index, std::string_view bytes) {
    // Without a place in memory the value would be null.
    check(sqlite3_bind_blob64(_handle.get(), index, bytes.empty() ? "" : bytes.data(), bytes.size(), SQLITE_STATIC));
    return *this;
}

SqliteStatement& SqliteStatement::bind(int index, std::int64_t number) {
    check(sqlite3_bind_int64(_handle.get(), index, number));
    return *this;
}

bool SqliteStatement::step() {
    const int code = sqlite3_step(_handle.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail(sqlite3_db_handle(_handle.get()));
    return code == SQLITE_ROW;
}

void SqliteStatement::run() {
    const Use use(*this);
    while (step()) {
    }
}

std::string_view SqliteStatement::bytes(int column) const {
    const auto* start = static_cast<const char*>(sqlite3_column_blob(_handle.get(), column));
    return {start, static_cast<std::size_t>(sqlite3_column_bytes(_handle.get(), column))};
}

SqliteConnection::SqliteConnection(const std::filesystem::path& file, Mode mode) {
    sqlite3* connection = nullptr;
    const int flags = SQLITE_OPEN_NOMUTEX | (mode == Mode::Backup ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) |
                      (mode == Mode::Writer ? SQLITE_OPEN_CREATE : 0);
    const int code = sqlite3_open_v2(file.c_str(), &connection, flags, nullptr);
    _handle.reset(connection);
    if (code != SQLITE_OK) fail(connection);
    if (mode == Mode::Backup) return;
    sqlite3_busy_timeout(connection, busyMilliseconds);
    // Each commit is on the disk when it returns; the log is written back when the storage says so. A row of this table
    // keeps at most a quarter of a page in its place, and a reminder's record is just too long for that in SQLite's
    // usual pages: each would take another page for its end. A database that exists keeps its pages.
    execute(
        "PRAGMA page_size=8192; PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA wal_autocheckpoint=0;"
        "PRAGMA cache_size=-16000; PRAGMA mmap_size=1073741824;");
    if (mode == Mode::Writer)
        execute(
            "CREATE TABLE IF NOT EXISTS rows (account BLOB NOT NULL, kind INTEGER NOT NULL, name BLOB NOT NULL,"
            " value BLOB NOT NULL, PRIMARY KEY (account, kind, name)) WITHOUT ROWID;");
    _begin.emplace(connection, mode == Mode::Writer ? "BEGIN IMMEDIATE" : "BEGIN");
    prepare();
}

void SqliteConnection::prepare() {
    auto* connection = _handle.get();
    _commit.emplace(connection, "COMMIT");
    _rollback.emplace(connection, "ROLLBACK");
    _beginJob.emplace(connection, "SAVEPOINT job");
    _undoJob.emplace(connection, "ROLLBACK TO job");
    _endJob.emplace(connection, "RELEASE job");
    _get.emplace(connection, "SELECT value FROM rows WHERE account = ?1 AND kind = ?2 AND name = ?3");
    _scanFrom.emplace(connection,
                      "SELECT name, value FROM rows WHERE account = ?1 AND kind = ?2 AND name >= ?3"
                      " AND name < ?4 ORDER BY name LIMIT ?5");
    _scanAfter.emplace(connection,
                       "SELECT name, value FROM rows WHERE account = ?1 AND kind = ?2 AND name > ?3"
                       " AND name < ?4 ORDER BY name LIMIT ?5");
    _put.emplace(connection,
                 "INSERT INTO rows (account, kind, name, value) VALUES (?1, ?2, ?3, ?4)"
                 " ON CONFLICT (account, kind, name) DO UPDATE SET value = excluded.value");
    _erase.emplace(connection, "DELETE FROM rows WHERE account = ?1 AND kind = ?2 AND name = ?3");
    _erasePrefix.emplace(connection,
                         "DELETE FROM rows WHERE account = ?1 AND kind = ?2 AND name >= ?3"
                         " AND name < ?4");
}

void SqliteConnection::execute(const char* sql) {
    if (sqlite3_exec(_handle.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(_handle.get());
}

void SqliteConnection::reserveLog(std::int64_t bytes) noexcept {
    try {
        begin();
        sqlite3_file* log = nullptr;
        sqlite3_int64 length = 0;
        sqlite3_file_control(_handle.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
        if (log && log->pMethods && log->pMethods->xFileSize(log, &length) == SQLITE_OK) {
            // What stands behind the last frame is not read, and zeros are no frame.
            const std::vector<char> zeros(std::size_t{1} << 20);
            auto end = length;
            while (end < bytes &&
                   log->pMethods->xWrite(log, zeros.data(), static_cast<int>(zeros.size()), end) == SQLITE_OK)
                end += static_cast<sqlite3_int64>(zeros.size());
            // The room is needed for better things.
            if (end < bytes) log->pMethods->xTruncate(log, length);
        }
    } catch (const StorageFailure&) {
    }
    abandon();
}

void SqliteConnection::abandon() noexcept {
    _woken.clear();
    if (sqlite3_get_autocommit(_handle.get()) != 0) return;
    try {
        _rollback->run();
    } catch (const StorageFailure&) {
        // It has ended it itself.
    }
}

std::optional<std::string> SqliteConnection::get(std::string_view account, Table table, std::string_view name) {
    const Use use(*_get);
    _get->bind(1, account).bind(2, static_cast<std::int64_t>(table)).bind(3, name);
    if (!_get->step()) return std::nullopt;
    return std::string(_get->bytes(0));
}

void SqliteConnection::scan(std::string_view account, Table table, std::string_view prefix, std::string_view after,
                            std::size_t limit, const Visitor& visitor) {
    auto& statement = after < prefix ? *_scanFrom : *_scanAfter;
    const auto end = endOfPrefix(prefix);
    const Use use(statement);
    statement.bind(1, account).bind(2, static_cast<std::int64_t>(table)).bind(3, after < prefix ? prefix : after);
    statement.bind(4, end).bind(5, asLimit(limit));
    while (statement.step())
        if (!visitor(statement.bytes(0), statement.bytes(1))) return;
}

void SqliteConnection::put(std::string_view account, Table table, std::string_view name, std::string value) {
    _put->bind(1, account).bind(2, static_cast<std::int64_t>(table)).bind(3, name).bind(4, value).run();
}

void SqliteConnection::erase(std::string_view account, Table table, std::string_view name) {
    _erase->bind(1, account).bind(2, static_cast<std::int64_t>(table)).bind(3, name).run();
}

void SqliteConnection::erasePrefix(std::string_view account, Table table, std::string_view prefix) {
    const auto end = endOfPrefix(prefix);
    _erasePrefix->bind(1, account).bind(2, static_cast<std::int64_t>(table)).bind(3, prefix).bind(4, end).run();
}

}  // namespace zun::cloud
