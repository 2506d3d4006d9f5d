#pragma once

// Instants. Every date of the system is a whole number of microseconds since 1970-01-01T00:00:00Z, leap seconds
// ignored; an absent date is an empty optional.

#include <chrono>
#include <optional>

namespace zun {

using NSDate = std::chrono::sys_time<std::chrono::microseconds>;
using OptionalDate = std::optional<NSDate>;

// The instant at which the platform's reference date lies: 2001-01-01T00:00:00Z.
inline constexpr NSDate referenceDate{std::chrono::sys_days{std::chrono::year{2001} / 1 / 1}};

}  // namespace zun
