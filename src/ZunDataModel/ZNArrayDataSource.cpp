#include "ZunDataModel/ZNArrayDataSource.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <unordered_set>
#include <utility>

namespace zun {

namespace {

const ReminderPtr* reminderOf(const ZNArrayDataSource::Row& row) {
    return std::get_if<ReminderPtr>(&row);
}

bool hasID(const ZNArrayDataSource::Row& row, std::string_view reminderID) {
    const ReminderPtr* reminder = reminderOf(row);
    return reminder && *reminder && (*reminder)->reminderID() == reminderID;
}

}  // namespace

void ZNArrayDataSource::onSetReminders(std::vector<Row> reminders) {
    std::unordered_set<std::string> seen;
    std::erase_if(reminders, [&](const Row& row) {
        const ReminderPtr* reminder = reminderOf(row);
        if (!reminder) return false;
        if (!*reminder) return true;
        // A reminder that was never added has no identifier to be seen twice by.
        auto reminderID = (*reminder)->reminderID();
        return reminderID && !seen.insert(*std::move(reminderID)).second;
    });
    _reminders = std::move(reminders);
}

ReminderPtr ZNArrayDataSource::reminderWithID(std::string_view reminderID) const {
    const std::size_t index = indexOfObjectWithID(reminderID);
    return index < _reminders.size() ? std::get<ReminderPtr>(_reminders[index]) : nullptr;
}

std::size_t ZNArrayDataSource::indexOfObjectWithID(std::string_view reminderID) const {
    const auto found = std::ranges::find_if(_reminders, [&](const Row& row) { return hasID(row, reminderID); });
    if (found == _reminders.end()) return std::numeric_limits<std::size_t>::max();
    return static_cast<std::size_t>(found - _reminders.begin());
}

void ZNArrayDataSource::removeReminderById(std::string_view reminderID) {
    std::erase_if(_reminders, [&](const Row& row) { return hasID(row, reminderID); });
}

void ZNArrayDataSource::sortPlaces(std::vector<Place>& places) {
    const auto ranked = std::stable_partition(places.begin(), places.end(),
                                              [](const Place& place) { return place.rank == 0 && place.hasFireDate; });
    const auto rest = std::stable_partition(ranked, places.end(), [](const Place& place) { return place.rank > 0; });
    std::ranges::stable_sort(ranked, rest, std::ranges::greater{}, &Place::rank);
    // Sorting all by rank first decides between equal creation dates here.
    std::ranges::stable_sort(rest, places.end(), std::ranges::greater{}, &Place::rank);
    std::ranges::stable_sort(rest, places.end(), std::ranges::less{}, &Place::created_date);
}

std::vector<ReminderPtr> ZNArrayDataSource::sortedArray(std::vector<ReminderPtr> reminders) {
    // Read once for each reminder: a property is read under a lock.
    std::vector<Place> places;
    places.reserve(reminders.size());
    for (std::uint32_t number = 0; number < reminders.size(); ++number) {
        const ReminderPtr& reminder = reminders[number];
        if (reminder)
            places.push_back({number, reminder->rank(), reminder->fire_date().has_value(), reminder->created_date()});
    }
    sortPlaces(places);
    std::vector<ReminderPtr> sorted;
    sorted.reserve(places.size());
    for (const Place& place : places)
        sorted.push_back(std::move(reminders[place.number]));
    return sorted;
}

std::ptrdiff_t ZNArrayDataSource::indexForReminder(const ReminderPtr& reminder,
                                                   const std::vector<ReminderPtr>& inArray) {
    auto with = inArray;
    with.push_back(reminder);
    const auto sorted = sortedArray(std::move(with));
    const auto found = std::ranges::find(sorted, reminder);
    return found == sorted.end() ? -1 : found - sorted.begin();
}

}  // namespace zun
