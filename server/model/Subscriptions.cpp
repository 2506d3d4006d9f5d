// What an account's devices want to be told.

#include <algorithm>

#include "server/model/Operations.h"
#include "server/model/Secrets.h"

namespace zun::cloud {
namespace {

constexpr std::uint64_t allOptions = 7;
constexpr std::size_t longestText = 255, mostKeys = 100;

void check(const SaveSubscription& request) {
    const auto& wanted = request.subscription;
    bool isGood = wanted.subscriptionID.size() <= longestText && wanted.desiredKeys.size() <= mostKeys;
    for (const auto& key : wanted.desiredKeys)
        isGood = isGood && key.size() <= longestText;
    switch (wanted.kind) {
        case CKSubscriptionData::Kind::Query:
            isGood = isGood && request.database == DatabaseScope::Private && !wanted.recordType.empty() &&
                     wanted.recordType.size() <= longestText && wanted.options > 0 && wanted.options <= allOptions;
            break;
        case CKSubscriptionData::Kind::Database:
            isGood = isGood && wanted.recordType.empty() && wanted.options == 0;
            break;
        default:
            isGood = false;
    }
    if (!isGood) refuse(CKErrorCode::InvalidArguments, "this cannot be subscribed to");
}

bool isSame(const CKSubscriptionData& left, const CKSubscriptionData& right) {
    if (left.subscriptionID == right.subscriptionID) return true;
    return left.kind == right.kind && left.recordType == right.recordType && left.options == right.options;
}

}  // namespace

Answer saveSubscription(RequestWork& work, const SaveSubscription& request) {
    check(request);
    auto& subscriptions = work.me().database(request.database).subscriptions;
    for (const auto& known : subscriptions) {
        if (isSame(known, request.subscription))
            refuse(CKErrorCode::ServerRejectedRequest, "subscription is duplicate of '" + known.subscriptionID + "'");
    }
    if (subscriptions.size() >= work.facts.options.limits.subscriptionsPerAccount)
        refuse(CKErrorCode::LimitExceeded, "too many subscriptions");
    auto saved = request.subscription;
    if (saved.subscriptionID.empty()) saved.subscriptionID = asText(work.facts.random.bytes(12));
    subscriptions.push_back(saved);
    return SavedSubscription{std::move(saved)};
}

Answer fetchSubscriptions(RequestWork& work, const FetchSubscriptions& request) {
    return Subscriptions{work.me().database(request.database).subscriptions};
}

Answer deleteSubscription(RequestWork& work, const DeleteSubscription& request) {
    auto& subscriptions = work.me().database(request.database).subscriptions;
    if (std::erase_if(subscriptions, [&](const auto& each) { return each.subscriptionID == request.subscriptionID; }) ==
        0)
        refuse(CKErrorCode::UnknownItem, "no such subscription");
    return Done{};
}

}  // namespace zun::cloud
