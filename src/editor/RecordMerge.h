#pragma once

// What is saved when a record was changed elsewhere while an editor had it open: touched fields come from the editor,
// all others from the fresh row. Free of side effects; any thread.

#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

// Field by field: edited where it differs from opened, else fresh. Fields that only make sense together move together:
//
//   the repeat    type, interval and weekdays
//   the place     its name, its coordinates and when it counts
//   the dates     start, due and fire date, if the editor set the start date; if it only changed how early the alert
//                 comes, the fresh due date decides when that is
//
// A record that does not repeat keeps no end date. A text that is absent and one that is empty are the same.
[[nodiscard]] ReminderAttributes mergeEdits(const ReminderAttributes& opened, const ReminderAttributes& edited,
                                            const ReminderAttributes& fresh);

// The record as one that was never stored: without identifier, rank, completion, share or marks of the store.
[[nodiscard]] ReminderAttributes asNewRecord(ReminderAttributes attributes);

}  // namespace zun
