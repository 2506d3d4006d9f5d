#pragma once

// What a client asks of the record service and what it answers, as plain values. MessageCodec turns them into JSON and
// back; docs/cloud-protocol.md shows each. A request that fails as a whole is answered with a CKError instead.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace zun::cloud {

// Raised by one when a client of the former could not understand an answer.
inline constexpr int protocolVersion = 1;
// A change token of the service: opaque, never empty.
using Token = std::string;

enum class DatabaseScope { Private, Shared };
enum class SavePolicy : std::int64_t { IfServerRecordUnchanged = 0, ChangedKeys = 1, AllKeys = 2 };

// ---- accounts

struct CreateAccount {
    std::string name, displayName, emailAddress, password, invitation, deviceName;
};
struct SignIn {
    std::string name, password, deviceName;
};
// The answer to both.
struct SignedIn {
    std::string accountID, name, displayName, emailAddress;
    std::string deviceID;
    std::string deviceToken;  // the secret of this device; goes into the header Authorization: Bearer
    std::string serviceEpoch = {};
};
struct SignOut {};  // revokes the device that asks
struct FetchAccount {};
struct Account {
    std::string accountID, name, displayName, emailAddress;
    std::string serviceEpoch;  // another one after the service was restored from a backup
    std::uint64_t usedBytes = 0, quotaBytes = 0;
};
struct ChangePassword {
    std::string oldPassword, newPassword;
};
struct FetchDevices {};
struct Device {
    std::string deviceID, name;
    NSDate signedIn, lastSeen;
    bool isThisOne = false;
};
struct Devices {
    std::vector<Device> devices;
};
struct RevokeDevice {
    std::string deviceID;
};
struct DeleteAccount {
    std::string password;
};
struct Done {};

// ---- zones and records

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

// ---- change feeds

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

// ---- subscriptions and shares

struct CKSubscriptionData {
    enum class Kind : std::int64_t { Query = 1, Database = 4 };
    std::string subscriptionID;  // empty: the service gives one
    Kind kind = Kind::Query;
    std::string recordType;     // of a query
    std::uint64_t options = 0;  // 1 creation, 2 update, 4 deletion
    std::vector<std::string> desiredKeys;
    bool shouldSendContentAvailable = false;
    bool operator==(const CKSubscriptionData&) const = default;
};
struct SaveSubscription {
    DatabaseScope database = DatabaseScope::Private;
    CKSubscriptionData subscription;
};
struct SavedSubscription {
    CKSubscriptionData subscription;
};
struct FetchSubscriptions {
    DatabaseScope database = DatabaseScope::Private;
};
struct Subscriptions {
    std::vector<CKSubscriptionData> subscriptions;
};
struct DeleteSubscription {
    DatabaseScope database = DatabaseScope::Private;
    std::string subscriptionID;
};
struct FetchShareMetadata {
    std::vector<std::string> URLs;
    bool shouldFetchRootRecord = false;
};
struct ShareMetadata {
    std::string URL;
    CKRecordID rootRecordID;
    CKRecord share;
    std::optional<CKRecord> rootRecord;
    CKUserIdentity ownerIdentity;
    CKShareParticipantRole participantRole = CKShareParticipantRole::PublicUser;
    CKShareParticipantPermission participantPermission = CKShareParticipantPermission::None;
    CKShareParticipantAcceptanceStatus participantStatus = CKShareParticipantAcceptanceStatus::Unknown;
};
// By URL, in the order asked for.
struct ShareMetadataAnswer {
    struct Item {
        std::string URL;
        std::optional<ShareMetadata> metadata;
        OptionalError error;
    };
    std::vector<Item> items;
};
struct AcceptShares {
    std::vector<std::string> URLs;
};
struct AcceptedShares {
    std::vector<ShareMetadata> accepted;
    std::map<std::string, CKError> failed;  // by URL
};

// ---- pushes: what the stream of a device carries

struct Push {
    // None makes the receiver start a pass: many records were changed at once.
    enum class Kind : std::int64_t { Query = 1, Database = 4, None = 0 };
    std::uint64_t number = 0;  // rises by one for each of a device, from which a broken stream goes on
    Kind kind = Kind::None;
    std::string subscriptionID;
    std::optional<CKRecordID> recordID;  // of a query
    enum class Reason : std::int64_t { Created = 1, Updated = 2, Deleted = 3 };
    Reason reason = Reason::Updated;
};

// In the order of the protocol's document.
using Request = std::variant<CreateAccount, SignIn, SignOut, FetchAccount, ChangePassword, FetchDevices, RevokeDevice,
                             DeleteAccount, FetchZones, ModifyZones, ModifyRecords, FetchRecords, QueryRecords,
                             FetchDatabaseChanges, FetchZoneChanges, SaveSubscription, FetchSubscriptions,
                             DeleteSubscription, FetchShareMetadata, AcceptShares>;
using Answer = std::variant<CKError, Done, SignedIn, Account, Devices, Zones, ModifiedZones, ModifiedRecords,
                            FetchedRecords, QueriedRecords, DatabaseChanges, ZoneChanges, SavedSubscription,
                            Subscriptions, ShareMetadataAnswer, AcceptedShares>;

}  // namespace zun::cloud
