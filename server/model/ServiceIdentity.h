#pragma once

// What makes a service this one: its epoch, which changes when it is restored from a backup, and the secret with which
// it seals tokens. Both stand in the storage, so that all processes over it agree.

#include <string>

#include "server/model/RandomSource.h"
#include "server/storage/Storage.h"

namespace zun::cloud {

struct ServiceIdentity {
    std::string epoch, secret;
};

// Makes it where there is none. Blocks; throws StorageFailure.
[[nodiscard]] ServiceIdentity serviceIdentity(Storage& storage, RandomSource& random);
// After a restore: whatever clients know of changes is void. Blocks; throws StorageFailure.
void renewServiceIdentity(Storage& storage, RandomSource& random);

// Runs the work and waits for its end. Not from inside other work.
void writeAndWait(Storage& storage, const Storage::Work& work);
void readAndWait(Storage& storage, const Storage::Work& work);

}  // namespace zun::cloud
