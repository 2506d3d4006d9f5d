#pragma once

// A record's row. What is asked most often stands before the record itself, which is then not decoded. A record that
// was deleted keeps its row without a body, so that deleting it again is no error. Plain values.

#include <optional>
#include <string>

#include "platform/cloudprotocol/CKRecord.h"

namespace zun::cloud {

struct StoredRecord {
    bool isDeleted = false;
    std::uint64_t sequence = 0;  // its place in the feed of its zone
    std::string recordType, changeTag;
    NSDate modified;
    std::string shareName;  // of a record that is shared, and of the share itself; else empty
    std::string body;       // the whole record encoded, its zone that of its owner

    // Of the account's room. One that was deleted still takes some, or an account could fill the disk with them.
    [[nodiscard]] std::uint64_t bytesTaken() const { return isDeleted ? bytesOfDeleted : body.size(); }
    static constexpr std::uint64_t bytesOfDeleted = 100;

    // Throws StorageFailure.
    [[nodiscard]] CKRecord record() const;
    // Only the type, the tag, the date and the share.
    [[nodiscard]] CKRecord outline(CKRecordID recordID) const;
};

[[nodiscard]] std::string encodeStored(const StoredRecord& stored);
[[nodiscard]] StoredRecord decodeStored(std::string_view row);

// Names of rows that belong to a zone, a record of it, or a place in its feed.
[[nodiscard]] std::string zonePrefix(std::uint64_t incarnation);
[[nodiscard]] std::string recordRow(std::uint64_t incarnation, std::string_view recordName);
[[nodiscard]] std::string feedRow(std::uint64_t incarnation, std::uint64_t sequence);

// Of a record or of a place in a feed.
struct FeedEntry {
    std::string recordName;
    bool isDeleted = false;
    std::string recordType;   // of a deletion
    std::uint64_t bytes = 0;  // of the record
};
[[nodiscard]] std::string encodeEntry(const FeedEntry& entry);
[[nodiscard]] FeedEntry decodeEntry(std::string_view row);

// A record of another account that is seen through a share.
struct VisibleRecord {
    std::uint64_t sequence = 0;  // in the feed of the zone as this account sees it
    bool isGone = false;
    std::string shareName;
};
[[nodiscard]] std::string encodeVisible(const VisibleRecord& visible);
[[nodiscard]] VisibleRecord decodeVisible(std::string_view row);

// The owner's zone is the default owner's in rows and in the owner's own eyes, and bears the owner's identifier for
// everyone else: in identifiers, in references and in shares.
void renameOwner(CKRecordZoneID& zoneID, std::string_view from, std::string_view to);
void renameOwner(CKRecord& record, std::string_view from, std::string_view to);
void renameOwner(CKShareDetails& share, std::string_view from, std::string_view to);

}  // namespace zun::cloud
