#include "sync/ZNCloudKitErrorHandler.h"

#include <fmt/format.h>

#include "platform/foundation/Log.h"

namespace zun {

ZNCloudKitErrorType ZNCloudKitErrorHandler::handleError(const OptionalError& error) {
    using enum CKErrorCode;
    if (!error) return ZNCloudKitErrorType::None;
    switch (error->code) {
        case PartialFailure:
            return ZNCloudKitErrorType::PartialFailure;
        case NetworkUnavailable:
        case NetworkFailure:
            return ZNCloudKitErrorType::Unreachable;
        case ServiceUnavailable:
        case RequestRateLimited:
        case ZoneBusy:
        case LimitExceeded:
            return ZNCloudKitErrorType::Retry;
        case NotAuthenticated:
            return ZNCloudKitErrorType::NotAuthenticated;
        case UnknownItem:
            return ZNCloudKitErrorType::UnknownItem;
        case ServerRecordChanged:
            return ZNCloudKitErrorType::ServerRecordChanged;
        case ChangeTokenExpired:
            return ZNCloudKitErrorType::ChangeTokenExpired;
        case InternalError:
        case PermissionFailure:
        case InvalidArguments:
        case ServerRejectedRequest:
            return ZNCloudKitErrorType::Unhandled;
        case BadContainer:
        case MissingEntitlement:
        case ResultsTruncated:
        case AssetFileNotFound:
        case AssetFileModified:
        case IncompatibleVersion:
        case ConstraintViolation:
        case OperationCancelled:
        case BatchRequestFailed:
        case BadDatabase:
        case QuotaExceeded:
        case ZoneNotFound:
        case UserDeletedZone:
            NSLog(fmt::format("Error syncing with iCloud: Error code {}", static_cast<std::int64_t>(error->code)));
            return ZNCloudKitErrorType::Unhandled;
    }
    // A code that this version does not know.
    return ZNCloudKitErrorType::Unhandled;
}

}  // namespace zun
