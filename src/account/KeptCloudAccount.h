#pragma once

// The account's status, answered at once and without the service. Any thread.

#include "account/AccountKeeper.h"
#include "settings/CloudAccount.h"

namespace zun {

class KeptCloudAccount final : public CloudAccount {
  public:
    // The keeper outlives it.
    explicit KeptCloudAccount(const AccountKeeper& keeper) : _keeper(keeper) {}
    void accountStatusWithCompletionHandler(StatusHandler handler) override {
        handler(_keeper.state().account ? AccountStatus::Available : AccountStatus::NoAccount);
    }

  private:
    const AccountKeeper& _keeper;
};

}  // namespace zun
