#include "ZunDataModel/store/ListedQueries.h"

#include <SQLiteCpp/Transaction.h>

#include <string>
#include <utility>

#include "ZunDataModel/ZNArrayDataSource.h"
#include "ZunDataModel/store/RecordQueries.h"

namespace zun {
namespace {

constexpr std::string_view columns =
    "reminderID, title, title_folded, fire_date, due_date, start_date, completed_date, created_date, rank, "
    "locationLatitude, locationLongitude, earlyReminderType, earlyReminderInterval";

std::string_view textAt(sqlite3_stmt* row, int column) {
    const auto* const data = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return data ? std::string_view(data, static_cast<std::size_t>(sqlite3_column_bytes(row, column)))
                : std::string_view();
}

OptionalDate dateAt(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return std::nullopt;
    return NSDate(std::chrono::microseconds(sqlite3_column_int64(row, column)));
}

// Adds a row of `columns` and says where the deck would have it. `scratch` carries what the derived fields depend on.
void addRow(sqlite3_stmt* row, ListedReminders::Builder& builder, std::vector<ZNArrayDataSource::Place>& places,
            ReminderAttributes& scratch) {
    scratch.fire_date = dateAt(row, 3);
    scratch.due_date = dateAt(row, 4);
    scratch.start_date = dateAt(row, 5);
    scratch.locationLatitude = sqlite3_column_double(row, 9);
    scratch.locationLongitude = sqlite3_column_double(row, 10);
    scratch.earlyReminderType = static_cast<std::uint64_t>(sqlite3_column_int64(row, 11));
    scratch.earlyReminderInterval = static_cast<std::uint64_t>(sqlite3_column_int64(row, 12));
    const auto number = static_cast<std::uint32_t>(builder.size());
    const bool isAdded = builder.add({.reminderID = textAt(row, 0),
                                      .title = textAt(row, 1),
                                      .foldedTitle = textAt(row, 2),
                                      .fire_date = scratch.fire_date,
                                      .completed_date = dateAt(row, 6),
                                      .hasStartDate = scratch.start_date.has_value(),
                                      .isLocationBased = isLocationBased(scratch),
                                      .isSnoozed = isSnoozed(scratch)});
    if (isAdded)
        places.push_back({number, sqlite3_column_int64(row, 8), scratch.fire_date.has_value(), dateAt(row, 7)});
}

}  // namespace

ListedReminders listRecords(StoreConnection& connection, const std::vector<ListingPart>& parts,
                            const std::stop_token& stop) {
    SQLite::Transaction oneMoment(connection.database());
    ListedReminders::Builder builder;
    std::vector<std::uint32_t> order;
    std::vector<ZNArrayDataSource::Place> places;
    ReminderAttributes scratch;
    for (const ListingPart& part : parts) {
        places.clear();
        const StatementUse query(recordQuery(connection, columns, part.predicate, part.sort));
        while (!stop.stop_requested() && query->step())
            addRow(query->handle(), builder, places, scratch);
        if (part.order == ListingOrder::OfDeck) {
            const auto numbers = ZNArrayDataSource::sortedNumbers(places);
            order.insert(order.end(), numbers.begin(), numbers.end());
        } else {
            for (const auto& place : places)
                order.push_back(place.number);
        }
    }
    return builder.build(order);
}

}  // namespace zun
