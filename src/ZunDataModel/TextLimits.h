#pragma once

// How long the texts are that a person can give to a reminder. All of them at their longest, with everything else that
// a reminder has, still fit into one record of the service, so that none is refused there and holds up the others that
// go with it. Pure, any thread.

#include <cstddef>
#include <string_view>

#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

// Bytes of UTF-8.
inline constexpr std::size_t longestReminderText = 1'000'000;

// The name of the first text that is longer, or nothing. Records that came from elsewhere may have one; they are kept
// and shown, and no change of them is taken that leaves it so long.
[[nodiscard]] std::string_view tooLongText(const ReminderAttributes& attributes);

}  // namespace zun
