#pragma once

// An account's own row: who it is, its devices, zones and subscriptions. Small, since every write reads and writes it.
// Plain values.

#include <optional>
#include <string>
#include <vector>

#include "platform/cloudprotocol/Messages.h"

namespace zun::cloud {

struct DeviceState {
    std::string id, name, secretHash;
    NSDate signedIn, lastSeen;
    std::uint64_t lastPush = 0;
    std::uint64_t firstPushKept = 1;
};

// A zone of a database as its feeds see it. One that was deleted stays until its deletion is forgotten; made again, it
// is another one.
struct ZoneState {
    std::uint64_t incarnation = 0;  // never used twice by the account; begins the names of its rows
    std::string ownerID;            // empty: the account itself
    std::string name;
    std::uint64_t sequence = 0;          // of the last change in its feed
    std::uint64_t databaseSequence = 0;  // of the last change, in the feed of the database
    std::uint64_t forgottenThrough = 0;  // deletions up to here are no longer in the feed
    bool isDeleted = false;
    NSDate changed;
};

struct DatabaseState {
    std::uint64_t sequence = 0;
    std::uint64_t forgottenThrough = 0;
    std::vector<ZoneState> zones;
    std::vector<CKSubscriptionData> subscriptions;

    [[nodiscard]] ZoneState* zone(std::string_view ownerID, std::string_view name);
    [[nodiscard]] ZoneState* incarnation(std::uint64_t number);
};

struct AccountState {
    std::string id, name, displayName, emailAddress, passwordHash;
    NSDate created;
    bool isDisabled = false;
    std::uint64_t lastIncarnation = 0;
    std::uint64_t usedBytes = 0;
    std::vector<DeviceState> devices;
    DatabaseState privateDatabase, sharedDatabase;

    [[nodiscard]] DatabaseState& database(DatabaseScope scope) {
        return scope == DatabaseScope::Private ? privateDatabase : sharedDatabase;
    }
    [[nodiscard]] DeviceState* device(std::string_view deviceID);
    [[nodiscard]] CKUserIdentity identity() const { return {id, displayName, emailAddress}; }
    // A zone that was not there, or was deleted.
    ZoneState& addZone(DatabaseScope scope, std::string ownerID, std::string zoneName, NSDate now);
};

[[nodiscard]] std::string encodeAccount(const AccountState& account);
// Throws StorageFailure.
[[nodiscard]] AccountState decodeAccount(std::string_view row);

}  // namespace zun::cloud
