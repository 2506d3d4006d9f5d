#pragma once

// Signing in and out, the account and its devices. See Messages.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/foundation/NSDate.h"

namespace zun::cloud {

struct CreateAccount {
    std::string name, displayName, emailAddress, password, invitation, deviceName;
};
struct SignIn {
    std::string name, password, deviceName;
};
// The answer to both.
struct SignedIn {
    std::string accountID, name, displayName, emailAddress;
    std::string deviceID;
    std::string deviceToken;  // the secret of this device; goes into the header Authorization: Bearer
    std::string serviceEpoch = {};
};
struct SignOut {};  // revokes the device that asks
struct FetchAccount {};
struct Account {
    std::string accountID, name, displayName, emailAddress;
    std::string serviceEpoch;  // another one after the service was restored from a backup
    std::uint64_t usedBytes = 0, quotaBytes = 0;
};
struct ChangePassword {
    std::string oldPassword, newPassword;
};
struct FetchDevices {};
struct Device {
    std::string deviceID, name;
    NSDate signedIn, lastSeen;
    bool isThisOne = false;
};
struct Devices {
    std::vector<Device> devices;
};
struct RevokeDevice {
    std::string deviceID;
};
struct DeleteAccount {
    std::string password;
};
struct Done {};

}  // namespace zun::cloud
