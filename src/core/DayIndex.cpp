#include "core/DayIndex.h"

#include <algorithm>
#include <utility>

#include "core/LocalDays.h"

namespace zun {

DayIndex::DayIndex(std::shared_ptr<const ListedReminders> reminders, std::shared_ptr<const NSTimeZone> zone)
    : _reminders(std::move(reminders)), _zone(std::move(zone)) {
    LocalDays days(_zone);
    std::vector<std::pair<std::int64_t, std::uint32_t>> dated;
    for (std::size_t i = _reminders->size(); i-- > 0;) {
        const auto reminder = (*_reminders)[i];
        if (reminder.hasStartDate && reminder.fire_date)
            dated.emplace_back(days.dayOf(*reminder.fire_date), static_cast<std::uint32_t>(i));
    }
    std::stable_sort(dated.begin(), dated.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    _numbers.reserve(dated.size());
    for (const auto& [day, number] : dated) {
        if (_runs.empty() || _runs.back().day != day)
            _runs.push_back({day, static_cast<std::uint32_t>(_numbers.size()), 0});
        ++_runs.back().count;
        _numbers.push_back(number);
    }
}

std::int64_t DayIndex::dayOf(NSDate date) const {
    return _zone ? LocalDays(_zone).dayOf(date) : 0;
}

std::span<const std::uint32_t> DayIndex::remindersOnDay(std::int64_t day) const {
    const auto run = std::lower_bound(_runs.begin(), _runs.end(), day,
                                      [](const Run& each, std::int64_t wanted) { return each.day < wanted; });
    if (run == _runs.end() || run->day != day) return {};
    return {_numbers.data() + run->first, run->count};
}

}  // namespace zun
