#pragma once

// The sections of the two lists: everything that is not done, and everything that is. One engine, fed with what it
// needs of each reminder, for the window and for the commands. Any thread; one thread at a time for each builder.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ZunDataModel/ZNArrayDataSource.h"
#include "core/LocalDays.h"
#include "dates/DateLabels.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

// A flat list of headings and of the numbers that the reminders were added with.
struct ListSections {
    static constexpr std::uint32_t headingBit = std::uint32_t{1} << 31;  // the rest counts into `headings`
    static constexpr std::uint32_t movableBit = std::uint32_t{1} << 30;  // a reminder that may change its place

    std::vector<std::string> headings;
    std::vector<std::uint32_t> rows;
};

// Titles and reminders in the order shown: what is due, what waits at a place, then what is to come, by day for the
// coming week and by month from there on. Takes the reminders in the order of fetchAllIncompleteReminders(). Now is the
// moment of construction, days and months are those of the zone then.
class UpcomingSections {
  public:
    // All must outlive the builder.
    UpcomingSections(const DateLabels& labels, const LocalizedStrings& strings, const Environment& environment);

    void add(std::uint32_t number, OptionalDate fireDate, bool isLocationBased);
    // Leaves the builder empty.
    [[nodiscard]] ListSections take();

  private:
    struct Group {
        std::size_t begin;       // in _future
        std::int64_t day;        // of the reminder that was added first
        std::int64_t month;      //
        NSDate lastAddedDate{};  // the earliest, which stands first in the end
    };
    [[nodiscard]] std::string titleOfFuture(NSDate date) const;

    const DateLabels& _labels;
    const LocalizedStrings& _strings;
    const NSDate _now;
    const NSDate _oneWeekFromToday;
    LocalDays _days;
    std::vector<std::uint32_t> _due;
    std::vector<std::uint32_t> _atPlaces;
    // The future comes latest first; it is kept so and read backwards, so that no row is ever moved.
    std::vector<std::uint32_t> _future;
    std::vector<Group> _groups;
};

// By the month of completion, in the order given.
class CompletedSections {
  public:
    CompletedSections(const DateLabels& labels, const Environment& environment);

    void add(std::uint32_t number, NSDate completedDate);
    [[nodiscard]] ListSections take();

  private:
    const DateLabels& _labels;
    LocalDays _days;
    std::int64_t _month = 0;
    ListSections _sections;
};

// The same over whole records. Completed ones without a date are left out.
[[nodiscard]] std::vector<ZNArrayDataSource::Row> upcomingRows(const std::vector<ReminderPtr>& reminders,
                                                               const DateLabels& labels,
                                                               const LocalizedStrings& strings,
                                                               const Environment& environment);
[[nodiscard]] std::vector<ZNArrayDataSource::Row> completedRows(const std::vector<ReminderPtr>& reminders,
                                                                const DateLabels& labels,
                                                                const Environment& environment);

}  // namespace zun
