// Looking shares up by their URL, and accepting them.

#include <algorithm>

#include "server/model/Operations.h"
#include "server/model/RowCoding.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

using Status = CKShareParticipantAcceptanceStatus;
using Permission = CKShareParticipantPermission;
using Role = CKShareParticipantRole;

constexpr std::size_t URLsPerRequest = 100;

struct Found {
    ZoneRecords zone;
    std::string name;
    CKRecord share;  // as stored
};

std::optional<Found> findShare(RequestWork& work, const std::string& URL) {
    const auto row = work.rows.get({}, Table::ShareURL, secretOfURL(URL));
    if (!row) return std::nullopt;
    RowReader place(*row);
    const auto ownerID = place.string();
    const auto incarnation = place.number();
    const auto name = place.string();
    auto* owner = work.findAccount(ownerID);
    const auto* zone = owner && !owner->isDisabled ? owner->privateDatabase.incarnation(incarnation) : nullptr;
    if (!zone || zone->isDeleted) return std::nullopt;
    ZoneRecords records(work, ownerID, incarnation);
    const auto* stored = records.findLive(name);
    if (!stored || stored->recordType != CKRecordTypeShare) return std::nullopt;
    auto share = stored->record();
    if (!share.shareDetails) return std::nullopt;
    return Found{std::move(records), name, std::move(share)};
}

// The asker's own entry, by account or by the address that the owner invited; null without one.
CKShareParticipant* entryOf(CKShareDetails& details, const AccountState& me) {
    CKShareParticipant* byAddress = nullptr;
    for (auto& participant : details.participants) {
        const auto& identity = participant.userIdentity;
        if (identity.userRecordName == me.id) return &participant;
        if (identity.userRecordName.empty() && !me.emailAddress.empty() && identity.emailAddress == me.emailAddress)
            byAddress = &participant;
    }
    return byAddress;
}

ZoneView viewOf(const Found& found, const RequestWork& work) {
    const bool isOwn = found.zone.ownerID() == work.accountID;
    return {isOwn ? DatabaseScope::Private : DatabaseScope::Shared, 0, found.zone.ownerID(), found.zone.incarnation(),
            false};
}

// Nothing where the asker has no business with the share.
std::optional<ShareMetadata> metadataOf(RequestWork& work, const std::string& URL, Found& found, bool withRootRecord) {
    auto& me = work.me();
    auto& details = *found.share.shareDetails;
    const auto* entry = entryOf(details, me);
    if (!entry && details.publicPermission == Permission::None) return std::nullopt;
    ShareMetadata metadata;
    metadata.URL = URL;
    metadata.participantPermission = entry ? entry->permission : details.publicPermission;
    if (entry) {
        metadata.participantRole = entry->role;
        metadata.participantStatus = entry->acceptanceStatus;
    }
    metadata.ownerIdentity = work.account(found.zone.ownerID()).identity();
    const auto view = viewOf(found, work);
    metadata.share = asSeen(work, view, found.share);
    metadata.rootRecordID = metadata.share.shareDetails->rootRecordID;
    if (withRootRecord) {
        if (const auto* root = found.zone.findLive(details.rootRecordID.recordName))
            metadata.rootRecord = asSeen(work, view, root->record());
    }
    return metadata;
}

OptionalError accept(RequestWork& work, Found& found) {
    auto& me = work.me();
    auto& details = *found.share.shareDetails;
    if (found.zone.ownerID() == me.id)
        return makeError(CKErrorCode::InvalidArguments, "owner tried to accept the share");
    auto* entry = entryOf(details, me);
    if (!entry) {
        if (details.publicPermission == Permission::None) return noSuchRecord();
        if (details.participants.size() > work.facts.options.limits.participantsPerShare)
            return makeError(CKErrorCode::LimitExceeded, "too many participants");
        entry = &details.participants.emplace_back();
        entry->role = Role::PublicUser;
        entry->permission = details.publicPermission;
    }
    const auto& zones = me.sharedDatabase.zones;
    const auto* view = me.sharedDatabase.zone(found.zone.ownerID(), found.zone.zoneName());
    const auto inUse = std::count_if(zones.begin(), zones.end(), [](const ZoneState& each) { return !each.isDeleted; });
    if ((!view || view->isDeleted) && static_cast<std::size_t>(inUse) >= work.facts.options.limits.zonesPerAccount)
        return makeError(CKErrorCode::LimitExceeded, "too many zones are shared with this account");
    if (entry->acceptanceStatus == Status::Accepted) return std::nullopt;
    entry->acceptanceStatus = Status::Accepted;
    entry->userIdentity = me.identity();
    // The participant sees the share because storing it tells everyone who has accepted; the root has not changed.
    found.zone.store(found.share, found.name);
    const auto rootName = details.rootRecordID.recordName;
    if (const auto* root = found.zone.findLive(rootName))
        showRecord(work, me.id, found.zone, rootName, *root, Push::Reason::Created);
    found.share = found.zone.findLive(found.name)->record();
    return std::nullopt;
}

void checkURLs(const std::vector<std::string>& URLs) {
    if (URLs.size() > URLsPerRequest) refuse(CKErrorCode::LimitExceeded, "too many items in one request");
}

}  // namespace

Answer fetchShareMetadata(RequestWork& work, const FetchShareMetadata& request) {
    checkURLs(request.URLs);
    ShareMetadataAnswer answer;
    for (const auto& URL : request.URLs) {
        auto& item = answer.items.emplace_back();
        item.URL = URL;
        if (auto found = findShare(work, URL))
            item.metadata = metadataOf(work, URL, *found, request.shouldFetchRootRecord);
        if (!item.metadata) item.error = noSuchRecord();
    }
    return answer;
}

Answer acceptShares(RequestWork& work, const AcceptShares& request) {
    checkURLs(request.URLs);
    AcceptedShares answer;
    for (const auto& URL : request.URLs) {
        auto found = findShare(work, URL);
        const auto error = found ? accept(work, *found) : noSuchRecord();
        auto metadata = error ? std::nullopt : metadataOf(work, URL, *found, false);
        if (metadata) {
            answer.accepted.push_back(std::move(*metadata));
        } else {
            answer.failed.emplace(URL, error.value_or(noSuchRecord()));
        }
    }
    return answer;
}

}  // namespace zun::cloud
