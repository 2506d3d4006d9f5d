// Saving and deleting records: all of a zone's items of a request, or none.

#include <algorithm>
#include <set>

#include "platform/cloudprotocol/ProtocolLimits.h"
#include "server/model/Operations.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

std::size_t bytesOf(const CKRecordValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value)) return text->size();
    if (const auto* bytes = std::get_if<Bytes>(&value.value)) return bytes->size() * 4 / 3;
    if (const auto* reference = std::get_if<CKReference>(&value.value))
        return reference->recordID.recordName.size() + 64;
    std::size_t sum = 16;
    if (const auto* list = std::get_if<CKList>(&value.value))
        for (const auto& item : *list)
            sum += bytesOf(item) + 8;
    return sum;
}

// About what it takes when it is stored.
std::size_t bytesOf(const CKRecord& record) {
    std::size_t sum = 256 + record.recordType.size() + record.recordID.recordName.size();
    for (const auto& [key, value] : record.fields)
        sum += key.size() + bytesOf(value) + 8;
    if (!record.shareDetails) return sum;
    for (const auto& participant : record.shareDetails->participants) {
        const auto& identity = participant.userIdentity;
        sum += 128 + identity.userRecordName.size() + identity.displayName.size() + identity.emailAddress.size();
    }
    return sum;
}

bool isGoodName(const std::string& name) {
    return !name.empty() && name.size() <= longestName;
}

// One zone's part of a request.
class ZoneChange {
  public:
    ZoneChange(RequestWork& work, const ModifyRecords& request, const ZoneView& view)
        : _work(work), _request(request), _view(view), _records(work, view.ownerID, view.ownerIncarnation) {}

    void save(const CKRecord& record) { _saves.push_back(&record); }
    void remove(const CKRecordID& recordID) { _deletions.push_back(&recordID); }
    [[nodiscard]] const std::string& ownerID() const { return _view.ownerID; }

    void run(ModifiedRecords& answer) {
        check();
        if (!_errors.empty()) {
            refuseAll(answer);
            return;
        }
        apply(answer);
    }

  private:
    void check() {
        std::vector<std::string> names;
        for (const auto* record : _saves)
            names.push_back(record->recordID.recordName);
        for (const auto* recordID : _deletions)
            names.push_back(recordID->recordName);
        _records.prefetch(names);
        for (const auto* record : _saves)
            if (auto error = whyNotSave(*record)) _errors.emplace(record->recordID, *error);
        for (const auto* recordID : _deletions)
            if (auto error = whyNotDelete(*recordID)) _errors.emplace(*recordID, *error);
    }

    void refuseAll(ModifiedRecords& answer) {
        const auto batch = makeError(CKErrorCode::BatchRequestFailed, "another item of the zone has failed");
        answer.failed.insert(_errors.begin(), _errors.end());
        for (const auto* record : _saves)
            answer.failed.try_emplace(record->recordID, batch);
        for (const auto* recordID : _deletions)
            answer.failed.try_emplace(*recordID, batch);
    }

    OptionalError whyNotSave(const CKRecord& record) {
        const auto& name = record.recordID.recordName;
        if (_view.isDefaultZone) return makeError(CKErrorCode::PermissionFailure, "the default zone takes no changes");
        if (!isGoodName(name) || !isGoodName(record.recordType))
            return makeError(CKErrorCode::InvalidArguments, "names and types have 1 to 255 bytes");
        if (!_view.isOwn()) {
            if (auto error = whyNotChangeShared(name, record.isShare())) return error;
        }
        if (isTooLarge(record)) return makeError(CKErrorCode::LimitExceeded, "the record is too large");
        const auto* stored = _records.findLive(name);
        if (record.isShare() != record.shareDetails.has_value() || (stored && stored->recordType != record.recordType))
            return makeError(CKErrorCode::InvalidArguments, "a record keeps its type");
        if (_request.savePolicy != SavePolicy::IfServerRecordUnchanged) return std::nullopt;
        if (!stored) return record.recordChangeTag.empty() ? OptionalError() : noSuchRecord();
        if (stored->changeTag != record.recordChangeTag)
            return makeError(CKErrorCode::ServerRecordChanged, "the record has changed on the service");
        return std::nullopt;
    }

    bool isTooLarge(const CKRecord& record) {
        const auto limit = _work.facts.options.limits.bytesPerRecord;
        const auto bytes = bytesOf(record);
        const auto* stored = _records.findLive(record.recordID.recordName);
        if (bytes > limit || !stored || _request.savePolicy != SavePolicy::ChangedKeys) return bytes > limit;
        // Keys that are added one save after the other must not make a record that nobody can carry any more. Most are
        // far from it: at most three times of what is stored is counted, and no field is stored in fewer bytes.
        constexpr std::size_t shortestField = 12;
        if (bytes + 3 * stored->body.size() <= limit &&
            record.fields.size() + stored->body.size() / shortestField <= mostFields)
            return false;
        const auto whole = merged(record);
        return bytesOf(whole) > limit || whole.fields.size() > mostFields;
    }

    OptionalError whyNotChangeShared(const std::string& name, bool isShare) {
        const auto visible = findVisible(_work, _view, name);
        const auto* share = visible && !visible->isGone ? _records.findLive(visible->shareName) : nullptr;
        const auto details = share ? share->record().shareDetails : std::nullopt;
        if (isShare || !details || permissionOf(*details, _work.accountID) != CKShareParticipantPermission::ReadWrite)
            return makeError(CKErrorCode::PermissionFailure, "this record is not yours to change");
        return std::nullopt;
    }

    OptionalError whyNotDelete(const CKRecordID& recordID) {
        if (_view.isDefaultZone) return makeError(CKErrorCode::PermissionFailure, "the default zone takes no changes");
        if (_view.isOwn()) return _records.find(recordID.recordName) ? OptionalError() : noSuchRecord();
        const auto visible = findVisible(_work, _view, recordID.recordName);
        if (!visible) return noSuchRecord();
        if (visible->isGone || visible->shareName == recordID.recordName) return std::nullopt;
        return makeError(CKErrorCode::PermissionFailure, "only its owner can delete this record");
    }

    void apply(ModifiedRecords& answer) {
        for (const auto* record : _saves)
            if (!record->isShare()) storeOne(*record);
        // A share comes after its root record, wherever it stands in the request.
        for (const auto* record : _saves)
            if (record->isShare()) storeShare(_work, _records, prepareShare(_work, _records, merged(*record)));
        for (const auto* record : _saves)
            answer.saved.push_back(savedRecord(record->recordID));
        for (const auto* recordID : _deletions) {
            deleteOne(recordID->recordName);
            answer.deleted.push_back(*recordID);
        }
    }

    [[nodiscard]] CKRecord merged(const CKRecord& record) {
        auto wanted = asStored(_work, _view, record);
        const auto* stored = _records.findLive(wanted.recordID.recordName);
        if (!stored) {
            wanted.share.reset();
            return wanted;
        }
        auto former = stored->record();
        wanted.share = former.share;
        if (_request.savePolicy == SavePolicy::ChangedKeys) wanted.fields.merge(former.fields);
        return wanted;
    }

    void storeOne(const CKRecord& record) {
        const auto* stored = _records.findLive(record.recordID.recordName);
        const auto shareName = stored ? stored->shareName : std::string();
        // The common case needs nothing of the former record.
        if (stored && shareName.empty() && _request.savePolicy != SavePolicy::ChangedKeys) {
            auto wanted = asStored(_work, _view, record);
            wanted.share.reset();
            _records.store(std::move(wanted), {});
            return;
        }
        _records.store(merged(record), shareName);
    }

    void deleteOne(const std::string& name) {
        const auto* stored = _records.findLive(name);
        if (!stored) return;
        if (!_view.isOwn()) {
            leaveShare(_work, _work.accountID, _records, name);
            return;
        }
        if (!stored->shareName.empty()) stopShare(_work, _records, std::string(stored->shareName));
        _records.remove(name);
    }

    [[nodiscard]] SavedRecord savedRecord(const CKRecordID& recordID) {
        const auto* stored = _records.findLive(recordID.recordName);
        SavedRecord saved{recordID, stored->changeTag, stored->modified, {}, {}};
        if (stored->shareName.empty()) return saved;
        auto seen = asSeen(_work, _view, stored->record());
        saved.share = std::move(seen.share);
        saved.shareDetails = std::move(seen.shareDetails);
        return saved;
    }

    RequestWork& _work;
    const ModifyRecords& _request;
    const ZoneView _view;
    ZoneRecords _records;
    std::vector<const CKRecord*> _saves;
    std::vector<const CKRecordID*> _deletions;
    std::map<CKRecordID, CKError> _errors;
};

// What a request may be, before its items are looked at.
void checkRequest(RequestWork& work, const ModifyRecords& request) {
    const auto& limits = work.facts.options.limits;
    if (request.recordsToSave.size() + request.recordIDsToDelete.size() > limits.itemsPerRequest)
        refuse(CKErrorCode::LimitExceeded, "too many items in one request");
    std::set<CKRecordID> seen;
    std::size_t bytes = 0;
    bool isTwice = false;
    for (const auto& record : request.recordsToSave) {
        isTwice = !seen.insert(record.recordID).second || isTwice;
        bytes += bytesOf(record);
    }
    for (const auto& recordID : request.recordIDsToDelete)
        isTwice = !seen.insert(recordID).second || isTwice;
    if (isTwice) refuse(CKErrorCode::InvalidArguments, "a record is named twice in one request");
    if (bytes > limits.bytesPerRequest) refuse(CKErrorCode::LimitExceeded, "the request is too large");
}

}  // namespace

Answer modifyRecords(RequestWork& work, const ModifyRecords& request) {
    checkRequest(work, request);
    ModifiedRecords answer;
    std::map<CKRecordZoneID, std::optional<ZoneChange>> zones;
    const auto zoneOf = [&](const CKRecordZoneID& zoneID) -> ZoneChange* {
        auto [zone, isNew] = zones.try_emplace(zoneID);
        if (isNew)
            if (auto view = work.findZone(request.database, zoneID)) zone->second.emplace(work, request, *view);
        return zone->second ? &*zone->second : nullptr;
    };
    for (const auto& record : request.recordsToSave) {
        if (auto* zone = zoneOf(record.recordID.zoneID)) {
            zone->save(record);
        } else {
            answer.failed.emplace(record.recordID, noSuchZone());
        }
    }
    for (const auto& recordID : request.recordIDsToDelete) {
        if (auto* zone = zoneOf(recordID.zoneID)) {
            zone->remove(recordID);
        } else {
            answer.failed.emplace(recordID, noSuchZone());
        }
    }
    for (auto& [zoneID, zone] : zones) {
        if (!zone) continue;
        auto& owner = work.account(zone->ownerID());
        const auto before = owner.usedBytes;
        zone->run(answer);
        // What makes room is never refused for want of it.
        if (owner.usedBytes > before && owner.usedBytes > work.facts.options.limits.bytesPerAccount)
            refuse(CKErrorCode::QuotaExceeded, "there is no room left for this account's records");
    }
    return answer;
}

void seedRecords(RequestWork& work, std::vector<CKRecord> records) {
    const auto* zone = work.me().privateDatabase.zone({}, CKRecordZoneDefaultName);
    ZoneRecords zoneRecords(work, work.accountID, zone->incarnation);
    for (auto& record : records) {
        record.recordID.zoneID = CKRecordZoneID{};
        record.share.reset();
        zoneRecords.store(std::move(record), {});
    }
}

}  // namespace zun::cloud
