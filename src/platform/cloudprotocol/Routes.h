#pragma once

// Where each request goes and what answers it, in the order of the alternatives of Request.

#include <string_view>
#include <tuple>

#include "platform/cloudprotocol/Messages.h"

namespace zun::cloud {

template <class RequestType, class AnswerType>
struct Route {
    using Asks = RequestType;
    using Answers = AnswerType;
    std::string_view path;
};

inline constexpr std::tuple routes{
    Route<CreateAccount, SignedIn>{"account/create"},
    Route<SignIn, SignedIn>{"account/sign-in"},
    Route<SignOut, Done>{"account/sign-out"},
    Route<FetchAccount, Account>{"account/fetch"},
    Route<ChangePassword, Done>{"account/change-password"},
    Route<FetchDevices, Devices>{"account/devices"},
    Route<RevokeDevice, Done>{"account/revoke-device"},
    Route<DeleteAccount, Done>{"account/delete"},
    Route<FetchZones, Zones>{"zones/fetch"},
    Route<ModifyZones, ModifiedZones>{"zones/modify"},
    Route<ModifyRecords, ModifiedRecords>{"records/modify"},
    Route<FetchRecords, FetchedRecords>{"records/fetch"},
    Route<QueryRecords, QueriedRecords>{"records/query"},
    Route<FetchDatabaseChanges, DatabaseChanges>{"changes/database"},
    Route<FetchZoneChanges, ZoneChanges>{"changes/zones"},
    Route<SaveSubscription, SavedSubscription>{"subscriptions/save"},
    Route<FetchSubscriptions, Subscriptions>{"subscriptions/fetch"},
    Route<DeleteSubscription, Done>{"subscriptions/delete"},
    Route<FetchShareMetadata, ShareMetadataAnswer>{"shares/metadata"},
    Route<AcceptShares, AcceptedShares>{"shares/accept"},
};

template <std::size_t... Index>
constexpr bool isInOrderOfRequests(std::index_sequence<Index...>) {
    using Routes = std::remove_const_t<decltype(routes)>;
    return (std::is_same_v<typename std::tuple_element_t<Index, Routes>::Asks,
                           std::variant_alternative_t<Index, Request>> &&
            ...);
}
static_assert(std::tuple_size_v<decltype(routes)> == std::variant_size_v<Request>);
static_assert(isInOrderOfRequests(std::make_index_sequence<std::variant_size_v<Request>>()));

// Calls the block with the route of the request.
template <class Block>
constexpr void withRoute(const Request& request, Block block) {
    std::apply(
        [&](const auto&... route) {
            const auto tryRoute = [&]<class Asks, class Answers>(const Route<Asks, Answers>& one) {
                if (std::holds_alternative<Asks>(request)) block(one);
            };
            (tryRoute(route), ...);
        },
        routes);
}

}  // namespace zun::cloud
