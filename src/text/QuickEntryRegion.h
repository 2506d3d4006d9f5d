#pragma once

// How a region writes dates and times in figures. Cheap to ask for: kept per thread and locale.

#include <string>

namespace zun {

struct QuickEntryRegion {
    bool monthFirst;   // 3/14 is the 14th of March
    bool dottedDates;  // 24.12. is a usual date
    bool twelveHours;  // the clock has am and pm

    [[nodiscard]] static const QuickEntryRegion& forLocale(const std::string& localeIdentifier);
};

}  // namespace zun
