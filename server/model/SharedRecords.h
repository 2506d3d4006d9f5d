#pragma once

// What one account sees of another: for each share that it accepted, the shared record and the share, in a zone of its
// shared database that bears the name of the owner's zone. The feed of that zone is the account's own, so that coming,
// going and changing all look to it like changes of records.

#include <string>

#include "server/model/RequestWork.h"
#include "server/model/ZoneRecords.h"

namespace zun::cloud {

// The record appears, or has changed. Makes the zone if need be.
void showRecord(RequestWork& work, const std::string& viewerID, ZoneRecords& zone, const std::string& name,
                const StoredRecord& stored, Push::Reason reason);
// The record disappears, and the zone with the last one.
void hideRecord(RequestWork& work, const std::string& viewerID, ZoneRecords& zone, const std::string& name,
                const std::string& recordType);
// What the asker sees under this name; nothing, or gone, if it does not.
[[nodiscard]] std::optional<VisibleRecord> findVisible(RequestWork& work, const ZoneView& view,
                                                       const std::string& name);

// As the owner names things, and as the asker does.
[[nodiscard]] CKRecord asStored(const RequestWork& work, const ZoneView& view, CKRecord record);
[[nodiscard]] CKRecord asSeen(const RequestWork& work, const ZoneView& view, CKRecord record);

// The permission that the share gives the account; None without one.
[[nodiscard]] CKShareParticipantPermission permissionOf(const CKShareDetails& share, const std::string& accountID);

// By which a share is found, whatever address the service had when it was made.
[[nodiscard]] std::string_view secretOfURL(std::string_view URL);

// Makes a share ready to be stored: who owns it, its URL, the states of its participants. Its root must be stored.
struct PreparedShare {
    CKRecord record;
    std::vector<std::string> excluded;  // accounts that lose sight of it
};
[[nodiscard]] PreparedShare prepareShare(RequestWork& work, ZoneRecords& zone, CKRecord record);
void storeShare(RequestWork& work, ZoneRecords& zone, PreparedShare share);
// The owner ends it: the participants lose sight, the root record is no longer shared.
void stopShare(RequestWork& work, ZoneRecords& zone, const std::string& shareName);
// A participant leaves.
void leaveShare(RequestWork& work, const std::string& participantID, ZoneRecords& zone, const std::string& shareName);

void stopSharesOfZone(RequestWork& work, const std::string& ownerID, std::uint64_t incarnation);
void stopAllShares(RequestWork& work, const std::string& ownerID);
void leaveAllShares(RequestWork& work, const std::string& participantID);

}  // namespace zun::cloud
