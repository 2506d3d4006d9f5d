#include "ZunDataModel/store/ListedQueries.h"

#include <SQLiteCpp/Transaction.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

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
    std::int64_t key;  // of an absent date the least
    std::int64_t rowid;
    std::uint32_t number;
    bool hasKey;

    [[nodiscard]] bool operator<(const Found& other) const {
        if (key != other.key) return key < other.key;
        if (hasKey != other.hasKey) return other.hasKey;
        return rowid < other.rowid;
    }
};
using Places = std::vector<ZNArrayDataSource::Place>;

std::string_view textAt(sqlite3_stmt* row, int column) {
    const auto* const data = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return data ? std::string_view(data, static_cast<std::size_t>(sqlite3_column_bytes(row, column)))
                : std::string_view();
}

OptionalDate dateAt(sqlite3_stmt* row, int column) {
    if (sqlite3_column_type(row, column) == SQLITE_NULL) return std::nullopt;
    return NSDate(std::chrono::microseconds(sqlite3_column_int64(row, column)));
}

Found foundIn(sqlite3_stmt* row, std::uint32_t number) {
    const OptionalDate key = dateAt(row, sortKey);
    return {key.value_or(NSDate::min()).time_since_epoch().count(), sqlite3_column_int64(row, rowid), number,
            key.has_value()};
}

ZNArrayDataSource::Place placeIn(sqlite3_stmt* row, std::uint32_t number) {
    return {number, sqlite3_column_int64(row, rank), sqlite3_column_type(row, fire_date) != SQLITE_NULL,
            dateAt(row, created_date)};
}

// `scratch` carries what the derived fields depend on.
void add(sqlite3_stmt* row, ListedReminders::Builder& builder, ReminderAttributes& scratch) {
    scratch.fire_date = dateAt(row, fire_date);
    scratch.due_date = dateAt(row, due_date);
    scratch.start_date = dateAt(row, start_date);
    scratch.locationLatitude = sqlite3_column_double(row, locationLatitude);
    scratch.locationLongitude = sqlite3_column_double(row, locationLongitude);
    scratch.earlyReminderType = static_cast<std::uint64_t>(sqlite3_column_int64(row, earlyReminderType));
    scratch.earlyReminderInterval = static_cast<std::uint64_t>(sqlite3_column_int64(row, earlyReminderInterval));
    builder.add({.reminderID = textAt(row, reminderID),
                 .title = textAt(row, title),
                 .foldedTitle = textAt(row, title_folded),
                 .fire_date = scratch.fire_date,
                 .completed_date = dateAt(row, completed_date),
                 .hasStartDate = scratch.start_date.has_value(),
                 .isLocationBased = isLocationBased(scratch),
                 .isSnoozed = isSnoozed(scratch)});
}

bool isLargePart(StoreConnection& connection, const NSPredicate& predicate, std::int64_t ofAll) {
    const std::int64_t enough = ofAll / walkFrom;
    const StatementUse query(
        recordQuery(connection, "SELECT count(*) FROM (SELECT 1 FROM reminders", predicate, " LIMIT ?)"));
    query->bind(static_cast<int>(predicate.boundArguments().size()) + 1, enough + 1);
    return query->step() && query->integer(0) > enough;
}

std::string selectionOf(const ListingPart& part, bool isLarge) {
    std::string selection = "SELECT ";
    selection.append(columns).append(part.sort.key).append(" FROM reminders");
    if (isLarge) selection += " NOT INDEXED";
    return selection;
}

void appendOrder(std::vector<std::uint32_t>& order, std::vector<Found>& found, bool ascending) {
    std::sort(found.begin(), found.end());
    if (!ascending) std::reverse(found.begin(), found.end());
    order.reserve(order.size() + found.size());
    for (const Found& each : found)
        order.push_back(each.number);
}

// `places` holds those of the part's reminders in the order of their numbers.
void arrangeAsDeck(std::span<std::uint32_t> part, const Places& places) {
    if (places.empty()) return;
    const std::uint32_t first = places.front().number;
    Places sorted;
    sorted.reserve(part.size());
    for (const std::uint32_t number : part)
        sorted.push_back(places[number - first]);
    ZNArrayDataSource::sortPlaces(sorted);
    std::ranges::transform(sorted, part.begin(), &ZNArrayDataSource::Place::number);
}

}  // namespace

ListedReminders listRecords(StoreConnection& connection, std::span<const ListingPart> parts,
                            const std::stop_token& stop) {
    SQLite::Transaction oneMoment(connection.database());
    const std::int64_t all = connection.integer("SELECT count(*) FROM reminders");
    ListedReminders::Builder builder;
    ReminderAttributes scratch;
    std::vector<std::uint32_t> order;
    for (const ListingPart& part : parts) {
        std::vector<Found> found;
        Places places;
        const bool isLarge = isLargePart(connection, part.predicate, all);
        if (isLarge) builder.reserve(builder.size() + static_cast<std::size_t>(all));
        const auto selection = selectionOf(part, isLarge);
        const StatementUse query(recordQuery(connection, selection, part.predicate));
        while (!stop.stop_requested() && !builder.isFull() && query->step()) {
            const auto number = static_cast<std::uint32_t>(builder.size());
            found.push_back(foundIn(query->handle(), number));
            if (part.order == ListingOrder::OfDeck) places.push_back(placeIn(query->handle(), number));
            add(query->handle(), builder, scratch);
        }
        const std::size_t before = order.size();
        appendOrder(order, found, part.sort.ascending);
        if (part.order == ListingOrder::OfDeck) arrangeAsDeck(std::span(order).subspan(before), places);
    }
    return builder.build(order);
}

}  // namespace zun
