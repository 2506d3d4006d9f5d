#include "ZunDataModel/store/StoreConnection.h"

#include "ZunDataModel/store/StoreTuning.h"

namespace zun {

namespace {

using Access = StoreConnection::Access;

// Each connection is used by one thread at a time, so SQLite's own mutexes have nothing to do.
int flagsFor(Access access) {
    switch (access) {
        case Access::Write:
            return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        // Reading in WAL mode writes to the shared memory beside the file.
        case Access::Read:
            return SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
        case Access::Frozen:
            return SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI;
    }
    return 0;
}

std::string nameFor(const std::filesystem::path& file, Access access) {
    if (access != Access::Frozen) return file.string();
    std::string uri = "file:";
    for (const char c : file.string()) {
        if (c == '?' || c == '#' || c == '%') {
            static constexpr char digits[] = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(c);
            uri += {'%', digits[byte >> 4], digits[byte & 15]};
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

}  // namespace

StoreConnection::StoreConnection(const std::filesystem::path& file, Access access)
    : _database(nameFor(file, access), flagsFor(access), static_cast<int>(tuning::lockWait.count())) {
    // Closing never writes the log back: that is for the thread which holds the store's lock.
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_extended_result_codes(handle(), 1);
    sqlite3_wal_autocheckpoint(handle(), 0);
    if (access == Access::Write) {
        // Counts for a new file only.
        execute(("PRAGMA page_size = " + std::to_string(tuning::pageSize)).c_str());
        execute("PRAGMA synchronous = FULL");
    } else {
        execute("PRAGMA query_only = ON");
    }
}

PreparedStatement& StoreConnection::statement(std::string_view sql) {
    if (const auto found = _statements.find(sql); found != _statements.end()) return found->second;
    PreparedStatement prepared(handle(), sql);
    if (_statements.size() >= tuning::cachedStatements)
        std::erase_if(_statements, [](const auto& entry) { return !sqlite3_stmt_busy(entry.second.handle()); });
    return _statements.emplace(sql, std::move(prepared)).first->second;
}

std::int64_t StoreConnection::integer(std::string_view sql) {
    const StatementUse query(statement(sql));
    return query->step() ? query->integer(0) : 0;
}

}  // namespace zun
