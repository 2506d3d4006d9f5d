#pragma once

// The fields of every request.

#include "platform/cloudprotocol/Messages.h"
#include "platform/cloudprotocol/RecordFields.h"

namespace zun::cloud {

template <>
struct Closed<SavePolicy> {
    using enum SavePolicy;
    static constexpr std::array values{IfServerRecordUnchanged, ChangedKeys, AllKeys};
};

// ---- accounts

template <>
struct Described<CreateAccount> {
    static constexpr std::tuple fields{field("name", &CreateAccount::name),
                                       field("displayName", &CreateAccount::displayName),
                                       field("emailAddress", &CreateAccount::emailAddress),
                                       field("password", &CreateAccount::password),
                                       field("invitation", &CreateAccount::invitation),
                                       field("deviceName", &CreateAccount::deviceName)};
};
template <>
struct Described<SignIn> {
    static constexpr std::tuple fields{field("name", &SignIn::name), field("password", &SignIn::password),
                                       field("deviceName", &SignIn::deviceName)};
};
template <>
struct Described<ChangePassword> {
    static constexpr std::tuple fields{field("oldPassword", &ChangePassword::oldPassword),
                                       field("newPassword", &ChangePassword::newPassword)};
};
template <>
struct Described<RevokeDevice> {
    static constexpr std::tuple fields{field("deviceID", &RevokeDevice::deviceID)};
};
template <>
struct Described<DeleteAccount> {
    static constexpr std::tuple fields{field("password", &DeleteAccount::password)};
};

// ---- zones and records

template <>
struct Described<FetchZones> {
    static constexpr std::tuple fields{field("database", &FetchZones::database)};
};
template <>
struct Described<ModifyZones> {
    static constexpr std::tuple fields{field("database", &ModifyZones::database),
                                       field("zonesToSave", &ModifyZones::zonesToSave),
                                       field("zonesToDelete", &ModifyZones::zonesToDelete)};
};
template <>
struct Described<ModifyRecords> {
    static constexpr std::tuple fields{field("database", &ModifyRecords::database),
                                       field("savePolicy", &ModifyRecords::savePolicy),
                                       field("recordsToSave", &ModifyRecords::recordsToSave),
                                       field("recordIDsToDelete", &ModifyRecords::recordIDsToDelete)};
};
template <>
struct Described<FetchRecords> {
    static constexpr std::tuple fields{field("database", &FetchRecords::database),
                                       field("recordIDs", &FetchRecords::recordIDs),
                                       field("desiredKeys", &FetchRecords::desiredKeys)};
};
template <>
struct Described<QueryRecords> {
    static constexpr std::tuple fields{
        field("database", &QueryRecords::database), field("zoneID", &QueryRecords::zoneID),
        field("recordType", &QueryRecords::recordType), field("cursor", &QueryRecords::cursor)};
};
template <>
struct Described<FetchDatabaseChanges> {
    static constexpr std::tuple fields{field("database", &FetchDatabaseChanges::database),
                                       field("previousToken", &FetchDatabaseChanges::previousToken)};
};
template <>
struct Described<FetchZoneChanges::Zone> {
    static constexpr std::tuple fields{field("zoneID", &FetchZoneChanges::Zone::zoneID),
                                       field("previousToken", &FetchZoneChanges::Zone::previousToken)};
};
template <>
struct Described<FetchZoneChanges> {
    static constexpr std::tuple fields{field("database", &FetchZoneChanges::database),
                                       field("zones", &FetchZoneChanges::zones)};
};

// ---- subscriptions and shares

template <>
struct Described<SaveSubscription> {
    static constexpr std::tuple fields{field("database", &SaveSubscription::database),
                                       field("subscription", &SaveSubscription::subscription)};
};
template <>
struct Described<FetchSubscriptions> {
    static constexpr std::tuple fields{field("database", &FetchSubscriptions::database)};
};
template <>
struct Described<DeleteSubscription> {
    static constexpr std::tuple fields{field("database", &DeleteSubscription::database),
                                       field("subscriptionID", &DeleteSubscription::subscriptionID)};
};
template <>
struct Described<FetchShareMetadata> {
    static constexpr std::tuple fields{field("URLs", &FetchShareMetadata::URLs),
                                       field("shouldFetchRootRecord", &FetchShareMetadata::shouldFetchRootRecord)};
};
template <>
struct Described<AcceptShares> {
    static constexpr std::tuple fields{field("URLs", &AcceptShares::URLs)};
};

}  // namespace zun::cloud
