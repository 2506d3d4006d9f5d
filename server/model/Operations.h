#pragma once

// The operations of the service, each inside the transaction of its request. What they throw is RequestRefused,
// NeedsWriting and StorageFailure.

#include "server/model/RequestWork.h"

namespace zun::cloud {

// ---- accounts
// The password was checked or hashed before, since that takes long.
[[nodiscard]] Answer createAccount(RequestWork& work, const CreateAccount& request, const std::string& passwordHash);
// By the one who runs the service, whatever the registration.
[[nodiscard]] AccountState& makeAccount(RequestWork& work, const CreateAccount& request,
                                        const std::string& passwordHash);
[[nodiscard]] SignedIn addDevice(RequestWork& work, AccountState& account, const std::string& deviceName);
[[nodiscard]] Answer fetchAccount(RequestWork& work);
[[nodiscard]] Answer fetchDevices(RequestWork& work);
[[nodiscard]] Answer removeDevice(RequestWork& work, const std::string& deviceID);
void deleteAccount(RequestWork& work, const std::string& id);
// Lower case; refuses with code 12 what cannot be a name.
[[nodiscard]] std::string accountNameOf(std::string_view text);
void checkPassword(std::string_view password);
[[nodiscard]] std::optional<std::string> accountIDOfName(Transaction& rows, std::string_view name);

// ---- zones and records
[[nodiscard]] Answer fetchZones(RequestWork& work, const FetchZones& request);
[[nodiscard]] Answer modifyZones(RequestWork& work, const ModifyZones& request);
[[nodiscard]] Answer modifyRecords(RequestWork& work, const ModifyRecords& request);
[[nodiscard]] Answer fetchRecords(RequestWork& work, const FetchRecords& request);
[[nodiscard]] Answer queryRecords(RequestWork& work, const QueryRecords& request);
void seedRecords(RequestWork& work, std::vector<CKRecord> records);

// ---- feeds
[[nodiscard]] Answer fetchDatabaseChanges(RequestWork& work, const FetchDatabaseChanges& request);
[[nodiscard]] Answer fetchZoneChanges(RequestWork& work, const FetchZoneChanges& request);

// ---- subscriptions
[[nodiscard]] Answer saveSubscription(RequestWork& work, const SaveSubscription& request);
[[nodiscard]] Answer fetchSubscriptions(RequestWork& work, const FetchSubscriptions& request);
[[nodiscard]] Answer deleteSubscription(RequestWork& work, const DeleteSubscription& request);

// ---- shares
[[nodiscard]] Answer fetchShareMetadata(RequestWork& work, const FetchShareMetadata& request);
[[nodiscard]] Answer acceptShares(RequestWork& work, const AcceptShares& request);

}  // namespace zun::cloud
