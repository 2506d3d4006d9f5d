#pragma once

// What a share is, by its URL, and taking part in it. See Messages.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace zun::cloud {

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

}  // namespace zun::cloud
