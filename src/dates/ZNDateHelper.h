#pragma once

// The moments that the interface offers and the few questions it asks of a date, all on the user's calendar as it
// stands now. Any thread; nothing blocks or fails.

#include <cstdint>

#include "platform/foundation/Environment.h"
#include "platform/foundation/NSDate.h"

namespace zun {

class ZNDateHelper {
  public:
    // The environment must outlive the helper.
    explicit ZNDateHelper(const Environment& environment) : _environment(environment) {}

    // The given date; the start of today without one.
    [[nodiscard]] NSDate startDateFromReminderOrSettingsWithReminderStartDate(OptionalDate startDate) const;
    // The hour on the wall is at or past this one.
    [[nodiscard]] bool isBeyondHour(int hour) const;
    // Tomorrow at the morning hour (0 to 23; anything above counts as 23).
    [[nodiscard]] NSDate tomorrowWithUserSetMorningHour(std::uint64_t morningHour) const;
    // The first day of the next weekend by the region's rule, at the morning hour; empty where there are no weekends.
    [[nodiscard]] OptionalDate thisWeekendWithUserSetMorningHour(std::uint64_t morningHour) const;
    // Now, rounded to the nearest 5 minutes in spite of the name; half of them rounds down.
    [[nodiscard]] NSDate currentDateRoundedDownTo5Minutes() const;
    [[nodiscard]] NSDate oneWeekFromToday() const;

    [[nodiscard]] bool isToday(NSDate date) const;
    [[nodiscard]] bool isTomorrow(NSDate date) const;

  private:
    const Environment& _environment;
};

}  // namespace zun
