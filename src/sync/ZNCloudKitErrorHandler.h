#pragma once

// Sorts the errors of the cloud by what the sync can do about them. Keeps no state; any thread.

#include <cstdint>

#include "platform/cloudprotocol/CKError.h"

namespace zun {

// The numbers stand in logs of support cases.
enum class ZNCloudKitErrorType : std::uint64_t {
    Unhandled = 0,            // nothing that the sync can do about it
    Retry = 2,                // the service asks for patience
    Unreachable = 3,          // no network
    UnknownItem = 4,          // the record does not exist
    ServerRecordChanged = 5,  // the record exists in another version
    PartialFailure = 6,       // some items failed
    NotAuthenticated = 7,     // nobody is signed in
    ChangeTokenExpired = 8,
    None = 9,  // no error
};

class ZNCloudKitErrorHandler {
  public:
    // By the code alone. Codes that point at a mistake of ours or at the limits of the account leave a line in the log.
    [[nodiscard]] static ZNCloudKitErrorType handleError(const OptionalError& error);
};

}  // namespace zun
