#include "ZunDataModel/ListedReminders.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <numeric>
#include <utility>

namespace zun {
namespace {

constexpr std::size_t bytesOfChunk = 256 * 1024;

std::uint32_t hashOf(std::string_view reminderID) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>{}(reminderID));
}

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

std::size_t ListedReminders::bucketOf(std::string_view reminderID, std::uint32_t hash) const {
    const std::size_t mask = _buckets.size() - 1;
    std::size_t place = hash & mask;
    for (; _buckets[place].numberPlusOne != 0; place = (place + 1) & mask) {
        const Bucket& bucket = _buckets[place];
        if (bucket.hash == hash && this->reminderID(bucket.numberPlusOne - 1) == reminderID) break;
    }
    return place;
}

std::size_t ListedReminders::indexOfObjectWithID(std::string_view reminderID) const {
    if (_buckets.empty()) return npos;
    const Bucket& found = _buckets[bucketOf(reminderID, hashOf(reminderID))];
    return found.numberPlusOne == 0 ? npos : found.numberPlusOne - 1;
}

// In rising order of numbers.
void ListedReminders::indexIdentifier(std::uint32_t number, std::uint32_t hash) {
    Bucket& bucket = _buckets[bucketOf(reminderID(number), hash)];
    if (bucket.numberPlusOne == 0) {
        bucket = {hash, number + 1};
    } else if (_firstOfSameID.empty()) {
        _firstOfSameID.resize(_entries.size());
        std::iota(_firstOfSameID.begin(), _firstOfSameID.end(), 0);
    }
    if (hasDoubles()) _firstOfSameID[number] = bucket.numberPlusOne - 1;
}

void ListedReminders::Builder::reserve(std::size_t count) {
    _building._entries.reserve(count);
    _hashes.reserve(count);
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
    _hashes.push_back(hashOf(reminder.reminderID));
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
    if (!order.empty()) result._buckets.resize(std::bit_ceil(order.size() * 3 / 2 + 1));
    for (std::uint32_t number = 0; number < order.size(); ++number)
        result.indexIdentifier(number, _hashes[order[number]]);
    *this = Builder();
    return result;
}

}  // namespace zun
