#pragma once

// The commands of zunctl about the account and the sync. They may wait for the service and for the keyring.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "account/AccountClient.h"
#include "commands/CommandContext.h"
#include "commands/SyncFailureFile.h"
#include "platform/cloudkit/ServiceCertificate.h"
#include "sync/SyncJournal.h"

namespace zun {

// How a password is come by: from standard input, whoever is there, or asked of the person at the terminal, once or,
// where a slip would lock them out, twice.
enum class PasswordEntry { StandardInput, Asked, AskedTwice };
enum class NoPassword { Missing, TwoDifferent };
using PasswordAnswer = std::variant<std::string, NoPassword>;

// What these commands work with beside the store; made only for them, since it costs other commands their start.
struct CloudAccess {
    AccountKeeper& keeper;
    AccountClient& client;
    ZNSettingsObject& settings;
    Dispatch& dispatch;
    std::string deviceName;       // of this computer, where the person gives none
    SyncFailureFile failureFile;  // of the last sync that was asked for here
    // By the running application if there is one, else here.
    std::function<void(SyncJournal::Block)> sync;
    std::function<PasswordAnswer(PasswordEntry)> readPassword;
    // What the service shows of itself; absent if it cannot be seen.
    std::function<std::optional<ServiceCertificate>(const std::string& URL)> certificate;
    // Of the store; absent if there is none.
    std::function<std::optional<std::filesystem::path>()> newestBackup;
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
int devicesCommand(CommandContext& context, CloudAccess& cloud);
// By its number in the list of the devices.
int revokeDeviceCommand(CommandContext& context, CloudAccess& cloud, std::size_t number);
int cloudSwitchCommand(CommandContext& context, CloudAccess& cloud, bool isOn);
int syncCommand(CommandContext& context, CloudAccess& cloud);
// What the sync replaced or deleted within the last thirty days.
int conflictsCommand(CommandContext& context);
int restoreConflictCommand(CommandContext& context, std::int64_t number);

// Says more where an encrypted connection failed: what the service shows instead of what is accepted.
void explainConnection(CommandContext& context, const CloudAccess& cloud, const ServiceAddress& service,
                       const OptionalError& error);

}  // namespace zun
