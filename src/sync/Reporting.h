#pragma once

// For the sources of ZNCloudKitManager.

#include <functional>
#include <utility>

#include "platform/cloudprotocol/CKError.h"
#include "platform/foundation/Dispatch.h"

namespace zun {

// Tells the error to whoever wants to know of it.
inline Block reporting(std::function<void(const OptionalError&)> failure, OptionalError error) {
    return [failure = std::move(failure), error = std::move(error)] {
        if (failure) failure(error);
    };
}

}  // namespace zun
