#pragma once

// Reading records through one connection. Throws SQLite::Exception for what the file does, StoreFailure for a query
// that names attributes which no record has.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"
#include "ZunDataModel/store/StoreConnection.h"
#include "platform/foundation/NSPredicate.h"

namespace zun {

[[nodiscard]] std::vector<ReminderPtr> fetchRecords(StoreConnection& connection,
                                                    const std::optional<NSPredicate>& predicate,
                                                    const std::vector<NSSortDescriptor>& sort);
// The beginning of a query over records, such as "SELECT title FROM reminders", with the predicate's condition and the
// end behind it; prepared and bound. The predicate must stay until it has run.
[[nodiscard]] PreparedStatement& recordQuery(StoreConnection& connection, std::string_view beginning,
                                             const std::optional<NSPredicate>& predicate, std::string_view end = {});
[[nodiscard]] std::size_t countRecords(StoreConnection& connection, const std::optional<NSPredicate>& predicate);
[[nodiscard]] OptionalDate earliestDate(StoreConnection& connection, const NSPredicate& predicate,
                                        std::string_view attribute);
// Null if there is none.
[[nodiscard]] ReminderPtr fetchRecord(StoreConnection& connection, std::string_view reminderID);
// Of all records between the two, both included, in their order.
void forEachIdentifier(StoreConnection& connection, const std::optional<std::string>& first,
                       const std::optional<std::string>& last, const std::function<void(const std::string&)>& visit);
// Throws if the schema does not name all columns of a record. SQLite's check of a file does not read names.
void requireColumns(StoreConnection& connection);
[[nodiscard]] std::unordered_set<std::string> identifiersByTitle(StoreConnection& connection,
                                                                 std::string_view containing);

}  // namespace zun
