#include "server/model/SharedRecords.h"

#include <algorithm>

#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"

namespace zun::cloud {
namespace {

using Status = CKShareParticipantAcceptanceStatus;
using Permission = CKShareParticipantPermission;
using Role = CKShareParticipantRole;

constexpr std::size_t secretBytes = 18;

bool isSamePerson(const CKUserIdentity& left, const CKUserIdentity& right) {
    if (!left.userRecordName.empty() && !right.userRecordName.empty())
        return left.userRecordName == right.userRecordName;
    return !left.emailAddress.empty() && left.emailAddress == right.emailAddress;
}

bool hasAccepted(const CKShareParticipant& participant) {
    return participant.role != Role::Owner && participant.acceptanceStatus == Status::Accepted;
}

void hideShare(RequestWork& work, const std::string& viewerID, ZoneRecords& zone, const std::string& shareName,
               const std::string& rootName) {
    const auto* root = zone.find(rootName);
    hideRecord(work, viewerID, zone, rootName, root ? root->recordType : std::string());
    hideRecord(work, viewerID, zone, shareName, std::string(CKRecordTypeShare));
}

// Who takes part is the owner's to say, in which state they are is not.
std::vector<CKShareParticipant> mergedParticipants(const CKShareDetails& wanted, const CKShareDetails& former,
                                                   const CKUserIdentity& owner) {
    std::vector<CKShareParticipant> merged{{owner, Role::Owner, Permission::ReadWrite, Status::Accepted}};
    for (auto participant : wanted.participants) {
        if (participant.role == Role::Owner) continue;
        auto known = std::find_if(former.participants.begin(), former.participants.end(), [&](const auto& each) {
            return each.role != Role::Owner && isSamePerson(each.userIdentity, participant.userIdentity);
        });
        participant.acceptanceStatus = Status::Pending;
        participant.role = Role::PrivateUser;
        if (known != former.participants.end()) {
            participant.acceptanceStatus = known->acceptanceStatus;
            participant.role = known->role;
            participant.userIdentity = known->userIdentity;
        }
        // With the door closed, those who came through it have to go.
        if (participant.role == Role::PublicUser && wanted.publicPermission == Permission::None) continue;
        merged.push_back(std::move(participant));
    }
    return merged;
}

void endZone(RequestWork& work, AccountState& viewer, ZoneState& zone) {
    for (auto table : {Table::Visible, Table::Feed, Table::Grave})
        work.rows.erasePrefix(viewer.id, table, zonePrefix(zone.incarnation));
    zone.isDeleted = true;
    zone.databaseSequence = ++viewer.sharedDatabase.sequence;
    zone.changed = work.now;
}

}  // namespace

std::string_view secretOfURL(std::string_view URL) {
    return URL.substr(URL.rfind('/') + 1);
}

void showRecord(RequestWork& work, const std::string& viewerID, ZoneRecords& zone, const std::string& name,
                const StoredRecord& stored, Push::Reason reason) {
    auto* viewer = work.findAccount(viewerID);
    if (!viewer) return;
    auto* view = viewer->sharedDatabase.zone(zone.ownerID(), zone.zoneName());
    if (!view || view->isDeleted)
        view = &viewer->addZone(DatabaseScope::Shared, zone.ownerID(), zone.zoneName(), work.now);
    const auto row = recordRow(view->incarnation, name);
    const auto former = work.rows.get(viewerID, Table::Visible, row);
    VisibleRecord visible;
    visible.shareName = stored.shareName;
    visible.sequence = work.appendToFeed(viewerID, DatabaseScope::Shared, view->incarnation,
                                         former ? decodeVisible(*former).sequence : 0,
                                         {name, false, stored.recordType, stored.body.size()});
    work.rows.put(viewerID, Table::Visible, row, encodeVisible(visible));
    work.noteChange(viewerID, DatabaseScope::Shared,
                    {{name, {zone.zoneName(), zone.ownerID()}}, stored.recordType, reason});
}

void hideRecord(RequestWork& work, const std::string& viewerID, ZoneRecords& zone, const std::string& name,
                const std::string& recordType) {
    auto* viewer = work.findAccount(viewerID);
    auto* view = viewer ? viewer->sharedDatabase.zone(zone.ownerID(), zone.zoneName()) : nullptr;
    if (!view || view->isDeleted) return;
    const auto row = recordRow(view->incarnation, name);
    const auto former = work.rows.get(viewerID, Table::Visible, row);
    auto visible = former ? decodeVisible(*former) : VisibleRecord{};
    if (!former || visible.isGone) return;
    visible.isGone = true;
    visible.sequence = work.appendToFeed(viewerID, DatabaseScope::Shared, view->incarnation, visible.sequence,
                                         {name, true, recordType, 0});
    work.rows.put(viewerID, Table::Visible, row, encodeVisible(visible));
    work.noteChange(viewerID, DatabaseScope::Shared,
                    {{name, {zone.zoneName(), zone.ownerID()}}, recordType, Push::Reason::Deleted});
    bool isAnythingLeft = false;
    work.rows.scan(viewerID, Table::Visible, zonePrefix(view->incarnation), {}, SIZE_MAX,
                   [&](std::string_view, std::string_view value) {
                       isAnythingLeft = !decodeVisible(value).isGone;
                       return !isAnythingLeft;
                   });
    if (!isAnythingLeft) endZone(work, *viewer, *view);
}

std::optional<VisibleRecord> findVisible(RequestWork& work, const ZoneView& view, const std::string& name) {
    const auto row = work.rows.get(work.accountID, Table::Visible, recordRow(view.incarnation, name));
    if (!row) return std::nullopt;
    return decodeVisible(*row);
}

CKRecord asStored(const RequestWork& work, const ZoneView& view, CKRecord record) {
    if (!view.isOwn()) renameOwner(record, CKCurrentUserDefaultName, work.accountID);
    renameOwner(record, view.ownerID, CKCurrentUserDefaultName);
    return record;
}

CKRecord asSeen(const RequestWork& work, const ZoneView& view, CKRecord record) {
    if (view.ownerID == work.accountID) return record;
    renameOwner(record, CKCurrentUserDefaultName, view.ownerID);
    renameOwner(record, work.accountID, CKCurrentUserDefaultName);
    return record;
}

Permission permissionOf(const CKShareDetails& share, const std::string& accountID) {
    for (const auto& participant : share.participants) {
        if (participant.userIdentity.userRecordName == accountID && participant.acceptanceStatus == Status::Accepted)
            return participant.permission;
    }
    return Permission::None;
}

PreparedShare prepareShare(RequestWork& work, ZoneRecords& zone, CKRecord record) {
    const auto& name = record.recordID.recordName;
    if (!record.shareDetails) refuse(CKErrorCode::InvalidArguments, "a share says what it shares");
    auto& details = *record.shareDetails;
    const auto& limits = work.facts.options.limits;
    if (details.participants.size() > limits.participantsPerShare)
        refuse(CKErrorCode::LimitExceeded, "too many participants");
    const auto* root = details.rootRecordID.zoneID == record.recordID.zoneID
                           ? zone.findLive(details.rootRecordID.recordName)
                           : nullptr;
    if (!root || root->recordType == CKRecordTypeShare) throw RequestRefused{noSuchRecord()};
    if (!root->shareName.empty() && root->shareName != name)
        refuse(CKErrorCode::InvalidArguments, "the record is shared already");
    const auto* stored = zone.findLive(name);
    const auto former = stored ? stored->record().shareDetails.value_or(CKShareDetails{}) : CKShareDetails{};
    if (stored && former.rootRecordID != details.rootRecordID)
        refuse(CKErrorCode::InvalidArguments, "a share stays with its record");
    details.URL = former.URL;
    if (details.URL.empty())
        details.URL = work.facts.options.shareURLBase + asText(work.facts.random.bytes(secretBytes));
    details.participants = mergedParticipants(details, former, work.account(zone.ownerID()).identity());
    PreparedShare prepared{std::move(record), {}};
    for (const auto& participant : former.participants) {
        const auto& id = participant.userIdentity.userRecordName;
        if (hasAccepted(participant) && permissionOf(*prepared.record.shareDetails, id) == Permission::None)
            prepared.excluded.push_back(id);
    }
    return prepared;
}

void storeShare(RequestWork& work, ZoneRecords& zone, PreparedShare share) {
    const auto name = share.record.recordID.recordName;
    const auto details = *share.record.shareDetails;
    const CKReference reference{share.record.recordID};
    for (const auto& excluded : share.excluded)
        hideShare(work, excluded, zone, name, details.rootRecordID.recordName);
    work.rows.put({}, Table::ShareURL, secretOfURL(details.URL),
                  RowWriter().text(zone.ownerID()).number(zone.incarnation()).text(name).take());
    zone.store(std::move(share.record), name);
    const auto* root = zone.findLive(details.rootRecordID.recordName);
    if (root->shareName == name) return;
    auto marked = root->record();
    marked.share = reference;
    zone.store(std::move(marked), name);
}

void stopShare(RequestWork& work, ZoneRecords& zone, const std::string& shareName) {
    const auto* stored = zone.findLive(shareName);
    if (!stored) return;
    const auto details = stored->record().shareDetails.value_or(CKShareDetails{});
    const auto& rootName = details.rootRecordID.recordName;
    const auto participants = zone.participantsOf(shareName);
    for (const auto& participant : participants)
        hideShare(work, participant.userIdentity.userRecordName, zone, shareName, rootName);
    work.rows.erase({}, Table::ShareURL, secretOfURL(details.URL));
    zone.remove(shareName);
    if (const auto* root = zone.findLive(rootName)) {
        auto unmarked = root->record();
        unmarked.share.reset();
        zone.store(std::move(unmarked), {});
    }
}

void leaveShare(RequestWork& work, const std::string& participantID, ZoneRecords& zone, const std::string& shareName) {
    const auto* stored = zone.findLive(shareName);
    if (!stored) return;
    auto share = stored->record();
    if (!share.shareDetails) return;
    const auto rootName = share.shareDetails->rootRecordID.recordName;
    auto& participants = share.shareDetails->participants;
    for (auto& participant : participants) {
        if (participant.role != Role::Owner && participant.userIdentity.userRecordName == participantID)
            participant.acceptanceStatus = Status::Removed;
    }
    // Who was not invited by name leaves no trace.
    std::erase_if(participants, [](const CKShareParticipant& each) {
        return each.role == Role::PublicUser && each.acceptanceStatus == Status::Removed;
    });
    hideShare(work, participantID, zone, shareName, rootName);
    zone.store(std::move(share), shareName);
}

void stopSharesOfZone(RequestWork& work, const std::string& ownerID, std::uint64_t incarnation) {
    std::vector<std::string> shares;
    const auto prefix = zonePrefix(incarnation);
    work.rows.scan(ownerID, Table::Record, prefix, {}, SIZE_MAX, [&](std::string_view name, std::string_view row) {
        const auto stored = decodeStored(row);
        if (!stored.isDeleted && stored.recordType == CKRecordTypeShare)
            shares.emplace_back(name.substr(prefix.size()));
        return true;
    });
    if (shares.empty()) return;
    ZoneRecords zone(work, ownerID, incarnation);
    for (const auto& share : shares)
        stopShare(work, zone, share);
}

void stopAllShares(RequestWork& work, const std::string& ownerID) {
    std::vector<std::uint64_t> incarnations;
    for (const auto& zone : work.account(ownerID).privateDatabase.zones)
        if (!zone.isDeleted) incarnations.push_back(zone.incarnation);
    for (auto incarnation : incarnations)
        stopSharesOfZone(work, ownerID, incarnation);
}

void leaveAllShares(RequestWork& work, const std::string& participantID) {
    const auto zones = work.account(participantID).sharedDatabase.zones;
    for (const auto& view : zones) {
        auto* owner = view.isDeleted ? nullptr : work.findAccount(view.ownerID);
        const auto* source = owner ? owner->privateDatabase.zone({}, view.name) : nullptr;
        if (!source || source->isDeleted) continue;
        std::set<std::string> shares;
        work.rows.scan(participantID, Table::Visible, zonePrefix(view.incarnation), {}, SIZE_MAX,
                       [&](std::string_view, std::string_view row) {
                           auto visible = decodeVisible(row);
                           if (!visible.isGone) shares.insert(std::move(visible.shareName));
                           return true;
                       });
        ZoneRecords records(work, view.ownerID, source->incarnation);
        for (const auto& share : shares)
            leaveShare(work, participantID, records, share);
    }
}

}  // namespace zun::cloud
