#pragma once

// What whoever hosts the service does with it from the command line, also while it runs. Blocks. Throws RequestRefused
// for what cannot be, and StorageFailure.

#include <chrono>
#include <string>
#include <vector>

#include "server/model/RequestWork.h"
#include "server/model/StoredRecord.h"

namespace zun::cloud {

struct ServiceStatistics {
    std::uint64_t accounts = 0, disabledAccounts = 0, devices = 0, zones = 0, records = 0, deletedRecords = 0,
                  shares = 0;
    std::uint64_t recordBytes = 0;

    void add(const AccountState& account);
    void add(const StoredRecord& stored);
};

struct ServiceCheck {
    std::vector<std::string> complaints;  // one line each; empty if everything fits together
    ServiceStatistics seen;
};

class Administration {
  public:
    Administration(Storage& storage, const Environment& environment, RandomSource& random, PasswordCost cost = {});

    // The request's invitation and device do not matter. Returns the account's identifier.
    std::string addAccount(const CreateAccount& request);
    // By name.
    [[nodiscard]] std::vector<AccountState> accounts();
    // Its devices are refused from now on, or no longer.
    void setDisabled(const std::string& name, bool isDisabled);
    // Signs all devices out.
    void setPassword(const std::string& name, const std::string& password);
    // A code with which one account can be made.
    [[nodiscard]] std::string invite(std::chrono::hours validFor);
    [[nodiscard]] ServiceStatistics statistics();
    // Looks at everything.
    [[nodiscard]] ServiceCheck check();

  private:
    void write(const std::function<void(RequestWork&)>& work);
    void change(const std::string& name, const std::function<void(RequestWork&, AccountState&)>& work);

    Storage& _storage;
    const ServiceFacts _facts;
};

}  // namespace zun::cloud
