#pragma once

// The SQLite file that holds the alerts, as one process sees it. Not in WAL mode: there are few writes, several
// programs make them, and a rollback journal has no known fault with that. A damaged file is set aside under a dated
// name, and a fresh one takes its place that knows it has to be filled again. One thread at a time.

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/foundation/Environment.h"

namespace zun {

class AlertFile {
  public:
    enum class Access { Read, Write };

    // A file "alerts.sqlite" in this folder; neither need exist, and a read makes neither.
    AlertFile(std::filesystem::path folder, const Environment& environment);

    // Runs the block; one that writes runs as a whole or not at all, and is durable on return. False, with a log line,
    // if the file cannot be used; nothing has changed then. A read of a file that is not there yet runs nothing and is
    // no failure. May wait some seconds for another process.
    bool run(Access access, const std::function<void()>& block);
    // Changed by whoever changed the lists, and when a damaged file has been set aside.
    [[nodiscard]] static std::filesystem::path bell(const std::filesystem::path& folder) { return folder / "bell"; }
    // Looks at every page. A damaged file is set aside. May take some milliseconds a megabyte.
    void check();

    // Only inside a block of run(). Prepared once and kept; throws SQLite::Exception.
    [[nodiscard]] SQLite::Statement& statement(const char* sql);
    [[nodiscard]] int changedRows() const { return _database->getChanges(); }

    [[nodiscard]] const std::filesystem::path& file() const { return _file; }

  private:
    bool open(Access access);
    void close();
    void prepareSchema();
    void syncNames() const;
    void setAside();
    [[nodiscard]] bool isReplaced() const;

    std::filesystem::path _folder;
    std::filesystem::path _file;
    const Environment& _environment;
    std::unique_ptr<SQLite::Database> _database;
    std::uint64_t _inode = 0;
    std::unordered_map<const char*, std::unique_ptr<SQLite::Statement>> _statements;
};

// Makes a statement ready for its next use however the present one ends.
class AlertQuery {
  public:
    AlertQuery(AlertFile& file, const char* sql) : _statement(file.statement(sql)) {}
    ~AlertQuery() {
        _statement.tryReset();
        _statement.clearBindings();
    }
    AlertQuery(const AlertQuery&) = delete;
    AlertQuery& operator=(const AlertQuery&) = delete;

    AlertQuery& with(int index, std::int64_t value) {
        _statement.bind(index, value);
        return *this;
    }
    AlertQuery& with(int index, NSDate value) { return with(index, std::int64_t{value.time_since_epoch().count()}); }
    AlertQuery& with(int index, const std::string& value) {
        _statement.bind(index, value);
        return *this;
    }
    // True while there is a row.
    bool next() { return _statement.executeStep(); }
    void run() {
        while (next()) {
        }
    }
    [[nodiscard]] bool isNull(int column) const { return _statement.isColumnNull(column); }
    [[nodiscard]] std::int64_t integer(int column) const { return _statement.getColumn(column).getInt64(); }
    [[nodiscard]] NSDate date(int column) const { return NSDate(std::chrono::microseconds(integer(column))); }
    [[nodiscard]] std::string text(int column) const { return _statement.getColumn(column).getString(); }

  private:
    SQLite::Statement& _statement;
};

}  // namespace zun
