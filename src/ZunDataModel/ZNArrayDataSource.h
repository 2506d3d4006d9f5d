#pragma once

// An ordered list that may mix section titles and reminders, and the one order that the deck and the list share.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

class ZNArrayDataSource {
  public:
    using Row = std::variant<std::string, ReminderPtr>;  // a row is a header exactly when it holds a string

    // Keeps every string, and a reminder only the first time its `reminderID` is seen.
    void onSetReminders(std::vector<Row> reminders);
    [[nodiscard]] const std::vector<Row>& reminders() const { return _reminders; }
    [[nodiscard]] ReminderPtr reminderWithID(std::string_view reminderID) const;
    // The largest unsigned value if there is none.
    [[nodiscard]] std::size_t indexOfObjectWithID(std::string_view reminderID) const;
    void removeReminderById(std::string_view reminderID);

    // What the order depends on, of the reminder with that number.
    struct Place {
        std::uint32_t number;
        std::int64_t rank;
        bool hasFireDate;
        OptionalDate created_date;
    };
    // Into the order of sortedArray().
    static void sortPlaces(std::vector<Place>& places);
    // Unranked reminders that have fired, in the order given; then ranked ones by falling `rank`; then all others by
    // rising `created_date`. Stable.
    [[nodiscard]] static std::vector<ReminderPtr> sortedArray(std::vector<ReminderPtr> reminders);
    // Where the reminder would stand if it were added to the array, or -1.
    [[nodiscard]] static std::ptrdiff_t indexForReminder(const ReminderPtr& reminder,
                                                         const std::vector<ReminderPtr>& inArray);

  private:
    std::vector<Row> _reminders;
};

}  // namespace zun
