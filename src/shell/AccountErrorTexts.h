#pragma once

// What an error of the record service means to the person at the account window: whole sentences in their language.
// What one cannot do anything about names the error as well. Plain functions.

#include <string>

#include "platform/cloudprotocol/CKError.h"
#include "platform/foundation/LocalizedStrings.h"

namespace zun {

// What is under way with the account; one at a time.
enum class AccountWork {
    None,
    SigningIn,
    CreatingAccount,
    SigningOut,
    ChangingPassword,
    Exporting,
    DeletingAccount,
    SigningOutDevice,
    ReadingDevices,
    Syncing
};

[[nodiscard]] std::string accountErrorText(const CKError& error, AccountWork during, const LocalizedStrings& strings);

}  // namespace zun
