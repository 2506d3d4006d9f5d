#include "server/model/AccountState.h"

#include <algorithm>

#include "server/model/RowCoding.h"

namespace zun::cloud {
namespace {

constexpr std::uint64_t format = 1;

void write(RowWriter& row, const DeviceState& device) {
    row.text(device.id).text(device.name).text(device.secretHash).date(device.signedIn).date(device.lastSeen);
    row.number(device.lastPush).number(device.firstPushKept);
}

DeviceState readDevice(RowReader& row) {
    DeviceState device{row.string(), row.string(), row.string(), row.date(), row.date()};
    device.lastPush = row.number();
    device.firstPushKept = row.number();
    return device;
}

void write(RowWriter& row, const DatabaseState& database) {
    row.number(database.sequence).number(database.forgottenThrough).number(database.zones.size());
    for (const auto& zone : database.zones) {
        row.number(zone.incarnation).text(zone.ownerID).text(zone.name).number(zone.sequence);
        row.number(zone.databaseSequence).number(zone.forgottenThrough).flag(zone.isDeleted).date(zone.changed);
    }
    row.number(database.subscriptions.size());
    for (const auto& subscription : database.subscriptions) {
        row.text(subscription.subscriptionID).number(static_cast<std::uint64_t>(subscription.kind));
        row.text(subscription.recordType).number(subscription.options).number(subscription.desiredKeys.size());
        for (const auto& key : subscription.desiredKeys)
            row.text(key);
        row.flag(subscription.shouldSendContentAvailable);
    }
}

DatabaseState readDatabase(RowReader& row) {
    DatabaseState database{row.number(), row.number(), {}, {}};
    for (auto left = row.number(); left > 0; --left) {
        ZoneState zone{row.number(), row.string(), row.string(), row.number(),
                       row.number(), row.number(), row.flag(),   row.date()};
        database.zones.push_back(std::move(zone));
    }
    for (auto left = row.number(); left > 0; --left) {
        CKSubscriptionData subscription;
        subscription.subscriptionID = row.string();
        subscription.kind = static_cast<CKSubscriptionData::Kind>(row.number());
        subscription.recordType = row.string();
        subscription.options = row.number();
        for (auto keys = row.number(); keys > 0; --keys)
            subscription.desiredKeys.push_back(row.string());
        subscription.shouldSendContentAvailable = row.flag();
        database.subscriptions.push_back(std::move(subscription));
    }
    return database;
}

}  // namespace

ZoneState* DatabaseState::zone(std::string_view ownerID, std::string_view name) {
    auto found = std::find_if(zones.begin(), zones.end(),
                              [&](const ZoneState& zone) { return zone.name == name && zone.ownerID == ownerID; });
    return found == zones.end() ? nullptr : &*found;
}

ZoneState* DatabaseState::incarnation(std::uint64_t number) {
    auto found =
        std::find_if(zones.begin(), zones.end(), [&](const ZoneState& zone) { return zone.incarnation == number; });
    return found == zones.end() ? nullptr : &*found;
}

DeviceState* AccountState::device(std::string_view deviceID) {
    auto found =
        std::find_if(devices.begin(), devices.end(), [&](const DeviceState& each) { return each.id == deviceID; });
    return found == devices.end() ? nullptr : &*found;
}

ZoneState& AccountState::addZone(DatabaseScope scope, std::string ownerID, std::string zoneName, NSDate now) {
    auto& state = database(scope);
    auto* zone = state.zone(ownerID, zoneName);
    if (!zone) zone = &state.zones.emplace_back();
    *zone = ZoneState{++lastIncarnation, std::move(ownerID), std::move(zoneName), 0, ++state.sequence, 0, false, now};
    return *zone;
}

std::string encodeAccount(const AccountState& account) {
    RowWriter row;
    row.number(format).text(account.id).text(account.name).text(account.displayName).text(account.emailAddress);
    row.text(account.passwordHash).date(account.created).flag(account.isDisabled);
    row.number(account.lastIncarnation).number(account.usedBytes).number(account.devices.size());
    for (const auto& device : account.devices)
        write(row, device);
    write(row, account.privateDatabase);
    write(row, account.sharedDatabase);
    return row.take();
}

AccountState decodeAccount(std::string_view bytes) {
    RowReader row(bytes);
    if (row.number() != format) throw StorageFailure("an account was written by a newer version");
    AccountState account;
    for (auto* text : {&account.id, &account.name, &account.displayName, &account.emailAddress, &account.passwordHash})
        *text = row.string();
    account.created = row.date();
    account.isDisabled = row.flag();
    account.lastIncarnation = row.number();
    account.usedBytes = row.number();
    for (auto left = row.number(); left > 0; --left)
        account.devices.push_back(readDevice(row));
    account.privateDatabase = readDatabase(row);
    account.sharedDatabase = readDatabase(row);
    return account;
}

}  // namespace zun::cloud
