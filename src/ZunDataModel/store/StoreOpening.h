#pragma once

// What has to be true before a store can be used: its folder and its file exist, the file is sound, of this version and
// in WAL mode.

#include <cstdint>
#include <memory>
#include <optional>

#include "ZunDataModel/StoreHealth.h"
#include "ZunDataModel/store/StoreConnection.h"
#include "ZunDataModel/store/StoreFiles.h"
#include "ZunDataModel/store/StoreLock.h"
#include "ZunDataModel/store/StoreSession.h"
#include "platform/foundation/Environment.h"

namespace zun {

struct OpenedStore {
    StoreHealth health;
    std::optional<StoreError> refusal;  // what every write is answered with, if it cannot be written
    std::unique_ptr<StoreSession> session;
    StoreConnection::Access readAccess = StoreConnection::Access::Read;
    std::unique_ptr<StoreConnection> connection;  // ready to read; null if nothing can be read
    std::int64_t newestChange = 0;
};

// Makes, migrates or repairs the file as needed. Blocks while it does, and up to the wait for the lock. A store that
// needs nothing is opened without any lock. Throws nothing.
[[nodiscard]] OpenedStore openStore(const StoreFiles& files, const Environment& environment);

}  // namespace zun
