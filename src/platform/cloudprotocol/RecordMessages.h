#pragma once

// Zones and the records in them. See Messages.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"
#include "platform/cloudprotocol/MessageTypes.h"

namespace zun::cloud {

struct FetchZones {
    DatabaseScope database = DatabaseScope::Private;
};
struct Zones {
    std::vector<CKRecordZoneID> zones;
};
struct ModifyZones {
    DatabaseScope database = DatabaseScope::Private;
    std::vector<CKRecordZoneID> zonesToSave, zonesToDelete;
};
struct ModifiedZones {
    std::vector<CKRecordZoneID> saved, deleted;
};
// All saves and deletions of one zone succeed or fail together.
struct ModifyRecords {
    DatabaseScope database = DatabaseScope::Private;
    SavePolicy savePolicy = SavePolicy::IfServerRecordUnchanged;
    std::vector<CKRecord> recordsToSave;
    std::vector<CKRecordID> recordIDsToDelete;
};
// What was stored of a record besides what was sent.
struct SavedRecord {
    CKRecordID recordID;
    std::string recordChangeTag;
    NSDate modificationDate;
    std::optional<CKReference> share;
    std::optional<CKShareDetails> shareDetails;
};
struct ModifiedRecords {
    std::vector<SavedRecord> saved;
    std::vector<CKRecordID> deleted;
    std::map<CKRecordID, CKError> failed;  // not empty: a partial failure
};
struct FetchRecords {
    DatabaseScope database = DatabaseScope::Private;
    std::vector<CKRecordID> recordIDs;
    // The fields wanted: absent for all, empty for none, which tells only what is there.
    std::optional<std::vector<std::string>> desiredKeys;
};
struct FetchedRecords {
    std::vector<CKRecord> records;  // in the order asked for, without those that failed
    std::map<CKRecordID, CKError> failed;
};
// All records of a type in one zone, by record name.
struct QueryRecords {
    DatabaseScope database = DatabaseScope::Private;
    CKRecordZoneID zoneID;
    std::string recordType;
    std::string cursor;  // of the answer before; empty at first
};
struct QueriedRecords {
    std::vector<CKRecord> records;
    std::string cursor;  // empty at the end
};

}  // namespace zun::cloud
