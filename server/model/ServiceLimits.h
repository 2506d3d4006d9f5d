#pragma once

// What one account, device or request may cost the service. Each can be set by whoever hosts it.

#include <chrono>
#include <cstdint>

#include "platform/foundation/NSDate.h"

namespace zun::cloud {

enum class Registration { Open, Invite, Closed };

struct ServiceLimits {
    // A client that must write more splits its request; more makes single requests slower for everyone else, and no
    // client sends more than the protocol's mostItems.
    std::size_t itemsPerRequest = 5'000;
    // Of records that are only looked for, without their fields: a device asks so for all that it has open.
    std::size_t outlinesPerRequest = 20'000;
    std::size_t bytesPerRequest = 16 << 20;
    // Above all the texts of a reminder together at their longest, and below what a page can carry.
    std::size_t bytesPerRecord = 4 << 20;
    std::uint64_t bytesPerAccount = 1ULL << 30;
    // A page of a feed or of a query ends at whichever comes first, but holds at least one record.
    std::size_t recordsPerPage = 5'000;
    std::size_t bytesPerPage = 8 << 20;
    std::size_t zonesPerPage = 200;
    // They stand in the account's own row, which every write reads and writes.
    std::size_t zonesPerAccount = 100;
    std::size_t devicesPerAccount = 50;
    std::size_t subscriptionsPerAccount = 50;
    // Every change of a shared record writes a row for each of them.
    std::size_t participantsPerShare = 100;
    // A second, and at once after a rest; 0 is no limit.
    double requestsPerSecond = 100;
    double requestsAtOnce = 400;
    // The same for requests without a device, by address: attempts to sign in cost the service much.
    double strangersPerSecond = 1;
    double strangersAtOnce = 20;
    // How many password hashes may be computed at the same time; each takes the memory of PasswordCost.
    int passwordsAtOnce = 2;
    // Tokens older than this are expired, and deletions older than this forgotten.
    std::chrono::hours keepDeletions{30 * 24};
    // For a stream that was broken; a device that comes later is told to start a pass.
    std::uint64_t pushesKept = 1'000;
    std::chrono::seconds retryWhenStopping{5};
};

// How hard a password is to guess from what is stored: libsodium's two parameters for Argon2id.
struct PasswordCost {
    unsigned long long operations = 2;
    std::size_t memoryBytes = 64 << 20;
};

}  // namespace zun::cloud
