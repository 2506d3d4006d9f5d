#include "ZunDataModel/store/RecordQueries.h"

#include <algorithm>

#include "ZunDataModel/SearchFolding.h"
#include "ZunDataModel/store/RecordMapping.h"
#include "ZunDataModel/store/StoreFailure.h"

namespace zun {

namespace {

void requireAttribute(std::string_view name) {
    const auto& known = reminderAttributes();
    if (std::ranges::find(known, name, &AttributeDescription::name) == known.end())
        throw StoreFailure(
            {StoreErrorCode::Other, "A query names the attribute \"" + std::string(name) + "\", which no record has."});
}

void requireKnown(const std::optional<NSPredicate>& predicate) {
    if (!predicate) return;
    for (const std::string& attribute : predicate->attributes())
        requireAttribute(attribute);
}

void appendCondition(std::string& sql, const std::optional<NSPredicate>& predicate) {
    if (!predicate) return;
    sql += " WHERE ";
    sql += predicate->sql();
}

void bindArguments(PreparedStatement& statement, const std::optional<NSPredicate>& predicate) {
    if (!predicate) return;
    int index = 0;
    for (const NSPredicate::Argument& argument : predicate->boundArguments()) {
        ++index;
        if (const auto* date = std::get_if<NSDate>(&argument)) statement.bind(index, *date);
        if (const auto* text = std::get_if<std::string>(&argument)) statement.bind(index, std::string_view(*text));
        if (const auto* whole = std::get_if<std::int64_t>(&argument)) statement.bind(index, *whole);
        if (const auto* real = std::get_if<double>(&argument)) statement.bind(index, *real);
    }
}

// Reused from query to query, so that looking up a prepared statement allocates nothing.
std::string& queryText(std::string_view beginning) {
    thread_local std::string text;
    text = beginning;
    return text;
}

}  // namespace

PreparedStatement& recordQuery(StoreConnection& connection, std::string_view beginning,
                               const std::optional<NSPredicate>& predicate, std::string_view end) {
    requireKnown(predicate);
    std::string& sql = queryText(beginning);
    appendCondition(sql, predicate);
    sql += end;
    PreparedStatement& statement = connection.statement(sql);
    bindArguments(statement, predicate);
    return statement;
}

std::vector<ReminderPtr> fetchRecords(StoreConnection& connection, const std::optional<NSPredicate>& predicate,
                                      const std::vector<NSSortDescriptor>& sort) {
    static const std::string selection = "SELECT " + recordColumns() + " FROM reminders";
    thread_local std::string order;
    order.clear();
    for (const NSSortDescriptor& descriptor : sort) {
        requireAttribute(descriptor.key);
        order += order.empty() ? " ORDER BY " : ", ";
        order += descriptor.key;
        order += descriptor.ascending ? " ASC" : " DESC";
    }
    // Equal keys come in a fixed order, so that a refetch does not shuffle them.
    if (!sort.empty()) order += sort.back().ascending ? ", rowid ASC" : ", rowid DESC";

    std::vector<ReminderPtr> reminders;
    const StatementUse query(recordQuery(connection, selection, predicate, order));
    while (query->step())
        reminders.push_back(std::make_shared<ZNReminderObject>(readRecord(*query)));
    return reminders;
}

std::size_t countRecords(StoreConnection& connection, const std::optional<NSPredicate>& predicate) {
    const StatementUse query(recordQuery(connection, "SELECT count(*) FROM reminders", predicate));
    return query->step() ? static_cast<std::size_t>(query->integer(0)) : 0;
}

OptionalDate earliestDate(StoreConnection& connection, const NSPredicate& predicate, std::string_view attribute) {
    requireAttribute(attribute);
    const auto selection = "SELECT min(" + std::string(attribute) + ") FROM reminders";
    const StatementUse query(recordQuery(connection, selection, predicate));
    if (!query->step() || sqlite3_column_type(query->handle(), 0) == SQLITE_NULL) return std::nullopt;
    return NSDate(std::chrono::microseconds(query->integer(0)));
}

ReminderPtr fetchRecord(StoreConnection& connection, std::string_view reminderID) {
    static const std::string selection =
        "SELECT " + recordColumns() + " FROM reminders WHERE reminderID = ? ORDER BY rowid LIMIT 1";
    const StatementUse query(connection.statement(selection));
    query->bind(1, reminderID);
    return query->step() ? std::make_shared<ZNReminderObject>(readRecord(*query)) : nullptr;
}

void forEachIdentifier(StoreConnection& connection, const std::optional<std::string>& first,
                       const std::optional<std::string>& last, const std::function<void(const std::string&)>& visit) {
    // No identifier is before the empty text, and none that is text is behind an empty blob.
    const StatementUse query(connection.statement(
        "SELECT reminderID FROM reminders WHERE reminderID >= ?1 AND reminderID <= ?2 ORDER BY reminderID"));
    query->bind(1, first ? std::string_view(*first) : std::string_view(""));
    if (last) {
        query->bind(2, std::string_view(*last));
    } else {
        query->bind(2, Bytes());
    }
    while (query->step())
        visit(query->text(0));
}

void requireColumns(StoreConnection& connection) {
    static const std::string selection = "SELECT " + recordColumns() + ", title_folded FROM reminders";
    static_cast<void>(connection.statement(selection));
}

std::unordered_set<std::string> identifiersByTitle(StoreConnection& connection, std::string_view containing) {
    const std::string folded = foldedForSearch(containing);
    std::unordered_set<std::string> identifiers;
    const StatementUse query(connection.statement("SELECT reminderID FROM reminders WHERE instr(title_folded, ?) > 0"));
    query->bind(1, std::string_view(folded));
    while (query->step())
        identifiers.insert(query->text(0));
    return identifiers;
}

}  // namespace zun
