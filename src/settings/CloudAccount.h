#pragma once

// What the settings ask of the cloud: whether there is an account, and to forget what earlier syncs left behind. The
// program that syncs implements both; the classes below serve where nothing syncs.

#include <cstdint>
#include <functional>

#include "settings/ZNUserDefaults.h"

namespace zun {

enum class AccountStatus : std::int64_t { CouldNotDetermine = 0, Available = 1, Restricted = 2, NoAccount = 3 };

class CloudAccount {
  public:
    using StatusHandler = std::function<void(AccountStatus)>;

    virtual ~CloudAccount() = default;
    // Calls the handler once, on any thread, perhaps before this returns. Any thread may ask; never blocks.
    virtual void accountStatusWithCompletionHandler(StatusHandler handler) = 0;
};

class SyncCache {
  public:
    virtual ~SyncCache() = default;
    // Forgets what is known of the server's state, so that the next sync reads everything afresh. Any thread.
    virtual void resetSyncCache() = 0;
};

// Nobody has signed in.
class NoCloudAccount final : public CloudAccount {
  public:
    void accountStatusWithCompletionHandler(StatusHandler handler) override { handler(AccountStatus::NoAccount); }
};

// The part of the cache that is kept between runs: the change tokens, the time of the last sync, and the mark that the
// private zone was migrated. Subscriptions and the account's identity stay.
class StoredSyncCache final : public SyncCache {
  public:
    // The defaults must outlive the cache.
    explicit StoredSyncCache(ZNUserDefaults& defaults) : _defaults(defaults) {}
    void resetSyncCache() override;

  private:
    ZNUserDefaults& _defaults;
};

}  // namespace zun
