#pragma once

// The commands of zunctl about the account and the sync. They may wait for the service and for the keyring.

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "account/AccountClient.h"
#include "commands/CommandContext.h"
#include "sync/SyncJournal.h"

namespace zun {

// What these commands work with beside the store; made only for them, since it costs other commands their start.
struct CloudAccess {
    AccountKeeper& keeper;
    AccountClient& client;
    ZNSettingsObject& settings;
    Dispatch& dispatch;
    std::string deviceName;  // of this computer, where the person gives none
    // By the running application if there is one, else here.
    std::function<void(SyncJournal::Block)> sync;
    // Absent if there is none to read. Asks the person at the terminal unless it is to come from standard input.
    std::function<std::optional<std::string>(bool fromStandardInput)> readPassword;
    // What the service shows of itself, where nobody vouches for it; absent if it cannot be seen.
    std::function<std::optional<std::string>(const std::string& URL)> untrustedFingerprint;
};
using CloudCommand = std::function<int(CommandContext&, CloudAccess&)>;

struct AccountOptions {
    std::string service, name, displayName, emailAddress, invitation, deviceName, fingerprint;
    bool readsPassword = false;  // from standard input, whoever is there
};

int createAccountCommand(CommandContext& context, CloudAccess& cloud, const AccountOptions& options);
int loginCommand(CommandContext& context, CloudAccess& cloud, const AccountOptions& options);
int logoutCommand(CommandContext& context, CloudAccess& cloud);
int accountStatusCommand(CommandContext& context, CloudAccess& cloud);
int cloudSwitchCommand(CommandContext& context, CloudAccess& cloud, bool isOn);
int syncCommand(CommandContext& context, CloudAccess& cloud);
// What the sync replaced or deleted within the last thirty days.
int conflictsCommand(CommandContext& context);
int restoreConflictCommand(CommandContext& context, std::int64_t number);

// What an error of the service means to a person, a sentence in English.
[[nodiscard]] std::string sentenceAbout(const CKError& error);

}  // namespace zun
