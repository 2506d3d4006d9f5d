#include <fmt/format.h>

#include "ZunDataModel/store/StoreWriter.h"

namespace zun {

namespace {

const int rowParameter = static_cast<int>(reminderAttributes().size()) + 2;

const std::string& insertSQL() {
    static const std::string sql = [] {
        std::string places = "?";
        for (std::size_t i = 0; i < reminderAttributes().size(); ++i)
            places += ", ?";
        return fmt::format("INSERT INTO reminders ({}, title_folded) VALUES ({})", recordColumns(), places);
    }();
    return sql;
}

const std::string& updateSQL() {
    static const std::string sql = [] {
        std::string places = "?";
        for (std::size_t i = 0; i < reminderAttributes().size(); ++i)
            places += ", ?";
        return fmt::format("UPDATE reminders SET ({}, title_folded) = ({}) WHERE rowid = ?", recordColumns(), places);
    }();
    return sql;
}

}  // namespace

void RecordChanges::write(std::string_view sql, const ReminderAttributes& attributes, std::optional<std::int64_t> row) {
    const StatementUse statement(_connection.statement(sql));
    bindRecord(*statement, attributes, _scratch);
    if (row) statement->bind(rowParameter, *row);
    statement->step();
}

std::optional<std::int64_t> RecordChanges::rowOf(const std::string& reminderID) {
    const StatementUse query(
        _connection.statement("SELECT rowid FROM reminders WHERE reminderID = ? ORDER BY rowid LIMIT 1"));
    query->bind(1, std::string_view(reminderID));
    if (!query->step()) return std::nullopt;
    return query->integer(0);
}

void RecordChanges::add(const ReminderAttributes& attributes) {
    write(insertSQL(), attributes, std::nullopt);
    _log.add(ChangeKind::Added, *attributes.reminderID);
}

bool RecordChanges::update(const ReminderAttributes& attributes) {
    if (!attributes.reminderID) return false;
    const auto row = rowOf(*attributes.reminderID);
    if (!row) return false;
    write(updateSQL(), attributes, row);
    _log.add(ChangeKind::Updated, *attributes.reminderID);
    return true;
}

bool RecordChanges::addOrUpdate(const ReminderAttributes& attributes) {
    if (update(attributes)) return false;
    add(attributes);
    return true;
}

std::size_t RecordChanges::remove(const std::string& reminderID) {
    const StatementUse statement(_connection.statement("DELETE FROM reminders WHERE reminderID = ?"));
    statement->bind(1, std::string_view(reminderID));
    statement->step();
    const auto removed = static_cast<std::size_t>(_connection.database().getChanges());
    if (removed > 0) _log.add(ChangeKind::Removed, reminderID);
    return removed;
}

std::size_t RecordChanges::deDup(const std::string& reminderID) {
    const StatementUse statement(_connection.statement(
        "DELETE FROM reminders WHERE reminderID = ?1 AND rowid IS NOT "
        "(SELECT rowid FROM reminders WHERE reminderID = ?1 ORDER BY modified_date DESC, rowid LIMIT 1)"));
    statement->bind(1, std::string_view(reminderID));
    statement->step();
    const auto removed = static_cast<std::size_t>(_connection.database().getChanges());
    if (removed > 0) _log.add(ChangeKind::Deduped, reminderID);
    return removed;
}

void RecordChanges::clear() {
    _connection.execute("DELETE FROM reminders");
    _log.add(ChangeKind::Many, {});
}

std::size_t RecordChanges::identify(const Environment& environment) {
    std::vector<std::int64_t> rows;
    {
        const StatementUse query(_connection.statement("SELECT rowid FROM reminders WHERE reminderID = ''"));
        while (query->step())
            rows.push_back(query->integer(0));
    }
    for (const std::int64_t row : rows) {
        const std::string reminderID = environment.newIdentifier();
        const StatementUse name(_connection.statement("UPDATE reminders SET reminderID = ? WHERE rowid = ?"));
        name->bind(1, std::string_view(reminderID));
        name->bind(2, row);
        name->step();
        _log.add(ChangeKind::Added, reminderID);
    }
    return rows.size();
}

}  // namespace zun
