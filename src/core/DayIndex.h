#pragma once

// Which dated reminders fall on which day of the user's zone: by the day of the fire date, those with a start date
// alone. Days are numbers since 1970-01-01. Built once over one picture of the store, some 100 nanoseconds a reminder;
// a look-up is a search among the days. Never changed afterwards, so any number of threads may read it.

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "ZunDataModel/ListedReminders.h"
#include "platform/foundation/NSTimeZone.h"

namespace zun {

class DayIndex {
  public:
    DayIndex() = default;
    DayIndex(std::shared_ptr<const ListedReminders> reminders, std::shared_ptr<const NSTimeZone> zone);

    // The day on which the moment falls in the index's zone.
    [[nodiscard]] std::int64_t dayOf(NSDate date) const;
    // The numbers of that day's reminders, the last one of the picture first.
    [[nodiscard]] std::span<const std::uint32_t> remindersOnDay(std::int64_t day) const;
    [[nodiscard]] std::string_view reminderID(std::uint32_t number) const { return _reminders->reminderID(number); }

  private:
    struct Run {
        std::int64_t day;
        std::uint32_t first, count;  // in _numbers
    };
    std::shared_ptr<const ListedReminders> _reminders;
    std::shared_ptr<const NSTimeZone> _zone;
    std::vector<Run> _runs;  // by rising day
    std::vector<std::uint32_t> _numbers;
};

}  // namespace zun
