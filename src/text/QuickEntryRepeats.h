#pragma once

// The part of a date phrase that names a repeat: "every 2 weeks on Mon and Fri", "jeden zweiten Montag", "täglich",
// "on weekdays". Free function over the cursor; empty, with nothing taken, if no repeat stands there, or one that a
// reminder cannot have ("every 2 hours", "every third Friday of the month").

#include <optional>

#include "text/QuickEntryCursor.h"
#include "text/QuickEntryPhrase.h"

namespace zun {

struct NamedRepeat {
    RepeatMeaning repeat;
    std::optional<PartOfDay> part{};  // "every morning"
    std::optional<DayMeaning> day{};  // "every 24 December", "every 3rd of the month"
};

[[nodiscard]] std::optional<PhrasePart<NamedRepeat>> readRepeat(QuickEntryCursor& cursor);

}  // namespace zun
