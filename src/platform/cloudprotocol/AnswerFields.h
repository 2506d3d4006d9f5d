#pragma once

// The fields of every answer and of pushes.

#include "platform/cloudprotocol/Messages.h"
#include "platform/cloudprotocol/RecordFields.h"

namespace zun::cloud {

template <>
struct Closed<Push::Kind> {
    using enum Push::Kind;
    static constexpr std::array values{Query, Database, None};
};
template <>
struct Closed<Push::Reason> {
    using enum Push::Reason;
    static constexpr std::array values{Created, Updated, Deleted};
};

// ---- accounts

template <>
struct Described<SignedIn> {
    static constexpr std::tuple fields{
        field("accountID", &SignedIn::accountID),      field("name", &SignedIn::name),
        field("displayName", &SignedIn::displayName),  field("emailAddress", &SignedIn::emailAddress),
        field("deviceID", &SignedIn::deviceID),        field("deviceToken", &SignedIn::deviceToken),
        field("serviceEpoch", &SignedIn::serviceEpoch)};
};
template <>
struct Described<Account> {
    static constexpr std::tuple fields{
        field("accountID", &Account::accountID),       field("name", &Account::name),
        field("displayName", &Account::displayName),   field("emailAddress", &Account::emailAddress),
        field("serviceEpoch", &Account::serviceEpoch), field("usedBytes", &Account::usedBytes),
        field("quotaBytes", &Account::quotaBytes)};
};
template <>
struct Described<Device> {
    static constexpr std::tuple fields{field("deviceID", &Device::deviceID), field("name", &Device::name),
                                       field("signedIn", &Device::signedIn), field("lastSeen", &Device::lastSeen),
                                       field("isThisOne", &Device::isThisOne)};
};
template <>
struct Described<Devices> {
    static constexpr std::tuple fields{field("devices", &Devices::devices)};
};

// ---- zones and records

template <>
struct Described<Zones> {
    static constexpr std::tuple fields{field("zones", &Zones::zones)};
};
template <>
struct Described<ModifiedZones> {
    static constexpr std::tuple fields{field("saved", &ModifiedZones::saved),
                                       field("deleted", &ModifiedZones::deleted)};
};
template <>
struct Described<SavedRecord> {
    static constexpr std::tuple fields{
        field("recordID", &SavedRecord::recordID), field("recordChangeTag", &SavedRecord::recordChangeTag),
        field("modificationDate", &SavedRecord::modificationDate), field("share", &SavedRecord::share),
        field("shareDetails", &SavedRecord::shareDetails)};
};
template <>
struct Described<ModifiedRecords> {
    static constexpr std::tuple fields{field("saved", &ModifiedRecords::saved),
                                       field("deleted", &ModifiedRecords::deleted),
                                       field("failed", &ModifiedRecords::failed)};
};
template <>
struct Described<FetchedRecords> {
    static constexpr std::tuple fields{field("records", &FetchedRecords::records),
                                       field("failed", &FetchedRecords::failed)};
};
template <>
struct Described<QueriedRecords> {
    static constexpr std::tuple fields{field("records", &QueriedRecords::records),
                                       field("cursor", &QueriedRecords::cursor)};
};
template <>
struct Described<DatabaseChanges> {
    static constexpr std::tuple fields{
        field("changed", &DatabaseChanges::changed), field("deleted", &DatabaseChanges::deleted),
        field("token", &DatabaseChanges::token), field("moreComing", &DatabaseChanges::moreComing)};
};
template <>
struct Described<ZoneChanges::Deleted> {
    static constexpr std::tuple fields{field("recordID", &ZoneChanges::Deleted::recordID),
                                       field("recordType", &ZoneChanges::Deleted::recordType)};
};
template <>
struct Described<ZoneChanges::Zone> {
    static constexpr std::tuple fields{field("zoneID", &ZoneChanges::Zone::zoneID),
                                       field("changed", &ZoneChanges::Zone::changed),
                                       field("deleted", &ZoneChanges::Zone::deleted),
                                       field("token", &ZoneChanges::Zone::token),
                                       field("moreComing", &ZoneChanges::Zone::moreComing),
                                       field("fromBeginning", &ZoneChanges::Zone::fromBeginning),
                                       field("error", &ZoneChanges::Zone::error)};
};
template <>
struct Described<ZoneChanges> {
    static constexpr std::tuple fields{field("zones", &ZoneChanges::zones)};
};

// ---- subscriptions, shares and pushes

template <>
struct Described<SavedSubscription> {
    static constexpr std::tuple fields{field("subscription", &SavedSubscription::subscription)};
};
template <>
struct Described<Subscriptions> {
    static constexpr std::tuple fields{field("subscriptions", &Subscriptions::subscriptions)};
};
template <>
struct Described<ShareMetadata> {
    static constexpr std::tuple fields{field("URL", &ShareMetadata::URL),
                                       field("rootRecordID", &ShareMetadata::rootRecordID),
                                       field("share", &ShareMetadata::share),
                                       field("rootRecord", &ShareMetadata::rootRecord),
                                       field("ownerIdentity", &ShareMetadata::ownerIdentity),
                                       field("participantRole", &ShareMetadata::participantRole),
                                       field("participantPermission", &ShareMetadata::participantPermission),
                                       field("participantStatus", &ShareMetadata::participantStatus)};
};
template <>
struct Described<ShareMetadataAnswer::Item> {
    static constexpr std::tuple fields{field("URL", &ShareMetadataAnswer::Item::URL),
                                       field("metadata", &ShareMetadataAnswer::Item::metadata),
                                       field("error", &ShareMetadataAnswer::Item::error)};
};
template <>
struct Described<ShareMetadataAnswer> {
    static constexpr std::tuple fields{field("items", &ShareMetadataAnswer::items)};
};
template <>
struct Described<AcceptedShares> {
    static constexpr std::tuple fields{field("accepted", &AcceptedShares::accepted),
                                       field("failed", &AcceptedShares::failed)};
};
template <>
struct Described<Push> {
    static constexpr std::tuple fields{field("number", &Push::number), field("kind", &Push::kind),
                                       field("subscriptionID", &Push::subscriptionID),
                                       field("recordID", &Push::recordID), field("reason", &Push::reason)};
};

}  // namespace zun::cloud
