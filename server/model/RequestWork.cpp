#include "server/model/RequestWork.h"

#include <algorithm>

#include "platform/cloudprotocol/MessageCodec.h"
#include "server/model/DeviceToken.h"
#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"

namespace zun::cloud {
namespace {

constexpr auto lastSeenPrecision = std::chrono::minutes(10);
// How many old deletions are cleared away by each new one.
constexpr std::size_t gravesPerChange = 8;

bool isAsked(const CKSubscriptionData& subscription, const RequestWork::Change& change) {
    const std::uint64_t option = change.reason == Push::Reason::Created   ? 1
                                 : change.reason == Push::Reason::Updated ? 2
                                                                          : 4;
    return subscription.kind == CKSubscriptionData::Kind::Query && subscription.recordType == change.recordType &&
           (subscription.options & option) != 0;
}

}  // namespace

CKError makeError(CKErrorCode code, std::string description) {
    return {code, std::move(description), {}};
}

void refuse(CKErrorCode code, std::string description) {
    throw RequestRefused{makeError(code, std::move(description))};
}

CKError noSuchRecord() {
    return makeError(CKErrorCode::UnknownItem, "record not found");
}

CKError noSuchZone() {
    return makeError(CKErrorCode::ZoneNotFound, "zone not found");
}

std::string pushRow(std::string_view deviceID, std::uint64_t number) {
    return std::string(deviceID) + orderedNumber(number);
}

void RequestWork::authenticate(std::string_view deviceToken) {
    const auto token = DeviceToken::read(deviceToken);
    if (!token) refuse(CKErrorCode::NotAuthenticated, "not signed in");
    accountID = token->accountID;
    deviceID = token->deviceID;
    epochOfAsker = token->epoch;
    auto* state = findAccount(accountID);
    auto* device = state ? state->device(deviceID) : nullptr;
    if (!device || state->isDisabled || !equalSecrets(device->secretHash, hashSecret(token->secret)))
        refuse(CKErrorCode::NotAuthenticated, "not signed in");
    if (access == Access::Write && now - device->lastSeen > lastSeenPrecision) device->lastSeen = now;
}

void RequestWork::requireThisEpoch() const {
    if (!epochOfAsker.empty() && epochOfAsker != facts.epoch)
        refuse(CKErrorCode::ChangeTokenExpired, "the service was restored from a backup");
}

AccountState* RequestWork::findAccount(const std::string& id) {
    auto found = _accounts.find(id);
    if (found != _accounts.end()) return &found->second.state;
    auto row = access == Access::Write ? rows.getForUpdate(id, Table::Account, {}) : rows.get(id, Table::Account, {});
    if (!row) return nullptr;
    auto state = decodeAccount(*row);
    return &_accounts.emplace(id, Loaded{std::move(state), std::move(*row)}).first->second.state;
}

AccountState& RequestWork::account(const std::string& id) {
    if (auto* found = findAccount(id)) return *found;
    throw StorageFailure("an account is missing");
}

AccountState& RequestWork::addAccount(AccountState state) {
    auto id = state.id;
    return _accounts.insert_or_assign(std::move(id), Loaded{std::move(state), {}}).first->second.state;
}

void RequestWork::forgetAccount(const std::string& id) {
    _accounts.erase(id);
    std::erase_if(_changes, [&](const auto& change) { return change.first.first == id; });
}

std::optional<ZoneView> RequestWork::findZone(DatabaseScope scope, const CKRecordZoneID& zoneID) {
    const bool isOwn = zoneID.ownerName == CKCurrentUserDefaultName || zoneID.ownerName == accountID;
    if (isOwn != (scope == DatabaseScope::Private)) return std::nullopt;
    const std::string owner = isOwn ? std::string() : zoneID.ownerName;
    const auto* zone = me().database(scope).zone(owner, zoneID.zoneName);
    if (!zone || zone->isDeleted) return std::nullopt;
    if (isOwn)
        return ZoneView{scope, zone->incarnation, accountID, zone->incarnation,
                        zoneID.zoneName == CKRecordZoneDefaultName};
    auto* sharer = findAccount(owner);
    const auto* source = sharer ? sharer->privateDatabase.zone({}, zoneID.zoneName) : nullptr;
    if (!source || source->isDeleted) return std::nullopt;
    return ZoneView{scope, zone->incarnation, owner, source->incarnation, false};
}

std::uint64_t RequestWork::appendToFeed(const std::string& viewerID, DatabaseScope scope, std::uint64_t incarnation,
                                        std::uint64_t former, const FeedEntry& entry) {
    auto& database = account(viewerID).database(scope);
    auto& zone = *database.incarnation(incarnation);
    const auto sequence = ++zone.sequence;
    zone.databaseSequence = ++database.sequence;
    zone.changed = now;
    if (former > 0) {
        rows.erase(viewerID, Table::Feed, feedRow(incarnation, former));
        rows.erase(viewerID, Table::Grave, feedRow(incarnation, former));
    }
    rows.put(viewerID, Table::Feed, feedRow(incarnation, sequence), encodeEntry(entry));
    if (entry.isDeleted) {
        rows.put(viewerID, Table::Grave, feedRow(incarnation, sequence), RowWriter().date(now).take());
        forgetOldDeletions(viewerID, zone);
    }
    return sequence;
}

void RequestWork::forgetOldDeletions(const std::string& viewerID, ZoneState& zone) {
    std::vector<std::string> old;
    rows.scan(viewerID, Table::Grave, zonePrefix(zone.incarnation), {}, gravesPerChange,
              [&](std::string_view name, std::string_view value) {
                  if (now - RowReader(value).date() <= facts.options.limits.keepDeletions) return false;
                  old.emplace_back(name);
                  return true;
              });
    for (const auto& name : old) {
        zone.forgottenThrough = numberAtEnd(name);
        rows.erase(viewerID, Table::Feed, name);
        rows.erase(viewerID, Table::Grave, name);
    }
}

void RequestWork::forgetOldZones(AccountState& state) {
    for (auto scope : {DatabaseScope::Private, DatabaseScope::Shared}) {
        auto& database = state.database(scope);
        std::erase_if(database.zones, [&](const ZoneState& zone) {
            const bool isOld = zone.isDeleted && now - zone.changed > facts.options.limits.keepDeletions;
            if (isOld) database.forgottenThrough = std::max(database.forgottenThrough, zone.databaseSequence);
            return isOld;
        });
        forgetSurplusZones(database);
    }
}

// Whoever makes and deletes zones all day long must not make the account's row longer with each of them.
void RequestWork::forgetSurplusZones(DatabaseState& database) const {
    const auto isDeleted = [](const ZoneState& zone) { return zone.isDeleted; };
    auto deleted = static_cast<std::size_t>(std::count_if(database.zones.begin(), database.zones.end(), isDeleted));
    for (; deleted > facts.options.limits.zonesPerAccount; --deleted) {
        const auto oldest = std::min_element(database.zones.begin(), database.zones.end(),
                                             [](const ZoneState& left, const ZoneState& right) {
                                                 return std::pair(!left.isDeleted, left.databaseSequence) <
                                                        std::pair(!right.isDeleted, right.databaseSequence);
                                             });
        database.forgottenThrough = std::max(database.forgottenThrough, oldest->databaseSequence);
        database.zones.erase(oldest);
    }
}

void RequestWork::finish() {
    for (const auto& [where, changes] : _changes)
        pushChanges(account(where.first), where.second, changes);
    if (access == Access::Read) return;
    for (auto& [id, loaded] : _accounts) {
        forgetOldZones(loaded.state);
        auto row = encodeAccount(loaded.state);
        if (row != loaded.row) rows.put(id, Table::Account, {}, std::move(row));
    }
}

// One changed record is named; after many, the receiver had better look for itself.
void RequestWork::pushChanges(AccountState& state, DatabaseScope scope, const Changes& changes) {
    const bool canName = changes.list.size() == 1 && !changes.areMany;
    bool isAnythingAsked = false;
    for (const auto& subscription : state.database(scope).subscriptions) {
        const bool isAskedFor =
            changes.areMany || std::any_of(changes.list.begin(), changes.list.end(),
                                           [&](const Change& each) { return isAsked(subscription, each); });
        Push news;
        news.subscriptionID = subscription.subscriptionID;
        if (subscription.kind == CKSubscriptionData::Kind::Database) {
            news.kind = Push::Kind::Database;
            push(state, std::move(news));
        } else if (canName && isAskedFor) {
            news.kind = Push::Kind::Query;
            news.recordID = changes.list.front().recordID;
            news.reason = changes.list.front().reason;
            push(state, std::move(news));
        } else if (isAskedFor) {
            isAnythingAsked = true;
        }
    }
    if (isAnythingAsked) push(state, Push{});
}

void RequestWork::push(AccountState& state, Push news) {
    bool isAnybodyThere = false;
    for (auto& device : state.devices) {
        if (state.id == accountID && device.id == deviceID) continue;
        isAnybodyThere = true;
        news.number = ++device.lastPush;
        rows.put(state.id, Table::Push, pushRow(device.id, news.number), encode(news));
        for (; device.lastPush - device.firstPushKept >= facts.options.limits.pushesKept; ++device.firstPushKept)
            rows.erase(state.id, Table::Push, pushRow(device.id, device.firstPushKept));
        ++pushes;
    }
    if (isAnybodyThere) rows.wake(state.id);
}

}  // namespace zun::cloud
