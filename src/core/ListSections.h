#pragma once

// The sections of the two lists: everything that is not done, and everything that is. Plain functions over what the
// manager fetched; any thread.

#include <vector>

#include "ZunDataModel/ZNArrayDataSource.h"
#include "dates/DateLabels.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

// Titles and reminders in the order shown: what is due, what waits at a place, then what is to come, by day for the
// coming week and by month from there on. Takes the reminders in the order of fetchAllIncompleteReminders().
[[nodiscard]] std::vector<ZNArrayDataSource::Row> upcomingRows(const std::vector<ReminderPtr>& reminders,
                                                               const DateLabels& labels,
                                                               const LocalizedStrings& strings,
                                                               const Environment& environment);

// By the month of completion, in the order given.
[[nodiscard]] std::vector<ZNArrayDataSource::Row> completedRows(const std::vector<ReminderPtr>& reminders,
                                                                const DateLabels& labels,
                                                                const Environment& environment);

}  // namespace zun
