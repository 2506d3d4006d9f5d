#include "ZunDataModel/store/StoreRecovery.h"

#include <SQLiteCpp/Transaction.h>

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <unordered_set>

#include "ZunDataModel/store/ChangeLog.h"
#include "ZunDataModel/store/StoreBackup.h"
#include "ZunDataModel/store/StoreHeader.h"
#include "ZunDataModel/store/StoreSchema.h"
#include "ZunDataModel/store/StoreWriter.h"

namespace zun {

namespace {

using RecordSink = std::function<void(ReminderAttributes)>;

// Unreadable stretches longer than this are not searched row by row; a search takes some microseconds a row.
constexpr std::int64_t longestSearch = 2'000'000;

// Only inside a catch block: passes on whatever does not come from the file's own contents. A full disk or a lack of
// memory must not pass for rows that cannot be read.
void requireDamage(const SQLite::Exception& exception) {
    const int code =
        exception.getExtendedErrorCode() >= 0 ? exception.getExtendedErrorCode() : exception.getErrorCode();
    switch (code & 0xff) {
        case SQLITE_ERROR:  // a table or a column that is missing
        case SQLITE_FORMAT:
        case SQLITE_TOOBIG:
            return;
        default:
            if (!saysDamaged(code) && code != SQLITE_IOERR_READ) throw;
    }
}

// Reads a table in three passes: upwards until it breaks, downwards until it breaks, and row by row in the gap between.
class RowSalvage {
  public:
    RowSalvage(StoreConnection& source, const RecordSink& sink) : _source(source), _sink(sink) {}

    // True if every row was read.
    bool run() {
        std::int64_t low = std::numeric_limits<std::int64_t>::min();
        std::int64_t high = std::numeric_limits<std::int64_t>::max();
        if (readRun("WHERE rowid > ? ORDER BY rowid ASC", low)) return true;
        readRun("WHERE rowid < ? AND rowid > " + std::to_string(low) + " ORDER BY rowid DESC", high);
        if (high == std::numeric_limits<std::int64_t>::max()) high = newestRowById();
        if (low == std::numeric_limits<std::int64_t>::min()) low = 0;
        for (std::int64_t row = low + 1; row < high && row - low <= longestSearch; ++row)
            readOne(row);
        return false;
    }

  private:
    static std::string selection(const std::string& condition) {
        return "SELECT " + recordColumns() + ", rowid FROM reminders NOT INDEXED " + condition;
    }

    bool readRun(const std::string& condition, std::int64_t& reached) {
        try {
            const StatementUse rows(_source.statement(selection(condition)));
            rows->bind(1, reached);
            while (rows->step()) {
                _sink(readRecord(*rows));
                reached = rows->integer(static_cast<int>(reminderAttributes().size()));
            }
            return true;
        } catch (const SQLite::Exception& exception) {
            requireDamage(exception);
            return false;
        }
    }

    void readOne(std::int64_t rowid) {
        try {
            const StatementUse row(_source.statement(selection("WHERE rowid = ?")));
            row->bind(1, rowid);
            if (row->step()) _sink(readRecord(*row));
        } catch (const SQLite::Exception& exception) {
            // This row is lost; the next one may lie on another page.
            requireDamage(exception);
        }
    }

    // The index of identifiers lies on pages of its own, so it may still tell how many rows there were.
    std::int64_t newestRowById() {
        std::int64_t newest = 0;
        try {
            const StatementUse rows(_source.statement("SELECT rowid FROM reminders INDEXED BY reminders_by_id"));
            while (rows->step())
                newest = std::max(newest, rows->integer(0));
        } catch (const SQLite::Exception& exception) {
            // Then up to where this index breaks.
            requireDamage(exception);
        }
        return newest == 0 ? 0 : newest + 1;
    }

    StoreConnection& _source;
    const RecordSink& _sink;
};

// False if the file gave less than all of its rows.
bool readRows(const std::filesystem::path& file, StoreConnection::Access access, const RecordSink& sink) {
    try {
        StoreConnection source(file, access);
        return RowSalvage(source, sink).run();
    } catch (const SQLite::Exception& exception) {
        requireDamage(exception);
        return false;
    }
}

std::unordered_set<std::string> removedSince(const std::filesystem::path& file) {
    std::unordered_set<std::string> removed;
    try {
        StoreConnection source(file, StoreConnection::Access::Read);
        const StatementUse entries(source.statement("SELECT reminderID FROM change_log WHERE kind = ?"));
        entries->bind(1, static_cast<std::int64_t>(ChangeKind::Removed));
        while (entries->step())
            removed.insert(entries->text(0));
    } catch (const SQLite::Exception& exception) {
        requireDamage(exception);
        // What the log no longer tells counts as not removed: a record too many can be deleted again.
    }
    return removed;
}

// Its tables must not be taken for records.
bool isOfAnotherProgram(const std::filesystem::path& file) {
    try {
        StoreConnection source(file, StoreConnection::Access::Read);
        return hasSoundHeader(file) && source.integer("PRAGMA application_id") != storeApplicationId;
    } catch (const SQLite::Exception& exception) {
        requireDamage(exception);
        return false;
    }
}

// The newest damaged file that was put aside, if it has no log beside it.
std::optional<std::filesystem::path> unpairedSetAside(const StoreFiles& files) {
    std::optional<std::filesystem::path> newest;
    for (const auto& entry : std::filesystem::directory_iterator(files.folder)) {
        const auto name = entry.path().filename().string();
        if (!name.starts_with("reminders.damaged-") || !name.ends_with(".sqlite")) continue;
        if (!newest || newest->stem() < entry.path().stem()) newest = entry.path();
    }
    return newest && !std::filesystem::exists(withSuffix(*newest, "-wal")) ? newest : std::nullopt;
}

class Rebuilding {
  public:
    Rebuilding(const StoreFiles& files, const std::filesystem::path& target)
        : _files(files), _target(target, StoreConnection::Access::Write) {
        migrate(_target);
    }

    Salvage fill() {
        SQLite::Transaction transaction(_target.database());
        Salvage salvage;
        // SQLite throws the log away that lies beside an empty file.
        std::error_code none;
        if (std::filesystem::file_size(_files.database, none) > 0 && !none)
            salvage.complete = readRows(_files.database, StoreConnection::Access::Read, [&](ReminderAttributes record) {
                if (keep(std::move(record))) ++salvage.records;
            });
        if (!salvage.complete) salvage.complete = readBehindNewFirstPage(salvage);
        if (!salvage.complete) addFromBackup(salvage);
        transaction.commit();
        return salvage;
    }

  private:
    // Where the first page is damaged SQLite finds none of the others.
    bool readBehindNewFirstPage(Salvage& salvage) {
        if (isOfAnotherProgram(_files.database)) return false;
        const auto copy = withSuffix(_files.folder / "reminders.copy.sqlite", unfinishedSuffix);
        removeDatabase(copy);
        copyWithNewFirstPage(_files.database, copy);
        const bool complete = readRows(copy, StoreConnection::Access::Read, [&](ReminderAttributes record) {
            if (keepIfMissing(std::move(record))) ++salvage.records;
        });
        _removed = removedSince(copy);
        removeDatabase(copy);
        return complete;
    }

    void addFromBackup(Salvage& salvage) {
        const auto backups = listBackups(_files);
        if (backups.empty()) return;
        readRows(backups.front(), StoreConnection::Access::Frozen, [&](ReminderAttributes record) {
            if (record.reminderID && _removed.contains(*record.reminderID)) return;
            if (keepIfMissing(std::move(record))) ++salvage.fromBackup;
        });
    }

    bool keepIfMissing(ReminderAttributes record) {
        return record.reminderID && !_known.contains(*record.reminderID) && keep(std::move(record));
    }

    bool keep(ReminderAttributes record) {
        // The text of a torn row can be anything.
        makeStorable(record);
        if (!record.reminderID || record.reminderID->empty()) return false;
        try {
            ChangeLogWriter unlogged(_writer);
            RecordChanges(_target, unlogged).add(record);
        } catch (const SQLite::Exception&) {
            // Of another kind than what the damaged file throws: failing to write must not pass for a row that cannot
            // be read.
            throw StoreFailure(currentStoreError(_target.handle()));
        }
        _known.insert(*record.reminderID);
        return true;
    }

    const StoreFiles& _files;
    StoreConnection _target;
    std::atomic<std::int64_t> _writer = 0;
    std::unordered_set<std::string> _known;
    std::unordered_set<std::string> _removed;
};

}  // namespace

Salvage rebuildStore(const StoreFiles& files, NSDate now) {
    const auto unfinished = withSuffix(files.salvaged, unfinishedSuffix);
    removeDatabase(unfinished);
    Salvage salvage = Rebuilding(files, unfinished).fill();
    syncFile(unfinished);
    renameDurably(unfinished, files.salvaged);

    salvage.setAside = files.setAside(now);
    renameDatabaseDurably(files.database, salvage.setAside);
    renameDurably(files.salvaged, files.database);
    return salvage;
}

bool finishRebuilding(const StoreFiles& files, NSDate now) {
    if (std::filesystem::exists(files.database) || !std::filesystem::exists(files.salvaged)) return false;
    // The new file must not be read through the old one's log.
    const auto aside = unpairedSetAside(files).value_or(files.setAside(now));
    for (const std::string_view suffix : {"-wal", "-shm"})
        if (std::filesystem::exists(withSuffix(files.database, suffix)))
            renameDurably(withSuffix(files.database, suffix), withSuffix(aside, suffix));
    renameDurably(files.salvaged, files.database);
    return true;
}

}  // namespace zun
