#include "core/ListSections.h"

#include <iterator>
#include <utility>

#include "dates/ZNDateHelper.h"

namespace zun {
namespace {

using Row = ZNArrayDataSource::Row;

// Rows before a section are counted here, so a section is a heading and whatever follows it.
void appendHeading(ListSections& sections, std::string title) {
    sections.rows.push_back(ListSections::headingBit | static_cast<std::uint32_t>(sections.headings.size()));
    sections.headings.push_back(std::move(title));
}

std::vector<Row> rowsOf(ListSections sections, const std::vector<ReminderPtr>& reminders) {
    std::vector<Row> rows;
    rows.reserve(sections.rows.size());
    for (const std::uint32_t row : sections.rows) {
        if (row & ListSections::headingBit)
            rows.emplace_back(std::move(sections.headings[row & ~ListSections::headingBit]));
        else
            rows.emplace_back(reminders[row & ~ListSections::movableBit]);
    }
    return rows;
}

}  // namespace

UpcomingSections::UpcomingSections(const DateLabels& labels, const LocalizedStrings& strings,
                                   const Environment& environment)
    : _labels(labels),
      _strings(strings),
      _now(environment.now()),
      _oneWeekFromToday(ZNDateHelper(environment).oneWeekFromToday()),
      _days(environment.timeZone()) {}

void UpcomingSections::add(std::uint32_t number, OptionalDate fireDate, bool isLocationBased) {
    if (isLocationBased) return _atPlaces.push_back(number);
    if (!fireDate || *fireDate <= _now) return _due.push_back(number | ListSections::movableBit);
    const std::int64_t day = _days.dayOf(*fireDate);
    const std::int64_t month = LocalDays::monthOfDay(day);
    const bool belongsToLast =
        !_groups.empty() && (*fireDate < _oneWeekFromToday ? _groups.back().day == day : _groups.back().month == month);
    if (!belongsToLast) _groups.push_back({_future.size(), day, month});
    _groups.back().lastAddedDate = *fireDate;
    _future.push_back(number);
}

std::string UpcomingSections::titleOfFuture(NSDate date) const {
    return date < _oneWeekFromToday ? _labels.weekdayStringWithRelativeIfAppropriate(date) : _labels.monthString(date);
}

ListSections UpcomingSections::take() {
    ListSections sections;
    sections.rows.reserve(_due.size() + _atPlaces.size() + _future.size() + _groups.size() + 2);
    if (!_due.empty()) {
        appendHeading(sections, _strings.string("List_Default_Section_Title"));
        sections.rows.insert(sections.rows.end(), _due.begin(), _due.end());
    }
    if (!_atPlaces.empty()) {
        appendHeading(sections, _strings.string("List_Location_Section_Title"));
        sections.rows.insert(sections.rows.end(), _atPlaces.begin(), _atPlaces.end());
    }
    const auto at = [this](std::size_t index) {
        return std::make_reverse_iterator(_future.begin() + static_cast<std::ptrdiff_t>(index));
    };
    std::size_t end = _future.size();
    for (auto group = _groups.rbegin(); group != _groups.rend(); ++group) {
        appendHeading(sections, titleOfFuture(group->lastAddedDate));
        sections.rows.insert(sections.rows.end(), at(end), at(group->begin));
        end = group->begin;
    }
    for (auto* part : {&_due, &_atPlaces, &_future})
        part->clear();
    _groups.clear();
    return sections;
}

CompletedSections::CompletedSections(const DateLabels& labels, const Environment& environment)
    : _labels(labels), _days(environment.timeZone()) {}

void CompletedSections::add(std::uint32_t number, NSDate completedDate) {
    const std::int64_t month = LocalDays::monthOfDay(_days.dayOf(completedDate));
    if (_sections.rows.empty() || month != _month) appendHeading(_sections, _labels.monthString(completedDate));
    _sections.rows.push_back(number);
    _month = month;
}

ListSections CompletedSections::take() {
    return std::exchange(_sections, {});
}

std::vector<Row> upcomingRows(const std::vector<ReminderPtr>& reminders, const DateLabels& labels,
                              const LocalizedStrings& strings, const Environment& environment) {
    UpcomingSections sections(labels, strings, environment);
    for (std::uint32_t number = 0; number < reminders.size(); ++number)
        sections.add(number, reminders[number]->fire_date(), reminders[number]->isLocationBased());
    return rowsOf(sections.take(), reminders);
}

std::vector<Row> completedRows(const std::vector<ReminderPtr>& reminders, const DateLabels& labels,
                               const Environment& environment) {
    CompletedSections sections(labels, environment);
    for (std::uint32_t number = 0; number < reminders.size(); ++number)
        if (const auto completed = reminders[number]->completed_date()) sections.add(number, *completed);
    return rowsOf(sections.take(), reminders);
}

}  // namespace zun
