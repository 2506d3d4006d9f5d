#pragma once

// What the list's table shows: headings and reminders in one flat list. Changes to it are the window's own, ahead of
// the store; the next fetch brings new rows. A copy shares the reminders. One thread at a time.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ZunDataModel/ListedReminders.h"
#include "core/ListSections.h"

namespace zun {

class ListRows {
  public:
    static constexpr std::size_t npos = ListedReminders::npos;

    ListRows() = default;
    // `sections` numbers the reminders. Of reminders with the same identifier only the first stays; headings all do.
    ListRows(std::shared_ptr<const ListedReminders> reminders, ListSections sections);

    [[nodiscard]] std::size_t size() const { return _rows.size(); }
    [[nodiscard]] bool empty() const { return _rows.empty(); }
    [[nodiscard]] bool isHeader(std::size_t index) const { return (_rows[index] & ListSections::headingBit) != 0; }
    [[nodiscard]] const std::string& heading(std::size_t index) const {
        return _headings[_rows[index] & ~ListSections::headingBit];
    }
    // Its texts live as long as these rows or a copy of them.
    [[nodiscard]] ListedReminder reminder(std::size_t index) const { return (*_reminders)[numberAt(index)]; }
    [[nodiscard]] std::string_view reminderID(std::size_t index) const {
        return _reminders->reminderID(numberAt(index));
    }
    // npos if there is none. Some 10 microseconds among 100,000.
    [[nodiscard]] std::size_t indexOfObjectWithID(std::string_view reminderID) const;

    // Of these rows, one bit each, those whose reminder stands in one of the `marked` rows of `others`. Some
    // milliseconds for 100,000 among 100,000 that are in much the same order.
    [[nodiscard]] std::vector<bool> rowsMarkedIn(const ListRows& others, const std::vector<std::size_t>& marked) const;

    void remove(std::size_t index);
    void removeAll();
    // Many at once, ascending, and the headings that nothing is left under.
    void removeRows(const std::vector<std::size_t>& indexes);
    // Takes the row out and puts it in at `to` of what is left, which a row moved down reaches one place lower than
    // where it was dropped. `to` is at most size() - 1.
    void move(std::size_t from, std::size_t to);

    // The rows under "due": neither at a place nor ahead of the moment of sectioning, and not completed.
    [[nodiscard]] bool canDrag(std::size_t index) const {
        return !isHeader(index) && (_rows[index] & ListSections::movableBit) != 0;
    }
    // The last row that may move; 0 if there is none. Some 10 microseconds among 100,000.
    [[nodiscard]] std::size_t lastValidIndex() const;
    // From `first` to `last`, both included as far as they exist, headings skipped.
    [[nodiscard]] std::vector<std::string> reminderIDs(std::size_t first, std::size_t last) const;

  private:
    [[nodiscard]] std::size_t numberAt(std::size_t index) const { return _rows[index] & ~ListSections::movableBit; }

    std::shared_ptr<const ListedReminders> _reminders;
    std::vector<std::string> _headings;
    std::vector<std::uint32_t> _rows;
};

}  // namespace zun
