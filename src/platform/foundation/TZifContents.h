#pragma once

// What a compiled time zone file (TZif, versions 1 to 4) says. Files come from the system but also from wherever a TZ
// variable points to, so nothing in them is trusted.

#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/foundation/PosixTimeZoneRule.h"

namespace zun {

struct TZifContents {
    struct Transition {
        std::chrono::sys_seconds at;
        std::chrono::seconds offset;
    };

    std::chrono::seconds firstOffset{0};    // before the first transition
    std::vector<Transition> transitions;    // strictly ascending; none after the year 9999
    std::optional<PosixTimeZoneRule> rule;  // after the last transition; without one its offset stays

    // Empty if the bytes are cut short or contradict themselves. A closing rule that cannot be read counts as none.
    [[nodiscard]] static std::optional<TZifContents> parse(std::string_view bytes);
};

}  // namespace zun
