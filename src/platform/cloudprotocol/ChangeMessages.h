#pragma once

// The feeds that tell what has changed since a token, of a database and of its zones. See Messages.

#include <optional>
#include <string>
#include <vector>

#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"
#include "platform/cloudprotocol/MessageTypes.h"

namespace zun::cloud {

struct FetchDatabaseChanges {
    DatabaseScope database = DatabaseScope::Private;
    std::optional<Token> previousToken;
};
struct DatabaseChanges {
    std::vector<CKRecordZoneID> changed, deleted;
    Token token;
    bool moreComing = false;
};
struct FetchZoneChanges {
    struct Zone {
        CKRecordZoneID zoneID;
        std::optional<Token> previousToken;
    };
    DatabaseScope database = DatabaseScope::Private;
    std::vector<Zone> zones;
};
struct ZoneChanges {
    struct Deleted {
        CKRecordID recordID;
        std::string recordType;
    };
    struct Zone {
        CKRecordZoneID zoneID;
        std::vector<CKRecord> changed;  // each once, as it is now
        std::vector<Deleted> deleted;
        Token token;
        bool moreComing = false;
        // Not what follows the token that was sent: whatever else the reader holds of the zone is no longer there.
        bool fromBeginning = false;
        OptionalError error;  // then nothing else counts
    };
    std::vector<Zone> zones;
};

}  // namespace zun::cloud
