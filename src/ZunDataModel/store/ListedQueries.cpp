#include "ZunDataModel/store/ListedQueries.h"

#include <SQLiteCpp/Transaction.h>

#include <algorithm>
#include <span>
#include <string>
#include <tuple>

#include "ZunDataModel/ZNArrayDataSource.h"
#include "ZunDataModel/store/RecordQueries.h"

namespace zun {
namespace {

constexpr std::string_view columns =
    "reminderID, title, title_folded, fire_date, due_date, start_date, completed_date, created_date, rank, "
    "locationLatitude, locationLongitude, earlyReminderType, earlyReminderInterval, rowid, ";
enum Column {
    reminderID,
    title,
    title_folded,
    fire_date,
    due_date,
    start_date,
    completed_date,
    created_date,
    rank,
    locationLatitude,
    locationLongitude,
    earlyReminderType,
    earlyReminderInterval,
    rowid,
    sortKey
};

// An index leads to its records in an order that jumps about in the file, which costs four times a walk through it. So
// from one record in so many on the walk is quicker.
constexpr std::int64_t walkFrom = 16;

// A reminder of a part and what its place depends on.
struct Found {
    ZNArrayDataSource::Place place;
    OptionalDate key;
    std::int64_t rowid;

    [[nodiscard]] auto order() const { return std::tie(key, rowid); }
};

std::string_view textAt(sqlite3_stmt* row, int column) {
    const auto* const data = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return data ? std::string_view(data, static_cast<std::size_t>(sqlite3_column_bytes(row, column)))
                : std::string_view();
}

OptionalDate dateAt(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return std::nullopt;
    return NSDate(std::chrono::microseconds(sqlite3_column_int64(row, column)));
}

Found add(sqlite3_stmt* row, ListedReminders::Builder& builder, ReminderAttributes& scratch) {
    scratch.fire_date = dateAt(row, fire_date);
    scratch.due_date = dateAt(row, due_date);
    scratch.start_date = dateAt(row, start_date);
    scratch.locationLatitude = sqlite3_column_double(row, locationLatitude);
    scratch.locationLongitude = sqlite3_column_double(row, locationLongitude);
    scratch.earlyReminderType = static_cast<std::uint64_t>(sqlite3_column_int64(row, earlyReminderType));
    scratch.earlyReminderInterval = static_cast<std::uint64_t>(sqlite3_column_int64(row, earlyReminderInterval));
    const auto number = static_cast<std::uint32_t>(builder.size());
    builder.add({.reminderID = textAt(row, reminderID),
                 .title = textAt(row, title),
                 .foldedTitle = textAt(row, title_folded),
                 .fire_date = scratch.fire_date,
                 .completed_date = dateAt(row, completed_date),
                 .hasStartDate = scratch.start_date.has_value(),
                 .isLocationBased = isLocationBased(scratch),
                 .isSnoozed = isSnoozed(scratch)});
    return {{number, sqlite3_column_int64(row, rank), scratch.fire_date.has_value(), dateAt(row, created_date)},
            dateAt(row, sortKey),
            sqlite3_column_int64(row, rowid)};
}

bool isLargePart(StoreConnection& connection, const NSPredicate& predicate) {
    const auto enough = connection.integer("SELECT count(*) FROM reminders") / walkFrom;
    const StatementUse query(
        recordQuery(connection, "SELECT count(*) FROM (SELECT 1 FROM reminders", predicate, " LIMIT ?)"));
    query->bind(static_cast<int>(predicate.boundArguments().size()) + 1, enough + 1);
    return query->step() && query->integer(0) > enough;
}

// In the order of the file or of an index, whichever is quicker.
std::vector<Found> find(StoreConnection& connection, const ListingPart& part, ListedReminders::Builder& builder,
                        const std::stop_token& stop) {
    std::string selection = "SELECT ";
    selection.append(columns).append(part.sort.key).append(" FROM reminders");
    if (isLargePart(connection, part.predicate)) selection += " NOT INDEXED";
    std::vector<Found> found;
    ReminderAttributes scratch;
    const StatementUse query(recordQuery(connection, selection, part.predicate));
    while (!stop.stop_requested() && !builder.isFull() && query->step())
        found.push_back(add(query->handle(), builder, scratch));
    return found;
}

void sort(std::vector<Found>& found, const NSSortDescriptor& by) {
    if (by.ascending)
        std::ranges::sort(found, std::ranges::less{}, &Found::order);
    else
        std::ranges::sort(found, std::ranges::greater{}, &Found::order);
}

}  // namespace

ListedReminders listRecords(StoreConnection& connection, std::span<const ListingPart> parts,
                            const std::stop_token& stop) {
    SQLite::Transaction oneMoment(connection.database());
    ListedReminders::Builder builder;
    std::vector<std::uint32_t> order;
    for (const ListingPart& part : parts) {
        auto found = find(connection, part, builder, stop);
        sort(found, part.sort);
        std::vector<ZNArrayDataSource::Place> places(found.size());
        std::ranges::transform(found, places.begin(), &Found::place);
        if (part.order == ListingOrder::OfDeck) ZNArrayDataSource::sortPlaces(places);
        order.reserve(order.size() + places.size());
        for (const auto& place : places)
            order.push_back(place.number);
    }
    return builder.build(order);
}

}  // namespace zun
