#include "server/model/StoredRecord.h"

#include "platform/cloudprotocol/MessageCodec.h"
#include "server/model/RowCoding.h"

namespace zun::cloud {
namespace {

constexpr std::uint64_t format = 1;

void renameOwner(CKRecordValue& value, std::string_view from, std::string_view to) {
    if (auto* reference = std::get_if<CKReference>(&value.value)) {
        cloud::renameOwner(reference->recordID.zoneID, from, to);
    } else if (auto* list = std::get_if<CKList>(&value.value)) {
        for (auto& item : *list)
            renameOwner(item, from, to);
    }
}

}  // namespace

CKRecord StoredRecord::record() const {
    auto decoded = decodeRecord(body);
    if (auto* found = std::get_if<CKRecord>(&decoded)) return std::move(*found);
    throw StorageFailure("a record is damaged: " + std::get<Malformed>(decoded).reason);
}

CKRecord StoredRecord::outline(CKRecordID recordID) const {
    CKRecord outline;
    outline.recordType = recordType;
    outline.recordChangeTag = changeTag;
    outline.modificationDate = modified;
    if (!shareName.empty() && !outline.isShare()) outline.share = CKReference{{shareName, recordID.zoneID}};
    outline.recordID = std::move(recordID);
    return outline;
}

std::string encodeStored(const StoredRecord& stored) {
    RowWriter row;
    row.number(format).flag(stored.isDeleted).number(stored.sequence).text(stored.recordType).text(stored.changeTag);
    row.date(stored.modified).text(stored.shareName).text(stored.body);
    return row.take();
}

StoredRecord decodeStored(std::string_view bytes) {
    RowReader row(bytes);
    if (row.number() != format) throw StorageFailure("a record was written by a newer version");
    StoredRecord stored{row.flag(), row.number(), row.string(), row.string(), row.date(), row.string(), row.string()};
    return stored;
}

std::string zonePrefix(std::uint64_t incarnation) {
    return orderedNumber(incarnation);
}

std::string recordRow(std::uint64_t incarnation, std::string_view recordName) {
    return zonePrefix(incarnation).append(recordName);
}

std::string feedRow(std::uint64_t incarnation, std::uint64_t sequence) {
    return zonePrefix(incarnation) + orderedNumber(sequence);
}

std::string encodeEntry(const FeedEntry& entry) {
    return RowWriter().text(entry.recordName).flag(entry.isDeleted).text(entry.recordType).number(entry.bytes).take();
}

FeedEntry decodeEntry(std::string_view bytes) {
    RowReader row(bytes);
    return {row.string(), row.flag(), row.string(), row.number()};
}

std::string encodeVisible(const VisibleRecord& visible) {
    return RowWriter().number(visible.sequence).flag(visible.isGone).text(visible.shareName).take();
}

VisibleRecord decodeVisible(std::string_view bytes) {
    RowReader row(bytes);
    return {row.number(), row.flag(), row.string()};
}

void renameOwner(CKRecordZoneID& zoneID, std::string_view from, std::string_view to) {
    if (zoneID.ownerName == from) zoneID.ownerName = to;
}

void renameOwner(CKShareDetails& share, std::string_view from, std::string_view to) {
    renameOwner(share.rootRecordID.zoneID, from, to);
}

void renameOwner(CKRecord& record, std::string_view from, std::string_view to) {
    renameOwner(record.recordID.zoneID, from, to);
    record.fields.forEachValue([&](CKRecordValue& value) { renameOwner(value, from, to); });
    if (record.share) renameOwner(record.share->recordID.zoneID, from, to);
    if (record.shareDetails) renameOwner(*record.shareDetails, from, to);
}

}  // namespace zun::cloud
