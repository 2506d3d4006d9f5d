#pragma once

// The fields of what requests and answers share: records, their names, errors and subscriptions.

#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"
#include "platform/cloudprotocol/Fields.h"
#include "platform/cloudprotocol/Messages.h"

namespace zun::cloud {

template <>
struct Described<CKRecordZoneID> {
    static constexpr std::tuple fields{field("zoneName", &CKRecordZoneID::zoneName, Text::Name),
                                       field("ownerName", &CKRecordZoneID::ownerName, Text::Name)};
};

template <>
struct Described<CKRecordID> {
    static constexpr std::tuple fields{
        field("recordName", &CKRecordID::recordName, Text::Name),
        field(
            "zoneName", [](auto& id) -> auto& { return id.zoneID.zoneName; }, Text::Name),
        field(
            "ownerName", [](auto& id) -> auto& { return id.zoneID.ownerName; }, Text::Name)};
};

template <>
struct Described<CKError> {
    static constexpr std::tuple fields{
        field("code", &CKError::code), field("description", &CKError::description),
        field(
            "retryAfter", [](auto& error) -> auto& { return error.userInfo.CKErrorRetryAfterKey; }),
        field(
            "partialErrors", [](auto& error) -> auto& { return error.userInfo.CKPartialErrorsByItemIDKey; })};
};

template <>
struct Closed<CKShareParticipantRole> {
    using enum CKShareParticipantRole;
    static constexpr std::array values{Owner, PrivateUser, PublicUser};
};

template <>
struct Closed<CKShareParticipantAcceptanceStatus> {
    using enum CKShareParticipantAcceptanceStatus;
    static constexpr std::array values{Unknown, Pending, Accepted, Removed};
};

template <>
struct Closed<CKShareParticipantPermission> {
    using enum CKShareParticipantPermission;
    static constexpr std::array values{Unknown, None, ReadOnly, ReadWrite};
};

template <>
struct Described<CKUserIdentity> {
    static constexpr std::tuple fields{field("userRecordName", &CKUserIdentity::userRecordName),
                                       field("displayName", &CKUserIdentity::displayName),
                                       field("emailAddress", &CKUserIdentity::emailAddress)};
};

template <>
struct Described<CKShareParticipant> {
    static constexpr std::tuple fields{field("userIdentity", &CKShareParticipant::userIdentity),
                                       field("role", &CKShareParticipant::role),
                                       field("permission", &CKShareParticipant::permission),
                                       field("acceptanceStatus", &CKShareParticipant::acceptanceStatus)};
};

template <>
struct Described<CKShareDetails> {
    static constexpr std::tuple fields{field("rootRecordID", &CKShareDetails::rootRecordID),
                                       field("URL", &CKShareDetails::URL),
                                       field("publicPermission", &CKShareDetails::publicPermission),
                                       field("participants", &CKShareDetails::participants)};
};

template <>
struct Described<CKRecord> {
    static constexpr std::tuple fields{field("recordID", &CKRecord::recordID),
                                       field("recordType", &CKRecord::recordType),
                                       field("recordChangeTag", &CKRecord::recordChangeTag),
                                       field("modificationDate", &CKRecord::modificationDate),
                                       field("fields", &CKRecord::fields),
                                       field("share", &CKRecord::share),
                                       field("shareDetails", &CKRecord::shareDetails)};
};

template <>
struct Closed<CKSubscriptionData::Kind> {
    using enum CKSubscriptionData::Kind;
    static constexpr std::array values{Query, Database};
};

template <>
struct Described<CKSubscriptionData> {
    static constexpr std::tuple fields{
        field("subscriptionID", &CKSubscriptionData::subscriptionID),
        field("kind", &CKSubscriptionData::kind),
        field("recordType", &CKSubscriptionData::recordType),
        field("options", &CKSubscriptionData::options),
        field("desiredKeys", &CKSubscriptionData::desiredKeys),
        field("shouldSendContentAvailable", &CKSubscriptionData::shouldSendContentAvailable)};
};

}  // namespace zun::cloud
