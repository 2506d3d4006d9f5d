#pragma once

// What a reminder looks like as a record of the cloud, and back. The one place that knows the record's fields. Pure
// functions, any thread.
//
// Never in a record: `hasLocalChanges`, `shouldDeleteRemote` and `sharedZoneID`, which are this device's own.

#include <string_view>

#include "ZunDataModel/ReminderAttributes.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace zun {

inline constexpr std::string_view reminderRecordType = "Reminder";

// Writes all 29 fields; what the reminder does not have is removed from the record. Its identity and its change tag
// stay.
void combineCloudKitRecord(CKRecord& record, const ReminderAttributes& reminder);

// A reminder with the values of the record, not stored yet. Its identifier is the record's name. A field that is
// missing or of another type gives the attribute's first value.
[[nodiscard]] ReminderAttributes reminderWithRecord(const CKRecord& record);

// Whether anything differs that the user can change, dates to the microsecond. `modified_date` is the clock of the
// conflict and no content.
[[nodiscard]] bool differsFromRemoteRecord(const ReminderAttributes& local, const ReminderAttributes& remote);

}  // namespace zun
