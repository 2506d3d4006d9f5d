#include "core/ListRows.h"

#include <algorithm>
#include <utility>

namespace zun {

ListRows::ListRows(std::shared_ptr<const ListedReminders> reminders, ListSections sections)
    : _reminders(std::move(reminders)), _headings(std::move(sections.headings)), _rows(std::move(sections.rows)) {
    if (!_reminders->hasDoubles()) return;
    std::vector<bool> seen(_reminders->size());
    std::erase_if(_rows, [&](std::uint32_t row) {
        if (row & ListSections::headingBit) return false;
        const std::size_t first = _reminders->firstOfSameID(row & ~ListSections::movableBit);
        const bool isSeen = seen[first];
        seen[first] = true;
        return isSeen;
    });
}

std::size_t ListRows::indexOfObjectWithID(std::string_view reminderID) const {
    const std::size_t number = _reminders ? _reminders->indexOfObjectWithID(reminderID) : npos;
    if (number == npos) return npos;
    for (std::size_t index = 0; index < _rows.size(); ++index)
        if (!isHeader(index) && _reminders->firstOfSameID(numberAt(index)) == number) return index;
    return npos;
}

std::vector<bool> ListRows::rowsMarkedIn(const ListRows& others, const std::vector<std::size_t>& marked) const {
    std::vector<bool> found(_rows.size());
    if (!_reminders || !others._reminders) return found;
    const ListedReminders& theirs = *others._reminders;
    std::vector<bool> isMarked(theirs.size());
    for (const std::size_t row : marked)
        isMarked[theirs.firstOfSameID(others.numberAt(row))] = true;

    const bool areTheSame = _reminders == others._reminders;
    std::size_t last = 0;
    // Neighbours here are neighbours there, mostly, in one direction or the other.
    const auto numberThere = [&](std::string_view reminderID) {
        for (const std::size_t near : {last + 1, last - 1})
            if (near < theirs.size() && theirs.reminderID(near) == reminderID) return near;
        return theirs.indexOfObjectWithID(reminderID);
    };
    for (std::size_t row = 0; row < _rows.size(); ++row) {
        if (isHeader(row)) continue;
        const std::size_t number = areTheSame ? numberAt(row) : numberThere(reminderID(row));
        if (number == npos) continue;
        last = number;
        found[row] = isMarked[theirs.firstOfSameID(number)];
    }
    return found;
}

void ListRows::remove(std::size_t index) {
    _rows.erase(_rows.begin() + static_cast<std::ptrdiff_t>(index));
}

void ListRows::removeAll() {
    _rows.clear();
    _headings.clear();
}

void ListRows::removeRows(const std::vector<std::size_t>& indexes) {
    std::vector<std::uint32_t> left;
    left.reserve(_rows.size());
    auto next = indexes.begin();
    const auto dropEmptyHeading = [&] {
        if (!left.empty() && (left.back() & ListSections::headingBit) != 0) left.pop_back();
    };
    for (std::size_t index = 0; index < _rows.size(); ++index) {
        const bool goes = next != indexes.end() && *next == index;
        if (goes) {
            ++next;
            continue;
        }
        if (isHeader(index)) dropEmptyHeading();
        left.push_back(_rows[index]);
    }
    dropEmptyHeading();
    _rows = std::move(left);
}

void ListRows::move(std::size_t from, std::size_t to) {
    const std::uint32_t row = _rows[from];
    remove(from);
    _rows.insert(_rows.begin() + static_cast<std::ptrdiff_t>(to), row);
}

std::size_t ListRows::lastValidIndex() const {
    for (std::size_t index = _rows.size(); index-- > 0;)
        if (canDrag(index)) return index;
    return 0;
}

std::vector<std::string> ListRows::reminderIDs(std::size_t first, std::size_t last) const {
    std::vector<std::string> identifiers;
    for (std::size_t index = first; index < _rows.size() && index <= last; ++index)
        if (!isHeader(index)) identifiers.emplace_back(reminderID(index));
    return identifiers;
}

}  // namespace zun
