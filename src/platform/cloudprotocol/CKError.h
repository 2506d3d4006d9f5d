#pragma once

// What the record service and its client report. A plain value.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/cloudprotocol/CKRecordID.h"

namespace zun {

// The codes as numbers stand in stored data, in the protocol and in the log. A code outside this list may arrive from a
// newer service and is kept as it is.
enum class CKErrorCode : std::int64_t {
    InternalError = 1,
    PartialFailure = 2,
    NetworkUnavailable = 3,
    NetworkFailure = 4,
    BadContainer = 5,
    ServiceUnavailable = 6,
    RequestRateLimited = 7,
    MissingEntitlement = 8,
    NotAuthenticated = 9,
    PermissionFailure = 10,
    UnknownItem = 11,
    InvalidArguments = 12,
    ResultsTruncated = 13,
    ServerRecordChanged = 14,
    ServerRejectedRequest = 15,
    AssetFileNotFound = 16,
    AssetFileModified = 17,
    IncompatibleVersion = 18,
    ConstraintViolation = 19,
    OperationCancelled = 20,
    ChangeTokenExpired = 21,
    BatchRequestFailed = 22,
    ZoneBusy = 23,
    BadDatabase = 24,
    QuotaExceeded = 25,
    ZoneNotFound = 26,
    LimitExceeded = 27,
    UserDeletedZone = 28,
};

struct CKError {
    // For reading `userInfo`: the seconds to wait, and the errors of single items of a partial failure.
    struct UserInfo {
        std::optional<double> CKErrorRetryAfterKey;
        std::map<CKRecordID, CKError> CKPartialErrorsByItemIDKey;
    };

    CKErrorCode code = CKErrorCode::InternalError;
    std::string description;  // for logs and for people who host the service; English
    UserInfo userInfo;

    // Seconds; 0 without one.
    [[nodiscard]] double retryAfter() const { return userInfo.CKErrorRetryAfterKey.value_or(0); }
};

using OptionalError = std::optional<CKError>;

// What a person should hear of a partial failure: the error of the item that says most. Others are their own.
[[nodiscard]] inline const CKError& mostTelling(const CKError& error) {
    const CKError* found = &error;
    for (const auto& [item, failure] : error.userInfo.CKPartialErrorsByItemIDKey) {
        // These failed for another one's sake.
        if (failure.code == CKErrorCode::BatchRequestFailed) continue;
        // One of many that is not there any more is usual.
        if (found == &error || found->code == CKErrorCode::UnknownItem) found = &failure;
    }
    return *found;
}

}  // namespace zun
