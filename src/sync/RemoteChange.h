#pragma once

// What the cloud says about one reminder, and what becomes of the local one: the side with the later `modified_date`
// wins whole, the remote one at equal dates. Values and pure functions; the decision runs inside the store's
// transaction.

#include <optional>
#include <string>

#include "ZunDataModel/CloudBookkeeping.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace zun {

struct RemoteChange {
    enum class Kind {
        Changed,  // merged, or added where nothing is stored
        Merged,   // only merged
        Deleted,
    };
    // Where the record lives decides what can be sent back.
    enum class Home { PrivateZone, DefaultZone, SharedZone };

    Kind kind = Kind::Deleted;
    std::string reminderID;
    ReminderAttributes remote;                 // of a change
    Home home = Home::PrivateZone;             // of a change
    std::optional<CKRecord> unmigratedRecord;  // of a change in the default zone

    // `privateZone` may not be known yet.
    static RemoteChange changed(const CKRecord& record, Kind kind, const std::optional<CKRecordZoneID>& privateZone);
    static RemoteChange deleted(std::string reminderID);
};

enum class MergeWinner { None, Remote, Local };
struct MergeDecision {
    RecordVerdict verdict = RecordVerdict::Leave;
    MergeWinner winner = MergeWinner::None;
};

// Leaves in `record` what is to be stored. A local winner is marked as changed until it was sent.
[[nodiscard]] MergeDecision mergeReminder(const RemoteChange& change, std::optional<ReminderAttributes>& record);

}  // namespace zun
