#include "ZunDataModel/ListedReminders.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <utility>

namespace zun {
namespace {

constexpr std::size_t bytesOfChunk = 256 * 1024;

}  // namespace

ListedReminder ListedReminders::operator[](std::size_t index) const {
    const Entry& entry = _entries[index];
    ListedReminder reminder;
    reminder.reminderID = {entry.text, entry.lengthOfID};
    reminder.title = {entry.text + entry.lengthOfID, entry.lengthOfTitle};
    reminder.foldedTitle = foldedTitle(index);
    if (entry.hasFireDate) reminder.fire_date = entry.fire_date;
    if (entry.hasCompletedDate) reminder.completed_date = entry.completed_date;
    reminder.hasStartDate = entry.hasStartDate;
    reminder.isLocationBased = entry.isLocationBased;
    reminder.isSnoozed = entry.isSnoozed;
    return reminder;
}

std::string_view ListedReminders::reminderID(std::size_t index) const {
    return {_entries[index].text, _entries[index].lengthOfID};
}

std::string_view ListedReminders::foldedTitle(std::size_t index) const {
    const Entry& entry = _entries[index];
    const std::size_t before = entry.lengthOfID + std::size_t{entry.isFoldedAlready ? 0 : entry.lengthOfTitle};
    return {entry.text + before, entry.lengthOfFoldedTitle};
}

std::size_t ListedReminders::bucketOf(std::string_view reminderID) const {
    const std::size_t mask = _buckets.size() - 1;
    std::size_t bucket = std::hash<std::string_view>{}(reminderID)&mask;
    while (_buckets[bucket] != 0 && this->reminderID(_buckets[bucket] - 1) != reminderID)
        bucket = (bucket + 1) & mask;
    return bucket;
}

std::size_t ListedReminders::indexOfObjectWithID(std::string_view reminderID) const {
    if (_buckets.empty()) return npos;
    const std::uint32_t found = _buckets[bucketOf(reminderID)];
    return found == 0 ? npos : found - 1;
}

void ListedReminders::indexIdentifiers() {
    if (_entries.empty()) return;
    _buckets.assign(std::bit_ceil(_entries.size() * 3 / 2 + 1), 0);
    for (std::size_t index = 0; index < _entries.size(); ++index) {
        std::uint32_t& bucket = _buckets[bucketOf(reminderID(index))];
        if (bucket == 0) {
            bucket = static_cast<std::uint32_t>(index) + 1;
        } else if (_firstOfSameID.empty()) {
            _firstOfSameID.resize(_entries.size());
            for (std::size_t before = 0; before < index; ++before)
                _firstOfSameID[before] = static_cast<std::uint32_t>(before);
        }
        if (hasDoubles()) _firstOfSameID[index] = bucket - 1;
    }
}

void ListedReminders::Builder::add(const ListedReminder& reminder) {
    const bool isFoldedAlready = reminder.title == reminder.foldedTitle;
    char* const text = roomFor(reminder.reminderID.size() + reminder.title.size() +
                               (isFoldedAlready ? 0 : reminder.foldedTitle.size()));
    char* end = std::ranges::copy(reminder.reminderID, text).out;
    end = std::ranges::copy(reminder.title, end).out;
    if (!isFoldedAlready) std::ranges::copy(reminder.foldedTitle, end);
    _building._entries.push_back({.text = text,
                                  .fire_date = reminder.fire_date.value_or(NSDate{}),
                                  .completed_date = reminder.completed_date.value_or(NSDate{}),
                                  .lengthOfID = static_cast<std::uint32_t>(reminder.reminderID.size()),
                                  .lengthOfTitle = static_cast<std::uint32_t>(reminder.title.size()),
                                  .lengthOfFoldedTitle = static_cast<std::uint32_t>(reminder.foldedTitle.size()),
                                  .hasFireDate = reminder.fire_date.has_value(),
                                  .hasCompletedDate = reminder.completed_date.has_value(),
                                  .hasStartDate = reminder.hasStartDate,
                                  .isLocationBased = reminder.isLocationBased,
                                  .isSnoozed = reminder.isSnoozed,
                                  .isFoldedAlready = isFoldedAlready});
}

char* ListedReminders::Builder::roomFor(std::size_t length) {
    if (length > _left) {
        // A text longer than a chunk has one of its own.
        _left = std::max(length, bytesOfChunk);
        _building._texts.push_back(std::make_unique_for_overwrite<char[]>(_left));
        _free = _building._texts.back().get();
    }
    _left -= length;
    return std::exchange(_free, _free + length);
}

ListedReminders ListedReminders::Builder::build(std::span<const std::uint32_t> order) {
    ListedReminders result;
    result._texts = std::move(_building._texts);
    result._entries.reserve(order.size());
    for (const std::uint32_t position : order)
        result._entries.push_back(_building._entries[position]);
    result.indexIdentifiers();
    *this = Builder();
    return result;
}

}  // namespace zun
