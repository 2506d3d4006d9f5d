#include "platform/cloudkit/RecordCache.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <fmt/format.h>
#include <sqlite3.h>

#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

using cloud::ZoneChanges;

// Raised when records are written in another form; what an older program kept is deleted then.
constexpr int version = 2;

constexpr std::string_view fileName = "records.sqlite", journalName = "records.sqlite-journal";

constexpr const char* schema = R"(
CREATE TABLE zone(
    id INTEGER PRIMARY KEY, account BLOB NOT NULL, database INTEGER NOT NULL,
    zoneName BLOB NOT NULL, ownerName BLOB NOT NULL, token BLOB NOT NULL,
    UNIQUE(account, database, zoneName, ownerName));
CREATE TABLE record(
    zone INTEGER NOT NULL, name BLOB NOT NULL, bytes INTEGER NOT NULL, body BLOB NOT NULL, UNIQUE(zone, name));
CREATE TABLE deleted(
    number INTEGER PRIMARY KEY AUTOINCREMENT, zone INTEGER NOT NULL, name BLOB NOT NULL, recordType BLOB NOT NULL,
    UNIQUE(zone, name));
)";

// Texts are bound as blobs, since they may hold a zero byte.
void bind(SQLite::Statement& statement, int place, const std::string& text) {
    statement.bindNoCopy(place, text.data(), static_cast<int>(text.size()));
}

std::string textAt(SQLite::Statement& statement, int column) {
    const auto value = statement.getColumn(column);
    const auto* bytes = static_cast<const char*>(value.getBlob());
    return bytes ? std::string(bytes, static_cast<std::size_t>(value.getBytes())) : std::string();
}

struct StoredZone {
    std::int64_t row = 0;
    cloud::Token token;
};

std::optional<StoredZone> find(SQLite::Database& database, const CachedZoneKey& key) {
    SQLite::Statement statement(
        database, "SELECT id, token FROM zone WHERE account = ? AND database = ? AND zoneName = ? AND ownerName = ?");
    bind(statement, 1, key.accountID);
    statement.bind(2, static_cast<int>(key.database));
    bind(statement, 3, key.zoneID.zoneName);
    bind(statement, 4, key.zoneID.ownerName);
    if (!statement.executeStep()) return std::nullopt;
    return StoredZone{statement.getColumn(0).getInt64(), textAt(statement, 1)};
}

std::int64_t insert(SQLite::Database& database, const CachedZoneKey& key) {
    SQLite::Statement statement(
        database, "INSERT INTO zone(account, database, zoneName, ownerName, token) VALUES(?, ?, ?, ?, x'')");
    bind(statement, 1, key.accountID);
    statement.bind(2, static_cast<int>(key.database));
    bind(statement, 3, key.zoneID.zoneName);
    bind(statement, 4, key.zoneID.ownerName);
    statement.exec();
    return database.getLastInsertRowid();
}

void empty(SQLite::Database& database, std::int64_t row) {
    database.exec(fmt::format("DELETE FROM record WHERE zone = {0}; DELETE FROM deleted WHERE zone = {0}", row));
}

void erase(SQLite::Database& database, std::int64_t row) {
    empty(database, row);
    database.exec(fmt::format("DELETE FROM zone WHERE id = {}", row));
}

void takeIn(SQLite::Database& database, std::int64_t row, const ZoneChanges::Zone& page) {
    SQLite::Statement put(database, "INSERT OR REPLACE INTO record(zone, name, bytes, body) VALUES(?, ?, ?, ?)");
    SQLite::Statement isThere(database, "DELETE FROM deleted WHERE zone = ? AND name = ?");
    for (const auto& record : page.changed) {
        const auto body = cloud::encode(record);
        put.bind(1, row);
        bind(put, 2, record.recordID.recordName);
        put.bind(3, static_cast<std::int64_t>(body.size()));
        bind(put, 4, body);
        put.exec();
        put.reset();
        isThere.bind(1, row);
        bind(isThere, 2, record.recordID.recordName);
        isThere.exec();
        isThere.reset();
    }
    SQLite::Statement remove(database, "DELETE FROM record WHERE zone = ? AND name = ?");
    SQLite::Statement note(database, "INSERT OR REPLACE INTO deleted(zone, name, recordType) VALUES(?, ?, ?)");
    for (const auto& deleted : page.deleted) {
        remove.bind(1, row);
        bind(remove, 2, deleted.recordID.recordName);
        remove.exec();
        remove.reset();
        note.bind(1, row);
        bind(note, 2, deleted.recordID.recordName);
        bind(note, 3, deleted.recordType);
        note.exec();
        note.reset();
    }
    SQLite::Statement token(database, "UPDATE zone SET token = ? WHERE id = ?");
    bind(token, 1, page.token);
    token.bind(2, row);
    token.exec();
}

std::uint64_t bytesOf(SQLite::Database& database, const std::string& condition) {
    return static_cast<std::uint64_t>(
        database.execAndGet("SELECT coalesce(sum(bytes), 0) FROM record WHERE " + condition).getInt64());
}

// Makes room by forgetting other zones. False if this one alone is too large.
bool fits(SQLite::Database& database, std::int64_t row, std::uint64_t limit) {
    if (bytesOf(database, "1") <= limit) return true;
    database.exec(fmt::format(
        "DELETE FROM record WHERE zone <> {0}; DELETE FROM deleted WHERE zone <> {0}; DELETE FROM zone WHERE id <> {0}",
        row));
    return bytesOf(database, "1") <= limit;
}

}  // namespace

RecordCache::RecordCache(std::filesystem::path folder, std::uint64_t limit)
    : _folder(std::move(folder)), _limit(limit) {}

RecordCache::~RecordCache() = default;

void RecordCache::openInMemory() {
    _database = std::make_unique<SQLite::Database>(":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    _database->exec(schema);
}

void RecordCache::openFile() {
    std::error_code ignored;
    if (std::filesystem::create_directories(_folder, ignored))
        std::filesystem::permissions(_folder, std::filesystem::perms::owner_all, ignored);
    _database =
        std::make_unique<SQLite::Database>((_folder / fileName).native(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    // Held from the first reading on, so that nobody deletes the file of another process that is using it.
    _database->exec("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = TRUNCATE; PRAGMA synchronous = NORMAL");
    _database->exec("BEGIN EXCLUSIVE");
    if (_database->execAndGet("PRAGMA user_version").getInt() != version) {
        _database->exec("DROP TABLE IF EXISTS zone; DROP TABLE IF EXISTS record; DROP TABLE IF EXISTS deleted");
        _database->exec(schema);
        _database->exec(fmt::format("PRAGMA user_version = {}", version));
    }
    _database->exec("COMMIT");
}

void RecordCache::discard() {
    _database.reset();
    if (_folder.empty()) return;
    std::error_code ignored;
    std::filesystem::remove(_folder / fileName, ignored);
    std::filesystem::remove(_folder / journalName, ignored);
}

void RecordCache::openWhatCanBe() {
    if (_database) return;
    for (int attempt = 0; attempt < 2 && !_folder.empty() && !_staysInMemory; ++attempt) {
        try {
            return openFile();
        } catch (const SQLite::Exception& error) {
            _database.reset();
            // Another process has it.
            if (error.getErrorCode() == SQLITE_BUSY) break;
            discard();
        }
    }
    _staysInMemory = true;
    openInMemory();
}

template <class Result, class Work>
Result RecordCache::guarded(Result otherwise, Work work) {
    const std::scoped_lock lock(_mutex);
    try {
        openWhatCanBe();
        SQLite::Transaction transaction(*_database);
        auto result = work(*_database);
        transaction.commit();
        return result;
    } catch (const SQLite::Exception& error) {
        NSLog(fmt::format("The cache of records: {}", error.what()));
        // A full disk leaves it as it was.
        if (error.getErrorCode() != SQLITE_FULL) discard();
    }
    return otherwise;
}

std::optional<cloud::Token> RecordCache::tokenOf(const CachedZoneKey& key) {
    return guarded(std::optional<cloud::Token>(), [&](SQLite::Database& database) {
        auto zone = find(database, key);
        return zone ? std::optional(std::move(zone->token)) : std::nullopt;
    });
}

RecordCache::Outcome RecordCache::apply(const CachedZoneKey& key, const std::optional<cloud::Token>& from,
                                        const ZoneChanges::Zone& page) {
    return guarded(Outcome::Failed, [&](SQLite::Database& database) {
        const auto zone = find(database, key);
        if (from && (!zone || zone->token != *from)) return Outcome::OtherToken;
        const auto row = zone ? zone->row : insert(database, key);
        if (!from || page.fromBeginning) empty(database, row);
        takeIn(database, row, page);
        if (page.changed.empty() || fits(database, row, _limit)) return Outcome::Applied;
        erase(database, row);
        return Outcome::Failed;
    });
}

std::optional<RecordCache::Contents> RecordCache::contentsOf(const CachedZoneKey& key, const cloud::Token& token) {
    return guarded(std::optional<Contents>(), [&](SQLite::Database& database) -> std::optional<Contents> {
        const auto zone = find(database, key);
        if (!zone || zone->token != token) return std::nullopt;
        Contents contents;
        // In the order of the file, which the index is not.
        SQLite::Statement records(database, "SELECT body FROM record NOT INDEXED WHERE zone = ?");
        records.bind(1, zone->row);
        while (records.executeStep())
            contents.records.push_back(textAt(records, 0));
        SQLite::Statement deleted(database, "SELECT name, recordType, number FROM deleted WHERE zone = ? ORDER BY 3");
        deleted.bind(1, zone->row);
        while (deleted.executeStep()) {
            contents.deleted.push_back({{textAt(deleted, 0), key.zoneID}, textAt(deleted, 1)});
            contents.lastDeletion = deleted.getColumn(2).getInt64();
        }
        return contents;
    });
}

void RecordCache::forgetDeletions(const CachedZoneKey& key, std::int64_t lastDeletion) {
    guarded(false, [&](SQLite::Database& database) {
        const auto zone = find(database, key);
        if (!zone) return false;
        SQLite::Statement statement(database, "DELETE FROM deleted WHERE zone = ? AND number <= ?");
        statement.bind(1, zone->row);
        statement.bind(2, lastDeletion);
        statement.exec();
        return true;
    });
}

void RecordCache::forget(const CachedZoneKey& key) {
    guarded(false, [&](SQLite::Database& database) {
        const auto zone = find(database, key);
        if (zone) erase(database, zone->row);
        return zone.has_value();
    });
}

void RecordCache::forgetAll() {
    const std::scoped_lock lock(_mutex);
    if (_staysInMemory) {
        _database.reset();
    } else {
        discard();
    }
}

}  // namespace zun
