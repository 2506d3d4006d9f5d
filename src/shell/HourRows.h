#pragma once

// The rows of a selector for an hour of the day: 24 of them, and row r stands for hour r + 1. The twelfth row therefore
// reads as 12 AM in a display of twice twelve hours, the last as 12 PM, and the last hour is the midnight at the end of
// the day. Free of side effects; any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

inline constexpr int hourRowCount = 24;

// Whether the region writes the time of the day without halves.
[[nodiscard]] bool is24HourModeEnabled(const Environment& environment, const LocalizedStrings& strings);
[[nodiscard]] std::vector<std::string> hourRows(const Environment& environment, const LocalizedStrings& strings);

// Empty for what no row stands for.
[[nodiscard]] std::optional<int> rowForHour(std::uint64_t hour);
[[nodiscard]] std::optional<std::uint64_t> hourForRow(int row);

}  // namespace zun
