#include "shell/HourRows.h"

#include "dates/ZNDateFormatter.h"

namespace zun {
namespace {

constexpr int halfOfDay = 12;

}  // namespace

bool is24HourModeEnabled(const Environment& environment, const LocalizedStrings& strings) {
    const ZNDateFormatter formatter(environment, strings);
    const auto time = formatter.dateAsTimeForDate(environment.now());
    const auto contains = [&](const std::string& symbol) {
        return !symbol.empty() && time.find(symbol) != std::string::npos;
    };
    return !contains(formatter.AMSymbol()) && !contains(formatter.PMSymbol());
}

std::vector<std::string> hourRows(const Environment& environment, const LocalizedStrings& strings) {
    const bool has24Hours = is24HourModeEnabled(environment, strings);
    const ZNDateFormatter formatter(environment, strings);
    const auto format = strings.string("Hour_Setting_Format");
    const std::string symbols[] = {formatter.AMSymbol(), formatter.PMSymbol()};
    std::vector<std::string> rows;
    for (int row = 0; row < hourRowCount; ++row) {
        rows.push_back(has24Hours
                           ? std::to_string(row + 1)
                           : stringWithFormat(format, {std::to_string(row % halfOfDay + 1), symbols[row / halfOfDay]}));
    }
    return rows;
}

std::optional<int> rowForHour(std::uint64_t hour) {
    if (hour < 1 || hour > hourRowCount) return std::nullopt;
    return static_cast<int>(hour) - 1;
}

std::optional<std::uint64_t> hourForRow(int row) {
    if (row < 0 || row >= hourRowCount) return std::nullopt;
    return static_cast<std::uint64_t>(row) + 1;
}

}  // namespace zun
