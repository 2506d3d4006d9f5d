#pragma once

// What a client wants to be told about. Plain values.

#include "platform/cloudprotocol/Messages.h"

namespace zun {

struct CKNotificationInfo {
    std::vector<std::string> desiredKeys;
    bool shouldSendContentAvailable = false;
    void setDesiredKeys(std::vector<std::string> keys) { desiredKeys = std::move(keys); }
    void setShouldSendContentAvailable(bool should) { shouldSendContentAvailable = should; }
};

struct CKSubscription {
    cloud::CKSubscriptionData data;

    // Of all records of a type, whatever the predicate; options: 1 creation, 2 update, 4 deletion.
    static CKSubscription withRecordType(std::string recordType, std::uint64_t options) {
        return {{{}, cloud::CKSubscriptionData::Kind::Query, std::move(recordType), options, {}, false}};
    }
    static CKSubscription databaseSubscriptionWithID(std::string subscriptionID) {
        return {{std::move(subscriptionID), cloud::CKSubscriptionData::Kind::Database, {}, 0, {}, false}};
    }
    [[nodiscard]] const std::string& subscriptionID() const { return data.subscriptionID; }
    void setNotificationInfo(const CKNotificationInfo& info) {
        data.desiredKeys = info.desiredKeys;
        data.shouldSendContentAvailable = info.shouldSendContentAvailable;
    }
};

// A push as it reached this device.
struct CKNotification {
    enum class Type : std::int64_t { Other = 0, Query = 1, Database = 4 };
    Type notificationType = Type::Other;
    std::optional<CKRecordID> recordID;  // of a query
    std::string subscriptionID;
};

}  // namespace zun
