#include "HandWritten.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zun {

namespace {

constexpr const char* columns =
    "reminderID, title, notes, checklist, created_date, modified_date, completed_date, start_date, due_date, "
    "fire_date, end_date, "
    "repeat_type, customRepeatInterval, customRepeatDayOrdinals, earlyReminderType, earlyReminderInterval, "
    "snoozeCount, "
    "naggingNotifications, shouldSuppressNotifications, locationLatitude, locationLongitude, locationName, "
    "locationActivation, "
    "locationActivationRadius, rank, didPersistToiCloud, hasLocalChanges, shouldDeleteRemote, shareURL, "
    "shareParticipantsCanEdit, "
    "sharedZoneID";

constexpr const char* isOpen =
    "locationLatitude = 0 AND locationLongitude = 0 AND completed_date IS NULL AND (shouldDeleteRemote = 0 OR "
    "shouldDeleteRemote IS NULL)";

void require(bool good, sqlite3* database) {
    if (good) return;
    std::fprintf(stderr, "%s\n", sqlite3_errmsg(database));
    std::abort();
}

std::string text(sqlite3_stmt* row, int column) {
    return {reinterpret_cast<const char*>(sqlite3_column_text(row, column)),
            static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}
std::optional<std::string> optionalText(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return std::nullopt;
    return text(row, column);
}
OptionalDate date(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return std::nullopt;
    return NSDate{std::chrono::microseconds{sqlite3_column_int64(row, column)}};
}
std::uint64_t number(sqlite3_stmt* row, int column) {
    return static_cast<std::uint64_t>(sqlite3_column_int64(row, column));
}
bool flag(sqlite3_stmt* row, int column) {
    return sqlite3_column_int(row, column) != 0;
}

void fill(sqlite3_stmt* row, ReminderAttributes& r) {
    r.reminderID = text(row, 0);
    r.title = text(row, 1);
    r.notes = optionalText(row, 2);
    r.checklist = optionalText(row, 3);
    r.created_date = date(row, 4);
    r.modified_date = date(row, 5);
    r.completed_date = date(row, 6);
    r.start_date = date(row, 7);
    r.due_date = date(row, 8);
    r.fire_date = date(row, 9);
    r.end_date = date(row, 10);
    r.repeat_type = number(row, 11);
    r.customRepeatInterval = number(row, 12);
    if (sqlite3_column_type(row, 13) != SQLITE_NULL) {
        r.customRepeatDayOrdinals.emplace();
        for (const char c : text(row, 13))
            if (c >= '1' && c <= '7') r.customRepeatDayOrdinals->push_back(c - '0');
    }
    r.earlyReminderType = number(row, 14);
    r.earlyReminderInterval = number(row, 15);
    r.snoozeCount = number(row, 16);
    r.naggingNotifications = flag(row, 17);
    r.shouldSuppressNotifications = flag(row, 18);
    r.locationLatitude = sqlite3_column_double(row, 19);
    r.locationLongitude = sqlite3_column_double(row, 20);
    r.locationName = optionalText(row, 21);
    r.locationActivation = number(row, 22);
    r.locationActivationRadius = number(row, 23);
    r.rank = sqlite3_column_int64(row, 24);
    r.didPersistToiCloud = flag(row, 25);
    r.hasLocalChanges = flag(row, 26);
    if (sqlite3_column_type(row, 27) != SQLITE_NULL) r.shouldDeleteRemote = flag(row, 27);
    r.shareURL = optionalText(row, 28);
    r.shareParticipantsCanEdit = flag(row, 29);
    if (sqlite3_column_type(row, 30) != SQLITE_NULL) {
        const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(row, 30));
        r.sharedZoneID.emplace(bytes, bytes + sqlite3_column_bytes(row, 30));
    }
}

void bindText(sqlite3_stmt* row, int index, const std::string& value) {
    sqlite3_bind_text(row, index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
}
void bindDate(sqlite3_stmt* row, int index, OptionalDate value) {
    if (value) sqlite3_bind_int64(row, index, value->time_since_epoch().count());
}

}  // namespace

HandWritten::HandWritten(const std::string& file) {
    require(sqlite3_open_v2(file.c_str(), &_database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                            nullptr) == SQLITE_OK,
            _database);
    require(sqlite3_exec(_database, "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL", nullptr, nullptr,
                         nullptr) == SQLITE_OK,
            _database);
}

HandWritten::~HandWritten() {
    for (sqlite3_stmt* statement : {_due, _count, _all, _insert})
        sqlite3_finalize(statement);
    sqlite3_close(_database);
}

sqlite3_stmt* HandWritten::prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(_database, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK, _database);
    return statement;
}

std::vector<ReminderAttributes> HandWritten::rows(sqlite3_stmt* statement) {
    std::vector<ReminderAttributes> all;
    while (sqlite3_step(statement) == SQLITE_ROW)
        fill(statement, all.emplace_back());
    sqlite3_reset(statement);
    return all;
}

std::vector<ReminderAttributes> HandWritten::fetchDue(NSDate now) {
    // In the words that SQLite serves best: each side carries all conditions.
    if (!_due)
        _due = prepare(std::string("SELECT ") + columns + " FROM reminders WHERE (fire_date <= ? AND " + isOpen +
                       ") OR (fire_date IS NULL AND " + isOpen + ") ORDER BY fire_date DESC");
    sqlite3_bind_int64(_due, 1, now.time_since_epoch().count());
    return rows(_due);
}

std::size_t HandWritten::countDue(NSDate now) {
    if (!_count)
        _count =
            prepare(std::string("SELECT count(*) FROM reminders WHERE fire_date <= ? AND start_date IS NOT NULL AND ") +
                    isOpen);
    sqlite3_bind_int64(_count, 1, now.time_since_epoch().count());
    require(sqlite3_step(_count) == SQLITE_ROW, _database);
    const auto count = static_cast<std::size_t>(sqlite3_column_int64(_count, 0));
    sqlite3_reset(_count);
    return count;
}

std::vector<ReminderAttributes> HandWritten::fetchAll() {
    if (!_all) _all = prepare(std::string("SELECT ") + columns + " FROM reminders");
    return rows(_all);
}

void HandWritten::save(const ReminderAttributes& record) {
    if (!_insert) {
        require(sqlite3_exec(_database, (std::string("CREATE TABLE floor (") + columns + ")").c_str(), nullptr, nullptr,
                             nullptr) == SQLITE_OK,
                _database);
        std::string places = "?";
        for (int i = 1; i < 31; ++i)
            places += ", ?";
        _insert = prepare("INSERT INTO floor VALUES (" + places + ")");
    }
    bindText(_insert, 1, *record.reminderID);
    bindText(_insert, 2, record.title);
    bindText(_insert, 3, *record.notes);
    bindDate(_insert, 5, record.created_date);
    bindDate(_insert, 8, record.start_date);
    bindDate(_insert, 9, record.due_date);
    bindDate(_insert, 10, record.fire_date);
    for (const int zero : {12, 13, 15, 16, 17, 18, 19, 20, 21, 23, 24, 25, 26, 27, 30})
        sqlite3_bind_int64(_insert, zero, 0);
    require(sqlite3_step(_insert) == SQLITE_DONE, _database);
    sqlite3_reset(_insert);
}

}  // namespace zun
