#pragma once

// What a client asks of the record service and what it answers, as plain values. MessageCodec turns them into JSON and
// back; docs/cloud-protocol.md shows each. A request that fails as a whole is answered with a CKError instead.

#include <variant>

#include "platform/cloudprotocol/AccountMessages.h"
#include "platform/cloudprotocol/CKError.h"
#include "platform/cloudprotocol/ChangeMessages.h"
#include "platform/cloudprotocol/RecordMessages.h"
#include "platform/cloudprotocol/ShareMessages.h"
#include "platform/cloudprotocol/SubscriptionMessages.h"

namespace zun::cloud {

// In the order of the protocol's document.
using Request = std::variant<CreateAccount, SignIn, SignOut, FetchAccount, ChangePassword, FetchDevices, RevokeDevice,
                             DeleteAccount, FetchZones, ModifyZones, ModifyRecords, FetchRecords, QueryRecords,
                             FetchDatabaseChanges, FetchZoneChanges, SaveSubscription, FetchSubscriptions,
                             DeleteSubscription, FetchShareMetadata, AcceptShares>;
using Answer = std::variant<CKError, Done, SignedIn, Account, Devices, Zones, ModifiedZones, ModifiedRecords,
                            FetchedRecords, QueriedRecords, DatabaseChanges, ZoneChanges, SavedSubscription,
                            Subscriptions, ShareMetadataAnswer, AcceptedShares>;

}  // namespace zun::cloud
