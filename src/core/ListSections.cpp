#include "core/ListSections.h"

#include <algorithm>
#include <list>

#include "dates/ZNDateHelper.h"
#include "platform/foundation/NSCalendar.h"

namespace zun {
namespace {

using Row = ZNArrayDataSource::Row;
using Group = std::vector<ReminderPtr>;

struct Moments {
    NSCalendar calendar;
    NSDate now;
    NSDate oneWeekFromToday;

    explicit Moments(const Environment& environment)
        : calendar(NSCalendar::current(environment)),
          now(environment.now()),
          oneWeekFromToday(ZNDateHelper(environment).oneWeekFromToday()) {}

    [[nodiscard]] bool isTheSameMonthAndYear(NSDate first, NSDate second) const {
        return calendar.isDate(first, second, NSCalendarUnit::Month);
    }
    [[nodiscard]] bool belongTogether(NSDate fireDate, NSDate other) const {
        return fireDate < oneWeekFromToday ? calendar.isDateInSameDay(fireDate, other)
                                           : isTheSameMonthAndYear(fireDate, other);
    }
};

std::string titleOfGroup(const ZNReminderObject& first, const Moments& moments, const DateLabels& labels,
                         const LocalizedStrings& strings) {
    const auto fireDate = first.fire_date();
    if (const auto completed = first.completed_date()) return labels.monthString(*completed);
    if (first.isLocationBased()) return strings.string("List_Location_Section_Title");
    if (!fireDate || *fireDate <= moments.now) return strings.string("List_Default_Section_Title");
    if (*fireDate < moments.oneWeekFromToday) return labels.weekdayStringWithRelativeIfAppropriate(*fireDate);
    return labels.monthString(*fireDate);
}

void appendGroup(std::vector<Row>& rows, std::string title, const Group& group) {
    rows.emplace_back(std::move(title));
    rows.insert(rows.end(), group.begin(), group.end());
}

}  // namespace

std::vector<Row> upcomingRows(const std::vector<ReminderPtr>& reminders, const DateLabels& labels,
                              const LocalizedStrings& strings, const Environment& environment) {
    const Moments moments(environment);
    Group due, atPlaces;
    // The future comes latest first; groups are kept turned round and read backwards, so that no row is ever moved.
    std::vector<Group> future;
    for (const auto& reminder : reminders) {
        const auto fireDate = reminder->fire_date();
        if (reminder->isLocationBased()) {
            atPlaces.push_back(reminder);
        } else if (!fireDate || *fireDate <= moments.now) {
            due.push_back(reminder);
        } else if (!future.empty() && moments.belongTogether(*fireDate, *future.back().front()->fire_date())) {
            future.back().push_back(reminder);
        } else {
            future.push_back({reminder});
        }
    }
    std::vector<Row> rows;
    rows.reserve(reminders.size() + future.size() + 2);
    const auto append = [&](const Group& group) {
        if (!group.empty()) appendGroup(rows, titleOfGroup(*group.front(), moments, labels, strings), group);
    };
    append(due);
    append(atPlaces);
    for (auto group = future.rbegin(); group != future.rend(); ++group) {
        std::reverse(group->begin(), group->end());
        append(*group);
    }
    return rows;
}

std::vector<Row> completedRows(const std::vector<ReminderPtr>& reminders, const DateLabels& labels,
                               const Environment& environment) {
    const Moments moments(environment);
    std::vector<Row> rows;
    OptionalDate last;
    for (const auto& reminder : reminders) {
        const auto completed = reminder->completed_date();
        if (!completed) continue;
        if (!last || !moments.isTheSameMonthAndYear(*completed, *last))
            rows.emplace_back(labels.monthString(*completed));
        rows.emplace_back(reminder);
        last = completed;
    }
    return rows;
}

}  // namespace zun
