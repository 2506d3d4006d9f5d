#pragma once

// The records behind rows, fetched anew by identifier, some hundred in one query. Any thread; blocks for the queries.

#include <span>
#include <string>
#include <vector>

#include "core/ZNReminderManager.h"

namespace zun {

// Those that are stored and not marked as deleted, in the order of the identifiers.
[[nodiscard]] std::vector<ReminderPtr> fetchRemindersByID(const ZNReminderManager& manager,
                                                          std::span<const std::string> reminderIDs);
// Null for one that has gone.
[[nodiscard]] ReminderPtr fetchReminderByID(const ZNReminderManager& manager, const std::string& reminderID);

}  // namespace zun
