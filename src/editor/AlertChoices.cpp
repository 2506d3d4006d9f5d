#include "editor/AlertChoices.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace zun {
namespace {

constexpr std::uint64_t smallestInterval = 1;
constexpr std::uint64_t largestInterval = 999;

struct Preset {
    std::string_view key;
    std::uint64_t type;
    std::uint64_t interval;
};
constexpr std::array<Preset, 6> presets = {{{"UpAhead_Default", 0, 0},
                                            {"UpAhead_10_Mins", 1, 10},
                                            {"UpAhead_30_Mins", 1, 30},
                                            {"UpAhead_1_Hour", 2, 1},
                                            {"UpAhead_1_Day", 3, 1},
                                            {"Action_Custom", 0, 0}}};

struct Unit {
    std::string_view singular, plural;
};
constexpr std::array<Unit, AlertChoices::unitRows> units = {{{"Minutes_Singular_Before", "Minutes_Plural_Before"},
                                                             {"Hours_Singular_Before", "Hours_Plural_Before"},
                                                             {"Days_Singular_Before", "Days_Plural_Before"},
                                                             {"Weeks_Singular_Before", "Weeks_Plural_Before"}}};

}  // namespace

std::uint64_t clippedInterval(std::uint64_t value) {
    return std::clamp(value, smallestInterval, largestInterval);
}

std::uint64_t intervalFromText(std::string_view text) {
    const auto start = text.find_first_not_of(" \t");
    if (start != std::string_view::npos) text.remove_prefix(start);
    if (text.starts_with('+')) text.remove_prefix(1);
    std::uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc::result_out_of_range ? largestInterval : value;
}

int rowForEarlyReminderType(std::uint64_t type, std::uint64_t interval) {
    if (type < 1 || type > units.size()) return 0;
    for (std::size_t row = 1; row < AlertChoices::customRow; ++row) {
        if (presets[row].type == type && presets[row].interval == interval) return static_cast<int>(row);
    }
    return AlertChoices::customRow;
}

AlertChoices::AlertChoices(ZNReminderObject& reminder)
    : _reminder(reminder),
      _row(rowForEarlyReminderType(reminder.earlyReminderType(), reminder.earlyReminderInterval())) {
    configureFields();
}

std::string_view AlertChoices::unitKey(int row) const {
    const Unit& unit = units.at(static_cast<std::size_t>(row));
    return _interval > 1 ? unit.plural : unit.singular;
}

std::string_view AlertChoices::rowKey(int row) {
    return presets.at(static_cast<std::size_t>(row)).key;
}

void AlertChoices::configureFields() {
    _interval = clippedInterval(_reminder.earlyReminderInterval());
    const std::uint64_t type = _reminder.earlyReminderType();
    _unitRow = type >= 1 && type <= units.size() ? static_cast<int>(type) - 1 : 0;
}

void AlertChoices::write() {
    const Preset& preset = presets.at(static_cast<std::size_t>(_row));
    _reminder.setEarlyReminderType(isCustom() ? static_cast<std::uint64_t>(_unitRow) + 1 : preset.type);
    _reminder.setEarlyReminderInterval(isCustom() ? _interval : preset.interval);
    configureFields();
}

void AlertChoices::selectRow(int row) {
    _row = std::clamp(row, 0, customRow);
    write();
}

void AlertChoices::setInterval(std::uint64_t interval) {
    _interval = clippedInterval(interval);
    write();
}

void AlertChoices::selectUnitRow(int row) {
    _unitRow = row >= 0 && row < unitRows ? row : 0;
    write();
}

}  // namespace zun
