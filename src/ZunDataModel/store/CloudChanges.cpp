#include "ZunDataModel/store/CloudChanges.h"

#include <fmt/format.h>

#include "ZunDataModel/store/RecordMapping.h"

namespace zun {

namespace {

const std::string& keepSQL() {
    static const std::string sql = fmt::format(
        "INSERT INTO kept_versions (kept_date, reason, pushID, {0}) "
        "SELECT ?, ?, ?, {0} FROM reminders WHERE reminderID = ? ORDER BY rowid LIMIT 1",
        recordColumns());
    return sql;
}

// Marks the versions of deletions whose push is under way.
constexpr std::string_view arrivedSQL =
    "UPDATE kept_versions SET shouldDeleteRemote = 1 WHERE pushID IS NOT NULL AND reminderID = ?";

// The marks say what this device knows of the service; they are no part of a version.
ReminderAttributes withoutMarks(ReminderAttributes record) {
    const ReminderAttributes unmarked;
    record.didPersistToiCloud = unmarked.didPersistToiCloud;
    record.hasLocalChanges = unmarked.hasLocalChanges;
    record.shouldDeleteRemote = unmarked.shouldDeleteRemote;
    record.sharedZoneID = unmarked.sharedZoneID;
    return record;
}

void runWith(StoreConnection& connection, std::string_view sql, const std::string& text) {
    const StatementUse statement(connection.statement(sql));
    statement->bind(1, std::string_view(text));
    statement->step();
}

}  // namespace

void createCloudTables(StoreConnection& connection) {
    // The columns of a kept version are those of a record, as they were when it was kept.
    connection.execute(fmt::format(R"sql(
        CREATE TABLE kept_versions (
            number INTEGER PRIMARY KEY AUTOINCREMENT, kept_date INTEGER NOT NULL, reason INTEGER NOT NULL, pushID TEXT,
            {});
        CREATE INDEX kept_by_date ON kept_versions (kept_date);
        CREATE INDEX kept_unsent ON kept_versions (pushID) WHERE pushID IS NOT NULL;
        CREATE TABLE pending_pushes (pushID TEXT NOT NULL, reminderID TEXT NOT NULL) STRICT;
        CREATE INDEX pending_by_push ON pending_pushes (pushID);
    )sql",
                                   recordColumns())
                           .c_str());
}

void CloudChanges::keep(const std::string& reminderID, KeptReason reason, const std::optional<std::string>& pushID,
                        NSDate now) {
    const StatementUse statement(_connection.statement(keepSQL()));
    statement->bind(1, now);
    statement->bind(2, static_cast<std::int64_t>(reason));
    pushID ? statement->bind(3, std::string_view(*pushID)) : statement->bindNull(3);
    statement->bind(4, std::string_view(reminderID));
    statement->step();
}

std::optional<ReminderAttributes> CloudChanges::stored(const std::string& reminderID) {
    static const std::string sql =
        fmt::format("SELECT {} FROM reminders WHERE reminderID = ? ORDER BY rowid LIMIT 1", recordColumns());
    const StatementUse query(_connection.statement(sql));
    query->bind(1, std::string_view(reminderID));
    if (!query->step()) return std::nullopt;
    return readRecord(*query);
}

void CloudChanges::note(const std::string& reminderID, const ReminderAttributes* after, const WriteNotes& notes,
                        NSDate now) {
    if (notes.keeps) {
        const auto before = stored(reminderID);
        if (before && (!after || withoutMarks(*before) != withoutMarks(*after)))
            keep(reminderID, *notes.keeps, std::nullopt, now);
    }
    if (!notes.pushID) return;
    if (!after) return keep(reminderID, KeptReason::Unsent, notes.pushID, now);
    const StatementUse statement(
        _connection.statement("INSERT INTO pending_pushes (pushID, reminderID) VALUES (?, ?)"));
    statement->bind(1, std::string_view(*notes.pushID));
    statement->bind(2, std::string_view(reminderID));
    statement->step();
}

void CloudChanges::endPushes(const std::vector<std::string>& pushIDs) {
    for (const std::string& pushID : pushIDs) {
        runWith(_connection, "DELETE FROM pending_pushes WHERE pushID = ?", pushID);
        runWith(_connection, "DELETE FROM kept_versions WHERE pushID = ?", pushID);
    }
}

bool CloudChanges::mark(const std::string& reminderID, CloudMark mark) {
    auto record = stored(reminderID);
    if (!record) return false;
    bool& value = mark == CloudMark::DidPersist ? record->didPersistToiCloud : record->hasLocalChanges;
    const bool wanted = mark != CloudMark::HasNoLocalChanges;
    if (value == wanted) return false;
    value = wanted;
    return _records.update(*record);
}

DecidedRecord CloudChanges::decide(const std::string& reminderID, std::size_t index, const RecordDecision& decision,
                                   NSDate now) {
    auto record = stored(reminderID);
    const bool wasStored = record.has_value();
    const bool wasTombstone = wasStored && record->shouldDeleteRemote.value_or(false);
    DecidedRecord decided{decision(index, record), {}};
    if (decided.verdict == RecordVerdict::Leave || (decided.verdict == RecordVerdict::Remove && !wasStored)) return {};
    if (record) {
        decided.record = *std::move(record);
        decided.record.reminderID = reminderID;
        makeStorable(decided.record);
    }
    switch (decided.verdict) {
        case RecordVerdict::Leave:
            break;
        case RecordVerdict::Mark:
            _records.update(decided.record);
            break;
        case RecordVerdict::Write:
            note(reminderID, &decided.record, {.pushID = {}, .keeps = KeptReason::Replaced}, now);
            _records.addOrUpdate(decided.record);
            // The row of a deletion under way is gone, so what the user deleted looks like something new.
            if (!wasStored) runWith(_connection, arrivedSQL, reminderID);
            break;
        case RecordVerdict::Remove:
            // The user has deleted it here already.
            if (!wasTombstone) note(reminderID, nullptr, {.pushID = {}, .keeps = KeptReason::Deleted}, now);
            _records.remove(reminderID);
            break;
    }
    return decided;
}

bool CloudChanges::hasArrivedWhileDeleted(const std::string& reminderID) {
    const StatementUse query(_connection.statement(
        "SELECT 1 FROM kept_versions WHERE pushID IS NOT NULL AND reminderID = ? AND shouldDeleteRemote"));
    query->bind(1, std::string_view(reminderID));
    return query->step();
}

bool CloudChanges::hasNoteOfDeletion(const std::string& pushID) {
    const StatementUse query(_connection.statement("SELECT 1 FROM kept_versions WHERE pushID = ? LIMIT 1"));
    query->bind(1, std::string_view(pushID));
    return query->step();
}

bool CloudChanges::addTombstone(ReminderAttributes record) {
    if (!record.reminderID) return false;
    auto row = stored(*record.reminderID);
    record.shouldDeleteRemote = true;
    if (!row) {
        _records.add(record);
        return false;
    }
    // Who brought it back, or has changed it since, wants it.
    const bool isWanted = !hasArrivedWhileDeleted(*record.reminderID) || row->modified_date > record.modified_date;
    if (isWanted || row->shouldDeleteRemote.value_or(false)) return false;
    row->shouldDeleteRemote = true;
    return _records.update(*row);
}

std::size_t CloudChanges::takeUnfinishedPushesForFailed() {
    std::vector<std::string> changed;
    std::vector<ReminderAttributes> deleted;
    {
        const StatementUse query(_connection.statement("SELECT DISTINCT reminderID FROM pending_pushes"));
        while (query->step())
            changed.push_back(query->text(0));
    }
    {
        static const std::string sql =
            fmt::format("SELECT {} FROM kept_versions WHERE pushID IS NOT NULL ORDER BY number DESC", recordColumns());
        const StatementUse query(_connection.statement(sql));
        while (query->step())
            deleted.push_back(readRecord(*query));
    }
    for (const std::string& reminderID : changed)
        mark(reminderID, CloudMark::HasLocalChanges);
    for (ReminderAttributes& record : deleted)
        addTombstone(std::move(record));
    if (!changed.empty()) _connection.execute("DELETE FROM pending_pushes");
    if (!deleted.empty()) _connection.execute("DELETE FROM kept_versions WHERE pushID IS NOT NULL");
    return changed.size() + deleted.size();
}

void CloudChanges::forgetKeptBefore(NSDate date) {
    const StatementUse statement(
        _connection.statement("DELETE FROM kept_versions WHERE kept_date < ? AND pushID IS NULL"));
    statement->bind(1, date);
    statement->step();
}

bool hasUnfinishedPushes(StoreConnection& connection) {
    const StatementUse query(
        connection.statement("SELECT 1 FROM pending_pushes UNION ALL "
                             "SELECT 1 FROM kept_versions WHERE pushID IS NOT NULL LIMIT 1"));
    return query->step();
}

bool hasKeptVersionsBefore(StoreConnection& connection, NSDate date) {
    const StatementUse query(
        connection.statement("SELECT 1 FROM kept_versions WHERE kept_date < ? AND pushID IS NULL LIMIT 1"));
    query->bind(1, date);
    return query->step();
}

std::vector<KeptVersion> keptVersions(StoreConnection& connection) {
    static const std::string sql =
        fmt::format("SELECT {}, number, kept_date, reason FROM kept_versions WHERE pushID IS NULL ORDER BY number DESC",
                    recordColumns());
    const int beside = static_cast<int>(reminderAttributes().size());
    std::vector<KeptVersion> all;
    const StatementUse query(connection.statement(sql));
    while (query->step())
        all.push_back({query->integer(beside), NSDate(std::chrono::microseconds(query->integer(beside + 1))),
                       static_cast<KeptReason>(query->integer(beside + 2)), readRecord(*query)});
    return all;
}

}  // namespace zun
