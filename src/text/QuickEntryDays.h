#pragma once

// The part of a date phrase that names a day: "tomorrow", "on Friday", "3 March", "in 2 weeks", "am 24.12.". Free
// functions over the cursor; empty, with nothing taken, if no day stands there.

#include <optional>

#include "text/QuickEntryCursor.h"
#include "text/QuickEntryPhrase.h"

namespace zun {

struct NamedDay {
    DayMeaning day;
    std::optional<PartOfDay> part{};  // "tonight" names both
};

[[nodiscard]] std::optional<PhrasePart<NamedDay>> readDay(QuickEntryCursor& cursor);
// A date in figures or with the name of its month, without a preposition. Impossible dates are none.
[[nodiscard]] std::optional<PhrasePart<CalendarDay>> readCalendarDay(QuickEntryCursor& cursor);

}  // namespace zun
