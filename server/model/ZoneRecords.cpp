#include "server/model/ZoneRecords.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/cloudprotocol/MessageCodec.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

// Enough of the epoch that a restored service does not give a tag again that a client may have seen with another body.
constexpr std::size_t epochInTag = 6;

}  // namespace

ZoneRecords::ZoneRecords(RequestWork& work, std::string ownerID, std::uint64_t incarnation)
    : _work(work), _ownerID(std::move(ownerID)), _incarnation(incarnation) {
    const auto* zone = work.account(_ownerID).privateDatabase.incarnation(incarnation);
    if (!zone) throw StorageFailure("a zone is missing");
    _zoneName = zone->name;
}

void ZoneRecords::prefetch(const std::vector<std::string>& names) {
    std::vector<std::string> rows;
    rows.reserve(names.size());
    for (const auto& name : names)
        rows.push_back(recordRow(_incarnation, name));
    auto values = _work.rows.getMany(_ownerID, Table::Record, rows);
    for (std::size_t place = 0; place < names.size(); ++place) {
        auto& known = _known[names[place]];
        if (values[place]) known = decodeStored(*values[place]);
    }
}

const StoredRecord* ZoneRecords::find(const std::string& name) {
    auto known = _known.find(name);
    if (known == _known.end()) {
        auto row = _work.rows.get(_ownerID, Table::Record, recordRow(_incarnation, name));
        known = _known.emplace(name, row ? std::optional(decodeStored(*row)) : std::nullopt).first;
    }
    return known->second ? &*known->second : nullptr;
}

const StoredRecord* ZoneRecords::findLive(const std::string& name) {
    const auto* found = find(name);
    return found && !found->isDeleted ? found : nullptr;
}

const StoredRecord& ZoneRecords::store(CKRecord record, const std::string& shareName) {
    const auto* former = find(record.recordID.recordName);
    auto& owner = _work.account(_ownerID);
    StoredRecord stored;
    stored.recordType = record.recordType;
    stored.modified = _work.now;
    stored.shareName = shareName;
    const bool isNew = !former || former->isDeleted;
    // The number that the change will have in the feed, or in the zone if that has none.
    const auto next = owner.privateDatabase.incarnation(_incarnation)->sequence + 1;
    stored.changeTag =
        fmt::format("{}-{:x}-{:x}", std::string_view(_work.facts.epoch).substr(0, epochInTag), _incarnation, next);
    record.recordChangeTag = stored.changeTag;
    record.modificationDate = stored.modified;
    auto name = record.recordID.recordName;
    if (record.isShare()) _participants.erase(name);
    stored.body = encode(record);
    keep(name, std::move(stored), isNew ? Push::Reason::Created : Push::Reason::Updated);
    ++_work.recordsSaved;
    return *_known.find(name)->second;
}

void ZoneRecords::remove(const std::string& name) {
    const auto* former = findLive(name);
    if (!former) return;
    StoredRecord grave;
    grave.isDeleted = true;
    grave.recordType = former->recordType;
    grave.modified = _work.now;
    keep(name, std::move(grave), Push::Reason::Deleted);
    ++_work.recordsDeleted;
}

void ZoneRecords::keep(const std::string& name, StoredRecord stored, Push::Reason reason) {
    auto& owner = _work.account(_ownerID);
    const auto* former = find(name);
    const auto formerBytes = former ? former->bytesTaken() : 0;
    if (_zoneName == CKRecordZoneDefaultName) {
        stored.sequence = ++owner.privateDatabase.incarnation(_incarnation)->sequence;
    } else {
        stored.sequence =
            _work.appendToFeed(_ownerID, DatabaseScope::Private, _incarnation, former ? former->sequence : 0,
                               {name, stored.isDeleted, stored.recordType, stored.body.size()});
    }
    owner.usedBytes = owner.usedBytes - std::min(owner.usedBytes, formerBytes) + stored.bytesTaken();
    _work.noteChange(_ownerID, DatabaseScope::Private,
                     {{name, {_zoneName, std::string(CKCurrentUserDefaultName)}}, stored.recordType, reason});
    _work.rows.put(_ownerID, Table::Record, recordRow(_incarnation, name), encodeStored(stored));
    auto& known = _known[name];
    known = std::move(stored);
    if (known->shareName.empty()) return;
    for (const auto& participant : participantsOf(known->shareName))
        showRecord(_work, participant.userIdentity.userRecordName, *this, name, *known, reason);
}

const std::vector<CKShareParticipant>& ZoneRecords::participantsOf(const std::string& shareName) {
    auto found = _participants.find(shareName);
    if (found != _participants.end()) return found->second;
    std::vector<CKShareParticipant> accepted;
    if (const auto* share = findLive(shareName)) {
        for (auto& participant : share->record().shareDetails.value_or(CKShareDetails{}).participants) {
            if (participant.role != CKShareParticipantRole::Owner && !participant.userIdentity.userRecordName.empty() &&
                participant.acceptanceStatus == CKShareParticipantAcceptanceStatus::Accepted)
                accepted.push_back(std::move(participant));
        }
    }
    return _participants.emplace(shareName, std::move(accepted)).first->second;
}

}  // namespace zun::cloud
