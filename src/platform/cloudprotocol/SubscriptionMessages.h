#pragma once

// What a device wants to be told, and the pushes that tell it. See Messages.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/cloudprotocol/CKRecord.h"
#include "platform/cloudprotocol/MessageTypes.h"

namespace zun::cloud {

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

// What the stream of a device carries.
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

}  // namespace zun::cloud
