#include "editor/RepeatChoices.h"

#include <algorithm>
#include <array>

#include "editor/AlertChoices.h"

namespace zun {
namespace {

struct Unit {
    std::string_view singular, plural;
};
constexpr std::array<Unit, RepeatChoices::unitRows> units = {{{"Days_Singular", "Days_Plural"},
                                                              {"Weeks_Singular", "Weeks_Plural"},
                                                              {"Months_Singular", "Months_Plural"},
                                                              {"Years_Singular", "Years_Plural"}}};
constexpr std::uint64_t firstCustomInterval = 2;
constexpr int sunday = 1;

// A week that ends on Sunday.
int placeInWeek(int ordinal) {
    return ordinal == sunday ? 8 : ordinal;
}

}  // namespace

RepeatChoices::RepeatChoices(ZNReminderObject& reminder, const Environment& environment)
    : _reminder(reminder),
      _environment(environment),
      _engine(environment),
      _selectedDayOrdinals(reminder.customRepeatDayOrdinals().value_or(DayOrdinals())) {
    updateViewsForReminder();
}

void RepeatChoices::updateViewsForReminder() {
    const std::uint64_t type = _reminder.repeat_type();
    if (type != RepeatType::weekly) _selectedDayOrdinals.clear();
    if (type == RepeatType::customUnrefined && _reminder.customRepeatInterval() == 0)
        _reminder.setCustomRepeatInterval(firstCustomInterval);
    if (type == RepeatType::none || type == RepeatType::customUnrefined) _reminder.setRepeat_type(RepeatType::daily);
    if (_reminder.customRepeatInterval() == 0) _reminder.setCustomRepeatInterval(1);
}

std::uint64_t RepeatChoices::interval() const {
    return clippedInterval(_reminder.customRepeatInterval());
}

int RepeatChoices::unitRow() const {
    const std::uint64_t type = _reminder.repeat_type();
    return type >= 1 && type <= units.size() ? static_cast<int>(type) - 1 : 0;
}

std::string_view RepeatChoices::unitKey(int row) const {
    const Unit& unit = units.at(static_cast<std::size_t>(row));
    return interval() > 1 ? unit.plural : unit.singular;
}

bool RepeatChoices::isDaySelected(int ordinal) const {
    return std::find(_selectedDayOrdinals.begin(), _selectedDayOrdinals.end(), ordinal) != _selectedDayOrdinals.end();
}

OptionalDate RepeatChoices::nextAlertDate() const {
    const OptionalDate start = _reminder.start_date();
    if (!start) return std::nullopt;
    const auto every = static_cast<std::int64_t>(std::max<std::uint64_t>(_reminder.customRepeatInterval(), 1));
    if (_selectedDayOrdinals.empty())
        return _engine.advanceDate(*start, _reminder.repeat_type(), every, 0, AdvancementOption::Next);
    const auto dates =
        _engine.advanceToNextWeekWithDate(*start, every, _reminder.customRepeatDayOrdinals().value_or(DayOrdinals()),
                                          AdvancementOption::Next, 0, _environment.now());
    return dates.empty() ? std::nullopt : OptionalDate(dates.front());
}

void RepeatChoices::onRepeatOptionsChange(std::uint64_t interval, int unitRow) {
    const int row = unitRow >= 0 && unitRow < unitRows ? unitRow : 0;
    _reminder.setCustomRepeatInterval(clippedInterval(interval));
    _reminder.setRepeat_type(static_cast<std::uint64_t>(row) + 1);
    if (_reminder.repeat_type() != RepeatType::weekly) {
        _reminder.setCustomRepeatDayOrdinals(std::nullopt);
        _selectedDayOrdinals.clear();
    }
    updateViewsForReminder();
}

void RepeatChoices::onChangeDays(int ordinal, bool isOn) {
    if (_reminder.repeat_type() != RepeatType::weekly) {
        _selectedDayOrdinals.clear();
        _reminder.setRepeat_type(RepeatType::weekly);
    }
    std::erase(_selectedDayOrdinals, ordinal);
    if (isOn) _selectedDayOrdinals.push_back(ordinal);
    std::sort(_selectedDayOrdinals.begin(), _selectedDayOrdinals.end(),
              [](int left, int right) { return placeInWeek(left) < placeInWeek(right); });
    _reminder.setCustomRepeatDayOrdinals(_selectedDayOrdinals.empty() ? std::nullopt
                                                                      : std::optional(_selectedDayOrdinals));
    updateViewsForReminder();
}

}  // namespace zun
