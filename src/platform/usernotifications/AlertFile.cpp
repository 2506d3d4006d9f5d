#include "platform/usernotifications/AlertFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/foundation/DurableFile.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/Log.h"
#include "platform/usernotifications/AlertTuning.h"
#include "platform/usernotifications/FileWatcher.h"

namespace zun {
namespace {

constexpr int schemaVersion = 1;

// scheduled: deliveryDate is what was asked for, in deliveryTimeZone; dueDate is when that comes by the clock of
// dueZone, which is the same moment until the user travels. delivered: sequence counts upwards in the order in which
// they came; serverIdentifier is what the notification server `server` shows it under, 0 if it does not any more.
// shown: every moment of a reminder that was alerted, so that it is not again.
constexpr const char* schema = R"(
CREATE TABLE scheduled(
    identifier INTEGER PRIMARY KEY AUTOINCREMENT,
    reminderID TEXT NOT NULL, deliveryDate INTEGER NOT NULL, deliveryTimeZone TEXT NOT NULL,
    dueDate INTEGER NOT NULL, dueZone TEXT NOT NULL,
    title TEXT NOT NULL, subtitle TEXT NOT NULL, actionButtonTitle TEXT, soundName TEXT NOT NULL);
CREATE INDEX scheduledByReminder ON scheduled(reminderID, deliveryDate);
CREATE INDEX scheduledByDueDate ON scheduled(dueDate);
CREATE INDEX scheduledByDueZone ON scheduled(dueZone);
CREATE TABLE delivered(
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, identifier INTEGER NOT NULL,
    reminderID TEXT NOT NULL, deliveryDate INTEGER NOT NULL, deliveryTimeZone TEXT NOT NULL,
    actualDeliveryDate INTEGER NOT NULL,
    title TEXT NOT NULL, subtitle TEXT NOT NULL, actionButtonTitle TEXT, soundName TEXT NOT NULL,
    serverIdentifier INTEGER NOT NULL, server TEXT NOT NULL, inSummary INTEGER NOT NULL);
CREATE INDEX deliveredByIdentifier ON delivered(identifier);
CREATE INDEX deliveredByReminder ON delivered(reminderID);
CREATE INDEX deliveredByServerIdentifier ON delivered(serverIdentifier);
CREATE TABLE shown(
    reminderID TEXT NOT NULL, deliveryDate INTEGER NOT NULL, PRIMARY KEY(reminderID, deliveryDate)) WITHOUT ROWID;
CREATE INDEX shownByDeliveryDate ON shown(deliveryDate);
CREATE TABLE closing(serverIdentifier INTEGER PRIMARY KEY, server TEXT NOT NULL);
CREATE TABLE facts(name TEXT PRIMARY KEY, value INTEGER NOT NULL) WITHOUT ROWID;
)";

bool isDamage(const SQLite::Exception& error) {
    return error.getErrorCode() == SQLITE_CORRUPT || error.getErrorCode() == SQLITE_NOTADB;
}

std::uint64_t inodeOf(const std::filesystem::path& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? status.st_ino : 0;
}

}  // namespace

AlertFile::AlertFile(std::filesystem::path folder, const Environment& environment)
    : _folder(std::move(folder)), _file(_folder / "alerts.sqlite"), _environment(environment) {}

bool AlertFile::isReplaced() const {
    return _database && inodeOf(_file) != _inode;
}

void AlertFile::close() {
    _statements.clear();
    _database.reset();
}

// False if there is nothing to read yet.
bool AlertFile::open(Access access) {
    if (isReplaced()) close();
    if (_database) return true;
    std::error_code ignored;
    if (access == Access::Read && !std::filesystem::exists(_file, ignored) && !ignored) return false;
    if (std::filesystem::create_directories(_folder, ignored)) {
        std::filesystem::permissions(_folder, std::filesystem::perms::owner_all, ignored);
    }
    constexpr std::chrono::milliseconds wait = alertTuning::lockWait;
    _database = std::make_unique<SQLite::Database>(_file.native(),
                                                   SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOMUTEX,
                                                   static_cast<int>(wait.count()));
    _inode = inodeOf(_file);
    _database->exec(fmt::format("PRAGMA cache_size = -{}", alertTuning::cacheSize));
    _database->exec("PRAGMA journal_mode = TRUNCATE");
    _database->exec("PRAGMA synchronous = FULL");
    prepareSchema();
    return true;
}

void AlertFile::prepareSchema() {
    const auto version = [this] { return _database->execAndGet("PRAGMA user_version").getInt(); };
    if (const int found = version(); found == schemaVersion) return;
    SQLite::Transaction transaction(*_database, SQLite::TransactionBehavior::IMMEDIATE);
    if (const int found = version(); found > schemaVersion) {
        throw SQLite::Exception("The alerts were written by a newer version of Zun.", SQLITE_READONLY);
    } else if (found == 0) {
        _database->exec(schema);
        _database->exec("INSERT INTO facts VALUES('mustBeFilled', 1)");
        _database->exec(fmt::format("PRAGMA user_version = {}", schemaVersion));
    }
    transaction.commit();
    syncNames();
}

// The file is new, and the folders above it may be: a power cut must not take their names, either.
void AlertFile::syncNames() const {
    for (auto folder = _folder; folder.has_relative_path(); folder = folder.parent_path()) {
        const FileDescriptor names(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (names.isOpen()) fsync(names.number());
    }
}

void AlertFile::setAside() {
    // Only one process moves the file; the others find a new one in its place.
    const int lock = ::open((_folder / "alerts.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (lock >= 0) flock(lock, LOCK_EX);
    std::error_code error;
    if (!isReplaced() && std::filesystem::exists(_file, error)) {
        auto name = "alerts-damaged-" + iso8601FromDate(_environment.now());
        std::replace(name.begin(), name.end(), ':', '.');
        auto target = _folder / (name + ".sqlite");
        for (int count = 2; std::filesystem::exists(target, error); ++count)
            target = _folder / fmt::format("{}-{}.sqlite", name, count);
        std::filesystem::rename(_file, target, error);
        std::filesystem::remove(_folder / "alerts.sqlite-journal", error);
        NSLog("The file of scheduled alerts was damaged and has been set aside as " + target.filename().native() +
              ". The alerts are scheduled anew.");
    }
    close();
    if (lock >= 0) ::close(lock);
    // The service fills the new one.
    ringBell(bell(_folder));
}

SQLite::Statement& AlertFile::statement(const char* sql) {
    auto& prepared = _statements[sql];
    if (!prepared) prepared = std::make_unique<SQLite::Statement>(*_database, sql);
    return *prepared;
}

bool AlertFile::run(Access access, const std::function<void()>& block) {
    for (int attempt = 0;; ++attempt) {
        // The library reports failures by exceptions only; none leaves this function.
        try {
            if (!open(access)) return true;
            if (access == Access::Read) {
                block();
            } else {
                SQLite::Transaction transaction(*_database, SQLite::TransactionBehavior::IMMEDIATE);
                block();
                transaction.commit();
            }
            return true;
        } catch (const SQLite::Exception& error) {
            if (isDamage(error) && attempt == 0) {
                setAside();
                continue;
            }
            NSLog(
                fmt::format("The alerts cannot be {}: {}", access == Access::Read ? "read" : "changed", error.what()));
            // What failed may have to do with the file as it was opened, such as a disk that came back.
            close();
            return false;
        }
    }
}

void AlertFile::check() {
    bool isSound = true;
    const bool isReadable = run(Access::Read, [&] {
        AlertQuery query(*this, "PRAGMA quick_check(1)");
        isSound = query.next() && query.text(0) == "ok";
    });
    if (isReadable && !isSound) setAside();
}

}  // namespace zun
