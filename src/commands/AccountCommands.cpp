#include <fmt/format.h>

#include <algorithm>
#include <boost/json.hpp>

#include "commands/Await.h"
#include "commands/CloudCommands.h"
#include "commands/CloudSentences.h"
#include "commands/TerminalText.h"
#include "platform/foundation/ISO8601.h"

namespace zun {
namespace {

namespace json = boost::json;

OptionalError awaitDone(CloudAccess& cloud, const std::function<void(AccountClient::Done)>& start) {
    return await<OptionalError>(cloud, start);
}

std::string placeOf(const AccountKeeper::State& state) {
    if (!state.secretPlace) return "The keyring does not give the sign-in: sign in again.";
    return *state.secretPlace == SecretPlace::SecretService ? "The sign-in is kept in the keyring."
                                                            : "The sign-in is kept in a file that only you can read.";
}

json::value jsonOfPlace(const std::optional<SecretPlace>& place) {
    if (!place) return nullptr;
    return *place == SecretPlace::SecretService ? "keyring" : "file";
}

int failWithout(CommandContext& context, NoPassword why) {
    return context.fail(why == NoPassword::TwoDifferent ? "The two passwords differ." : "There was no password.");
}

// Another account has not seen what is here: it is taken away from this computer if it was the former account's, and
// else goes up.
class RemindersOfBefore {
  public:
    RemindersOfBefore(CommandContext& context, CloudAccess& cloud)
        : _context(context),
          _cloud(cloud),
          _count(context.manager.numberOfTotalReminders()),
          _holder(cloud.settings.defaults().onGetIdentityOfSentReminders().value_or(Bytes())),
          _newestBackup(cloud.newestBackup()) {}

    void sayWhatBecameOfThem() {
        const auto account = _cloud.keeper.state().account;
        if (_count == 0 || !account || isHeldBy(account->accountID)) return;
        _context.manager.waitUntilSettled();
        const auto left = _context.manager.numberOfTotalReminders();
        const auto backup = _cloud.newestBackup();
        if (left == 0 && backup && backup != _newestBackup) {
            _context.fail("This is another account: what this computer had of the former one, " +
                          counted(_count, "reminder", "reminders") + ", was taken away from it. A backup is in " +
                          backup->string() + "; to add it to this account: zunctl import " + backup->string());
        } else if (left > 0) {
            _context.fail("What this computer has, " + counted(left, "reminder", "reminders") +
                          ", will go up into this account with the next sync.");
        }
    }

  private:
    // The account's identifier stands before the epoch of its service.
    [[nodiscard]] bool isHeldBy(const std::string& accountID) const {
        return _holder.size() >= accountID.size() && std::equal(accountID.begin(), accountID.end(), _holder.begin());
    }

    CommandContext& _context;
    CloudAccess& _cloud;
    const std::size_t _count;
    const Bytes _holder;
    const std::optional<std::filesystem::path> _newestBackup;
};

using Entering = std::function<void(ServiceAddress, const std::string& password, AccountClient::Done)>;

int enter(CommandContext& context, CloudAccess& cloud, const AccountOptions& options, CloudStep step,
          const Entering& start) {
    const auto url = AccountClient::serviceURL(options.service);
    if (!url) return context.fail(sentenceAboutAddress(options.service), ExitStatus::wrongUsage);
    const auto fingerprint = fingerprintFrom(options.fingerprint);
    if (!fingerprint && !options.fingerprint.empty())
        return context.fail(
            "\"" + options.fingerprint +
                "\" is no SHA-256 fingerprint, which has 64 hexadecimal digits, with or without colons.",
            ExitStatus::wrongUsage);
    const auto typed = cloud.readPassword(options.readsPassword          ? PasswordEntry::StandardInput
                                          : step == CloudStep::SigningIn ? PasswordEntry::Asked
                                                                         : PasswordEntry::AskedTwice);
    if (const auto* why = std::get_if<NoPassword>(&typed)) return failWithout(context, *why);
    const auto& password = std::get<std::string>(typed);
    if (password.empty()) return failWithout(context, NoPassword::Missing);
    const ServiceAddress service{*url, fingerprint.value_or("")};
    // With it a former sign-in can be ended.
    cloud.keeper.waitForSecret();
    RemindersOfBefore reminders(context, cloud);
    if (const auto error = awaitDone(cloud, [&](auto done) { start(service, password, std::move(done)); })) {
        context.fail(sentenceAbout(*error, step));
        explainConnection(context, cloud, service, error);
        return ExitStatus::notPossible;
    }
    cloud.failureFile.remove();
    await<bool>(cloud, [&](auto done) { cloud.client.whenFormerHaveEnded([done] { done(true); }); });
    reminders.sayWhatBecameOfThem();
    cloud.settings.setShouldUseCloudKit(true);
    cloud.settings.save();
    return accountStatusCommand(context, cloud);
}

const std::string& deviceName(const CloudAccess& cloud, const AccountOptions& options) {
    return options.deviceName.empty() ? cloud.deviceName : options.deviceName;
}

// What is known of the last sync that was asked for here, unless one has gone well since.
std::optional<SyncFailure> lastFailure(const CloudAccess& cloud, const OptionalDate& lastGood) {
    auto failure = cloud.failureFile.read();
    if (failure && lastGood && *lastGood >= failure->date) failure.reset();
    return failure;
}

struct FetchedDevices {
    std::vector<cloud::Device> list;
    OptionalError error;
};

// With a sentence if there is an error.
FetchedDevices fetchDevices(CommandContext& context, CloudAccess& cloud) {
    cloud.keeper.waitForSecret();
    auto fetched = await<FetchedDevices>(cloud, [&](auto done) {
        cloud.client.fetchDevices([done](const std::vector<cloud::Device>& list, const OptionalError& error) {
            done({list, error});
        });
    });
    if (!fetched.error) return fetched;
    if (cloud.keeper.state().secretPlace)
        context.fail(sentenceAbout(*fetched.error));
    else
        context.fail(cloud.keeper.state().account ? placeOf(cloud.keeper.state()) : "Nobody is signed in.");
    return fetched;
}

}  // namespace

int createAccountCommand(CommandContext& context, CloudAccess& cloud, const AccountOptions& options) {
    const auto step = options.invitation.empty() ? CloudStep::Creating : CloudStep::CreatingWithInvitation;
    return enter(context, cloud, options, step, [&](ServiceAddress service, const std::string& password, auto done) {
        const auto& shownName = options.displayName.empty() ? options.name : options.displayName;
        cloud.client.createAccount(
            std::move(service),
            {options.name, shownName, options.emailAddress, password, options.invitation, deviceName(cloud, options)},
            std::move(done));
    });
}

int loginCommand(CommandContext& context, CloudAccess& cloud, const AccountOptions& options) {
    const auto signIn = [&](ServiceAddress service, const std::string& password, auto done) {
        cloud.client.signIn(std::move(service), {options.name, password, deviceName(cloud, options)}, std::move(done));
    };
    return enter(context, cloud, options, CloudStep::SigningIn, signIn);
}

int logoutCommand(CommandContext& context, CloudAccess& cloud) {
    cloud.keeper.waitForSecret();
    if (!cloud.keeper.state().account) return context.fail("Nobody is signed in.");
    const auto error = awaitDone(cloud, [&](auto done) { cloud.client.signOut(std::move(done)); });
    cloud.failureFile.remove();
    // Here it is done either way.
    if (error) context.fail("Signed out here. " + sentenceAbout(*error) + " There this device stays on the list.");
    return ExitStatus::done;
}

int accountStatusCommand(CommandContext& context, CloudAccess& cloud) {
    cloud.keeper.waitForSecret();
    const auto state = cloud.keeper.state();
    const bool isOn = cloud.settings.onGetCloudKitStatus();
    const auto last = cloud.settings.defaults().onGetLastSyncDate();
    const auto failure = state.account ? lastFailure(cloud, last) : std::nullopt;
    const auto waiting = context.manager.numberOfRemindersToSend();
    if (context.json) {
        json::object object{{"signedIn", state.account && state.secretPlace}, {"cloud", isOn}, {"waiting", waiting}};
        if (state.account) {
            object["service"] = state.account->serviceURL;
            object["name"] = state.account->name;
            object["displayName"] = state.account->displayName;
            object["secretPlace"] = jsonOfPlace(state.secretPlace);
        }
        object["lastSync"] = last ? json::value(iso8601FromDate(*last)) : json::value(nullptr);
        object["lastError"] = failure ? json::value(failure->sentence) : json::value(nullptr);
        object["lastErrorDate"] = failure ? json::value(iso8601FromDate(failure->date)) : json::value(nullptr);
        context.printJSON(object);
        return ExitStatus::done;
    }
    if (!state.account) {
        context.print("Nobody is signed in.");
    } else {
        context.print(fmt::format("Signed in as {} at {}.", terminalLine(state.account->name),
                                  terminalLine(state.account->serviceURL)));
        context.print(placeOf(state));
    }
    context.print(isOn ? "Sync is on." : "Sync is off.");
    context.print("Last good sync: " + (last ? context.labels.dateAsRelativeString(*last) : std::string("never")) +
                  ".");
    if (failure)
        context.print("Last error, " + context.labels.dateAsRelativeString(failure->date) + ": " +
                      terminalLine(failure->sentence));
    context.print(counted(waiting, "reminder waits", "reminders wait") + " to be sent.");
    return ExitStatus::done;
}

int devicesCommand(CommandContext& context, CloudAccess& cloud) {
    const auto fetched = fetchDevices(context, cloud);
    if (fetched.error) return ExitStatus::notPossible;
    json::array array;
    std::size_t number = 0;
    for (const auto& device : fetched.list) {
        ++number;
        if (context.json) {
            array.push_back(json::object{{"number", number},
                                         {"name", device.name},
                                         {"signedIn", iso8601FromDate(device.signedIn)},
                                         {"lastSeen", iso8601FromDate(device.lastSeen)},
                                         {"isThisOne", device.isThisOne}});
            continue;
        }
        context.print(fmt::format("{}  {}  (signed in {}, last seen {}){}", number, terminalLine(device.name),
                                  context.labels.dateAsRelativeString(device.signedIn),
                                  context.labels.dateAsRelativeString(device.lastSeen),
                                  device.isThisOne ? "  this one" : ""));
    }
    if (context.json) context.printJSON(array);
    return ExitStatus::done;
}

int revokeDeviceCommand(CommandContext& context, CloudAccess& cloud, std::size_t number) {
    const auto fetched = fetchDevices(context, cloud);
    if (fetched.error) return ExitStatus::notPossible;
    if (number > fetched.list.size()) return context.fail(fmt::format("There is no device {}.", number));
    const auto& device = fetched.list[number - 1];
    if (device.isThisOne) return context.fail("That is this device: zunctl account logout.");
    const auto revoke = [&](auto done) { cloud.client.revokeDevice(device.deviceID, std::move(done)); };
    if (const auto error = awaitDone(cloud, revoke)) return context.fail(sentenceAbout(*error));
    if (context.json)
        context.printJSON(json::object{{"revoked", device.name}});
    else
        context.print("Signed out: " + terminalLine(device.name));
    return ExitStatus::done;
}

}  // namespace zun
