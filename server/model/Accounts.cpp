// Accounts and their devices.

#include <algorithm>

#include "server/model/Operations.h"
#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

constexpr std::size_t shortestPassword = 8, longestPassword = 1'024, longestText = 255, longestName = 64;

std::string freshText(RequestWork& work, std::size_t bytes) {
    return asText(work.facts.random.bytes(bytes));
}

void useInvitation(RequestWork& work, const std::string& code) {
    const auto row = hashSecret(code);
    const auto invitation = work.rows.get({}, Table::Invitation, row);
    if (code.empty() || !invitation || RowReader(*invitation).date() < work.now)
        refuse(CKErrorCode::PermissionFailure, "this service takes new accounts by invitation only");
    work.rows.erase({}, Table::Invitation, row);
}

}  // namespace

std::string accountNameOf(std::string_view text) {
    std::string name;
    for (const char character : text) {
        const bool isUpper = character >= 'A' && character <= 'Z';
        const bool isPlain = (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
        if (!isUpper && !isPlain && std::string_view("._-@+").find(character) == std::string_view::npos)
            refuse(CKErrorCode::InvalidArguments, "a name consists of letters, digits and . _ - @ +");
        name.push_back(isUpper ? static_cast<char>(character - 'A' + 'a') : character);
    }
    if (name.empty() || name.size() > longestName)
        refuse(CKErrorCode::InvalidArguments, "a name has 1 to 64 characters");
    return name;
}

void checkPassword(std::string_view password) {
    if (password.size() < shortestPassword || password.size() > longestPassword)
        refuse(CKErrorCode::InvalidArguments, "a password has 8 to 1024 bytes");
}

std::optional<std::string> accountIDOfName(Transaction& rows, std::string_view name) {
    return rows.get({}, Table::AccountName, name);
}

AccountState& makeAccount(RequestWork& work, const CreateAccount& request, const std::string& passwordHash) {
    // One at a time, so that a name cannot be taken twice nor an invitation be used twice.
    (void)work.rows.getForUpdate({}, Table::Service, {});
    const auto name = accountNameOf(request.name);
    if (request.displayName.size() > longestText || request.emailAddress.size() > longestText)
        refuse(CKErrorCode::InvalidArguments, "a text of the account is too long");
    if (accountIDOfName(work.rows, name)) refuse(CKErrorCode::ConstraintViolation, "this name is taken");
    AccountState state;
    state.id = "u" + freshText(work, 12);
    state.name = name;
    state.displayName = request.displayName.empty() ? request.name : request.displayName;
    state.emailAddress = request.emailAddress;
    state.passwordHash = passwordHash;
    state.created = work.now;
    auto& account = work.addAccount(std::move(state));
    account.addZone(DatabaseScope::Private, {}, std::string(CKRecordZoneDefaultName), work.now);
    work.rows.put({}, Table::AccountName, name, account.id);
    return account;
}

Answer createAccount(RequestWork& work, const CreateAccount& request, const std::string& passwordHash) {
    (void)work.rows.getForUpdate({}, Table::Service, {});
    switch (work.facts.options.registration) {
        case Registration::Open:
            break;
        case Registration::Invite:
            useInvitation(work, request.invitation);
            break;
        case Registration::Closed:
            refuse(CKErrorCode::PermissionFailure, "this service takes no new accounts");
    }
    return addDevice(work, makeAccount(work, request, passwordHash), request.deviceName);
}

SignedIn addDevice(RequestWork& work, AccountState& account, const std::string& deviceName) {
    if (deviceName.size() > longestText) refuse(CKErrorCode::InvalidArguments, "the name of the device is too long");
    if (account.devices.size() >= work.facts.options.limits.devicesPerAccount)
        refuse(CKErrorCode::LimitExceeded, "too many devices are signed in; sign out one of them first");
    const auto secret = freshText(work, 24);
    auto& device = account.devices.emplace_back();
    device = {freshText(work, 9), deviceName, hashSecret(secret), work.now, work.now};
    return {account.id,           account.name, account.displayName,
            account.emailAddress, device.id,    account.id + "." + device.id + "." + secret,
            work.facts.epoch};
}

Answer fetchAccount(RequestWork& work) {
    const auto& me = work.me();
    return Account{me.id,
                   me.name,
                   me.displayName,
                   me.emailAddress,
                   work.facts.epoch,
                   me.usedBytes,
                   work.facts.options.limits.bytesPerAccount};
}

Answer fetchDevices(RequestWork& work) {
    Devices answer;
    for (const auto& device : work.me().devices)
        answer.devices.push_back(
            {device.id, device.name, device.signedIn, device.lastSeen, device.id == work.deviceID});
    return answer;
}

Answer removeDevice(RequestWork& work, const std::string& deviceID) {
    auto& me = work.me();
    const auto* device = me.device(deviceID);
    if (!device) refuse(CKErrorCode::UnknownItem, "no such device");
    const auto name = device->id;
    work.rows.erasePrefix(me.id, Table::Push, name);
    work.rows.erase(me.id, Table::ExpiredToken, name);
    std::erase_if(me.devices, [&](const DeviceState& each) { return each.id == name; });
    work.rows.wake(me.id);
    return Done{};
}

void deleteAccount(RequestWork& work, const std::string& id) {
    leaveAllShares(work, id);
    stopAllShares(work, id);
    auto& account = work.account(id);
    work.rows.erase({}, Table::AccountName, account.name);
    for (auto table :
         {Table::Record, Table::Feed, Table::Grave, Table::Visible, Table::Push, Table::ExpiredToken, Table::Account})
        work.rows.erasePrefix(id, table, {});
    work.rows.wake(id);
    work.forgetAccount(id);
}

}  // namespace zun::cloud
