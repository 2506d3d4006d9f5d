#pragma once

// Names of zones and records. Plain values with an order, to be keys.

#include <compare>
#include <string>

namespace zun {

// A zone belongs to an account: `ownerName` is the account's identifier, or CKCurrentUserDefaultName for one's own,
// which the service fills in nowhere: what a client sends so comes back so.
struct CKRecordZoneID {
    std::string zoneName = "_defaultZone";
    std::string ownerName = "__defaultOwner__";

    auto operator<=>(const CKRecordZoneID&) const = default;
};

inline constexpr std::string_view CKRecordZoneDefaultName = "_defaultZone";
inline constexpr std::string_view CKCurrentUserDefaultName = "__defaultOwner__";

// Any UTF-8 text of 1 to 255 bytes is a record name.
struct CKRecordID {
    std::string recordName;
    CKRecordZoneID zoneID;

    auto operator<=>(const CKRecordID&) const = default;
};

}  // namespace zun
