#include "sync/RemoteChange.h"

#include <utility>

#include "sync/ReminderRecord.h"

namespace zun {

namespace {

bool isLater(const OptionalDate& local, const OptionalDate& remote) {
    return local && (!remote || *local > *remote);
}

MergeDecision keepLocal(const RemoteChange& change, ReminderAttributes& local) {
    // Nothing is sent to a shared zone from here, so nothing would ever clear the mark.
    const bool isUnmarked = change.home != RemoteChange::Home::SharedZone && !local.hasLocalChanges;
    if (isUnmarked) local.hasLocalChanges = true;
    return {isUnmarked ? RecordVerdict::Mark : RecordVerdict::Leave, MergeWinner::Local};
}

}  // namespace

RemoteChange RemoteChange::changed(const CKRecord& record, Kind kind,
                                   const std::optional<CKRecordZoneID>& privateZone) {
    RemoteChange change{kind, record.recordID.recordName, reminderWithRecord(record), Home::SharedZone, {}};
    if (record.recordID.zoneID == privateZone) {
        change.home = Home::PrivateZone;
    } else if (record.recordID.zoneID == CKRecordZoneID()) {
        change.home = Home::DefaultZone;
        change.unmigratedRecord = record;
    }
    return change;
}

RemoteChange RemoteChange::deleted(std::string reminderID) {
    return {Kind::Deleted, std::move(reminderID), {}, Home::PrivateZone, {}};
}

MergeDecision mergeReminder(const RemoteChange& change, std::optional<ReminderAttributes>& record) {
    if (change.kind == RemoteChange::Kind::Deleted)
        return {record ? RecordVerdict::Remove : RecordVerdict::Leave, MergeWinner::Remote};
    if (!record) {
        if (change.kind == RemoteChange::Kind::Merged) return {};
        record = change.remote;
        record->didPersistToiCloud = true;
        return {RecordVerdict::Write, MergeWinner::Remote};
    }
    if (!differsFromRemoteRecord(*record, change.remote)) {
        if (!std::exchange(record->hasLocalChanges, false)) return {};
        return {RecordVerdict::Mark, MergeWinner::None};
    }
    if (isLater(record->modified_date, change.remote.modified_date)) return keepLocal(change, *record);
    auto winner = change.remote;
    winner.sharedZoneID = std::move(record->sharedZoneID);
    record = std::move(winner);
    return {RecordVerdict::Write, MergeWinner::Remote};
}

}  // namespace zun
