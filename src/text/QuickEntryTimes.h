#pragma once

// The part of a date phrase that names a time: "at 9:30 pm", "um halb acht", "quarter past eight", "abends", "in 20
// minutes". Free functions over the cursor; empty, with nothing taken, if no time stands there.

#include <chrono>
#include <optional>

#include "text/QuickEntryCursor.h"
#include "text/QuickEntryPhrase.h"

namespace zun {

[[nodiscard]] std::optional<PhrasePart<ClockMeaning>> readClock(QuickEntryCursor& cursor);

enum class FollowsDay { No, Yes };
// "in the evening", "abends"; behind a day also the bare "evening".
[[nodiscard]] std::optional<PhrasePart<PartOfDay>> readPartOfDay(QuickEntryCursor& cursor, FollowsDay followsDay);
// Elapsed time, at most 999 hours.
[[nodiscard]] std::optional<PhrasePart<std::chrono::minutes>> readElapsed(QuickEntryCursor& cursor);

}  // namespace zun
