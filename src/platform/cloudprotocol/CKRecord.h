#pragma once

// A record as the service keeps it: a type, an identifier, typed fields and the tag of its last change. Plain values;
// copying copies.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/cloudprotocol/CKRecordFields.h"

namespace zun {

enum class CKShareParticipantRole : std::int64_t { Owner = 1, PrivateUser = 3, PublicUser = 4 };
enum class CKShareParticipantAcceptanceStatus : std::int64_t { Unknown = 0, Pending = 1, Accepted = 2, Removed = 3 };
enum class CKShareParticipantPermission : std::int64_t { Unknown = 0, None = 1, ReadOnly = 2, ReadWrite = 3 };

struct CKUserIdentity {
    std::string userRecordName;  // the account's identifier; empty while nobody has accepted
    std::string displayName;
    std::string emailAddress;
    bool operator==(const CKUserIdentity&) const = default;
};

struct CKShareParticipant {
    CKUserIdentity userIdentity;
    CKShareParticipantRole role = CKShareParticipantRole::PrivateUser;
    CKShareParticipantPermission permission = CKShareParticipantPermission::ReadOnly;
    CKShareParticipantAcceptanceStatus acceptanceStatus = CKShareParticipantAcceptanceStatus::Pending;
    bool operator==(const CKShareParticipant&) const = default;
};

inline constexpr std::string_view CKRecordTypeShare = "cloudkit.share";

// What makes a record of the type CKRecordTypeShare a share. The service fills in `URL`, the owner and the states.
struct CKShareDetails {
    CKRecordID rootRecordID;
    std::string URL;
    CKShareParticipantPermission publicPermission = CKShareParticipantPermission::None;
    std::vector<CKShareParticipant> participants;
    bool operator==(const CKShareDetails&) const = default;
};

struct CKRecord {
    std::string recordType;
    CKRecordID recordID;
    std::string recordChangeTag;    // empty until the service has stored it
    OptionalDate modificationDate;  // by the service's clock
    CKRecordFields fields;
    std::optional<CKReference> share;  // of a record that is shared: its share
    std::optional<CKShareDetails> shareDetails;

    [[nodiscard]] bool isShare() const { return recordType == CKRecordTypeShare; }
    [[nodiscard]] std::vector<std::string> allKeys() const;
    // Null without the field.
    [[nodiscard]] const CKRecordValue* objectForKey(std::string_view key) const { return fields.find(key); }
    // Absent removes the field.
    void setObject(std::string_view key, std::optional<CKRecordValue> value);
    // Null, without a value or with one of another type.
    template <class T>
    [[nodiscard]] const T* get(std::string_view key) const {
        const auto* found = objectForKey(key);
        return found ? std::get_if<T>(&found->value) : nullptr;
    }
    bool operator==(const CKRecord&) const = default;
};

}  // namespace zun
