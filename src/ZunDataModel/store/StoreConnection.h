#pragma once

// One connection to a store's file with the statements prepared on it. One thread at a time. Throws SQLite::Exception.

#include <SQLiteCpp/Database.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>

#include "ZunDataModel/store/PreparedStatement.h"

namespace zun {

class StoreConnection {
  public:
    enum class Access {
        Write,   // makes the file if it is missing; durable commits
        Read,    // needs no lock; sees each commit
        Frozen,  // for a file in a folder that cannot be written: the log's last changes may be missing
    };

    StoreConnection(const std::filesystem::path& file, Access access);

    // Prepared once by its text and kept; a statement whose use has ended may go when there are too many.
    [[nodiscard]] PreparedStatement& statement(std::string_view sql);
    void execute(const char* sql) { _database.exec(sql); }
    [[nodiscard]] std::int64_t integer(std::string_view sql);
    [[nodiscard]] SQLite::Database& database() { return _database; }
    [[nodiscard]] sqlite3* handle() const { return _database.getHandle(); }

  private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };

    SQLite::Database _database;
    // After the connection, so that they go before it.
    std::unordered_map<std::string, PreparedStatement, Hash, std::equal_to<>> _statements;
};

}  // namespace zun
