#pragma once

// Subscribes this device to the changes of the two databases, and recovers where the service says that it already is.
// Keeps nothing but the way to the databases; any thread. Errors other than a duplicate are dropped: the next pass
// tries again.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/cloudkit/CKContainer.h"
#include "sync/LifeGuard.h"

namespace zun {

inline constexpr std::string_view sharedChangesSubscriptionID = "shared-changes";

class ZNCloudKitSubscriptionManager {
  public:
    // Absent where the service has no subscription after all.
    using SubscriptionIDBlock = std::function<void(const std::optional<std::string>& subscriptionID)>;

    ZNCloudKitSubscriptionManager(Dispatch& dispatch, CKContainer& container)
        : _container(container), _guard(dispatch) {}

    // To every record that is made, changed or deleted in the private database. The service gives the identifier.
    void createSubscriptionForRemindersWithSuccess(SubscriptionIDBlock success);
    // To the shared database as a whole, under one fixed identifier.
    void createSubscriptionForSharesWithSuccess(SubscriptionIDBlock success);
    // Nothing without an identifier.
    void removeSubscriptionWithID(const std::optional<std::string>& subscriptionID, Block success = {});
    void removeShareSubscriptionWithID(const std::optional<std::string>& subscriptionID, Block success = {});

  private:
    enum class Kind { Reminders, Shares };

    CKDatabase& database(Kind kind);
    void create(Kind kind, SubscriptionIDBlock success);
    void save(Kind kind, CKSubscription subscription, SubscriptionIDBlock success);
    void fetchAndSaveExistingSubscription(Kind kind, SubscriptionIDBlock success);
    void recover(Kind kind, const std::vector<CKSubscription>& existing, const SubscriptionIDBlock& success);
    void removeSubscription(Kind kind, const std::optional<std::string>& subscriptionID, Block success);

    CKContainer& _container;
    LifeGuard _guard;
};

}  // namespace zun
