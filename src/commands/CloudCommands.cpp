#include "commands/CloudCommands.h"

#include <fmt/format.h>

#include <atomic>
#include <boost/json.hpp>

#include "platform/foundation/ISO8601.h"
#include "text/RecordJSON.h"

namespace zun {
namespace {

namespace json = boost::json;

// Starts what answers with an error or none, and waits for the answer.
OptionalError await(CloudAccess& cloud, const std::function<void(AccountClient::Done)>& start) {
    struct Answer {
        std::atomic<bool> isThere = false;
        OptionalError error;
    };
    const auto answer = std::make_shared<Answer>();
    start([answer, &dispatch = cloud.dispatch](const OptionalError& error) {
        answer->error = error;
        answer->isThere = true;
        dispatch.notify();
    });
    cloud.dispatch.waitUntil([answer] { return answer->isThere.load(); });
    return answer->error;
}

void switchSync(CloudAccess& cloud, bool isOn) {
    cloud.settings.setShouldUseCloudKit(isOn);
    cloud.settings.save();
}

std::string placeOf(const AccountKeeper::State& state) {
    if (!state.secretPlace) return "The keyring does not give the sign-in: sign in again.";
    return *state.secretPlace == SecretPlace::SecretService ? "The sign-in is kept in the keyring."
                                                            : "The sign-in is kept in a file that only you can read.";
}

int enter(CommandContext& context, CloudAccess& cloud, const AccountOptions& options,
          const std::function<void(ServiceAddress, const std::string& password, AccountClient::Done)>& start) {
    const auto url = AccountClient::serviceURL(options.service);
    if (!url)
        return context.fail("\"" + options.service + "\" is no address of a service. Try https://cloud.example.org.",
                            ExitStatus::wrongUsage);
    const auto password = cloud.readPassword(options.readsPassword);
    if (!password || password->empty()) return context.fail("There was no password.");
    const auto error = await(cloud, [&](auto done) { start({*url, options.fingerprint}, *password, std::move(done)); });
    if (!error) {
        switchSync(cloud, true);
        return accountStatusCommand(context, cloud);
    }
    context.fail(sentenceAbout(*error));
    if (!options.fingerprint.empty() || !url->starts_with("https://")) return ExitStatus::notPossible;
    if (const auto fingerprint = cloud.untrustedFingerprint(*url))
        context.fail(
            "No authority that this computer trusts vouches for the service. If its host tells you the same "
            "fingerprint, add: --trust " +
            *fingerprint);
    return ExitStatus::notPossible;
}

const std::string& deviceName(const CloudAccess& cloud, const AccountOptions& options) {
    return options.deviceName.empty() ? cloud.deviceName : options.deviceName;
}

std::string_view nameOf(KeptReason reason) {
    return reason == KeptReason::Replaced ? "replaced" : "deleted";
}

std::string_view sentenceAbout(SyncOutcome::Ending ending) {
    switch (ending) {
        case SyncOutcome::Ending::TimedOut:
            return "The sync took too long.";
        case SyncOutcome::Ending::Unreachable:
            return "The service cannot be reached.";
        case SyncOutcome::Ending::NobodySignedIn:
            return "Nobody is signed in: zunctl account login --service URL --name NAME.";
        case SyncOutcome::Ending::KeyringLocked:
            return "The keyring has not given the sign-in. Unlock it and try again, or sign in anew: "
                   "zunctl account login --service URL --name NAME.";
        default:
            return "The sync failed.";
    }
}

}  // namespace

std::string sentenceAbout(const CKError& error) {
    const auto because = error.description.empty() ? std::string() : " (" + error.description + ")";
    switch (error.code) {
        case CKErrorCode::NetworkUnavailable:
        case CKErrorCode::NetworkFailure:
            return "The service cannot be reached" + because + ".";
        case CKErrorCode::ServiceUnavailable:
        case CKErrorCode::RequestRateLimited:
        case CKErrorCode::ZoneBusy:
            return fmt::format("The service asks to be tried again in {:.0f} seconds.",
                               std::max(1.0, error.retryAfter()));
        case CKErrorCode::NotAuthenticated:
            return "The service does not accept this name and password.";
        case CKErrorCode::QuotaExceeded:
            return "The account at the service is full.";
        case CKErrorCode::IncompatibleVersion:
            return "The service speaks another version of the protocol.";
        default:
            return "The service refused" + because + fmt::format(", error {}.", static_cast<std::int64_t>(error.code));
    }
}

namespace {

// The service may have got another certificate since somebody signed in.
void explainCertificate(CommandContext& context, CloudAccess& cloud) {
    const auto account = cloud.keeper.state().account;
    if (!account || !account->serviceURL.starts_with("https://")) return;
    const auto shown = cloud.untrustedFingerprint(account->serviceURL);
    if (!shown || *shown == account->certificateFingerprint) return;
    context.fail(
        "The service shows a certificate that was not accepted. If its host tells you the same fingerprint, sign in "
        "again with: --trust " +
        *shown);
}

}  // namespace

int createAccountCommand(CommandContext& context, CloudAccess& cloud, const AccountOptions& options) {
    return enter(context, cloud, options, [&](ServiceAddress service, const std::string& password, auto done) {
        const auto& shownName = options.displayName.empty() ? options.name : options.displayName;
        cloud.client.createAccount(
            std::move(service),
            {options.name, shownName, options.emailAddress, password, options.invitation, deviceName(cloud, options)},
            std::move(done));
    });
}

int loginCommand(CommandContext& context, CloudAccess& cloud, const AccountOptions& options) {
    return enter(context, cloud, options, [&](ServiceAddress service, const std::string& password, auto done) {
        cloud.client.signIn(std::move(service), {options.name, password, deviceName(cloud, options)}, std::move(done));
    });
}

int logoutCommand(CommandContext& context, CloudAccess& cloud) {
    cloud.keeper.waitForSecret();
    if (!cloud.keeper.state().account) return context.fail("Nobody is signed in.");
    const auto error = await(cloud, [&](auto done) { cloud.client.signOut(std::move(done)); });
    // Here it is done either way.
    if (error) context.fail("Signed out here. " + sentenceAbout(*error) + " There this device stays on the list.");
    return ExitStatus::done;
}

int accountStatusCommand(CommandContext& context, CloudAccess& cloud) {
    cloud.keeper.waitForSecret();
    const auto state = cloud.keeper.state();
    const bool isOn = cloud.settings.onGetCloudKitStatus();
    const auto last = cloud.settings.defaults().onGetLastSyncDate();
    const auto waiting = context.manager.numberOfRemindersToSend();
    if (context.json) {
        json::object object{{"signedIn", state.account && state.secretPlace}, {"cloud", isOn}, {"waiting", waiting}};
        if (state.account) {
            object["service"] = state.account->serviceURL;
            object["name"] = state.account->name;
            object["displayName"] = state.account->displayName;
            object["secretPlace"] = !state.secretPlace                                 ? json::value(nullptr)
                                    : *state.secretPlace == SecretPlace::SecretService ? json::value("keyring")
                                                                                       : json::value("file");
        }
        object["lastSync"] = last ? json::value(iso8601FromDate(*last)) : json::value(nullptr);
        context.printJSON(object);
        return ExitStatus::done;
    }
    if (!state.account) {
        context.print("Nobody is signed in.");
    } else {
        context.print(fmt::format("Signed in as {} at {}.", state.account->name, state.account->serviceURL));
        context.print(placeOf(state));
    }
    context.print(isOn ? "Sync is on." : "Sync is off.");
    context.print("Last sync: " + (last ? context.labels.dateAsRelativeString(*last) : std::string("never")) + ".");
    context.print(fmt::format("{} waiting to be sent.", waiting));
    return ExitStatus::done;
}

int cloudSwitchCommand(CommandContext& context, CloudAccess& cloud, bool isOn) {
    switchSync(cloud, isOn);
    context.print(isOn ? "Sync is on." : "Sync is off.");
    return ExitStatus::done;
}

int syncCommand(CommandContext& context, CloudAccess& cloud) {
    struct Answer {
        std::atomic<bool> isThere = false;
        SyncOutcome outcome;
    };
    const auto answer = std::make_shared<Answer>();
    cloud.sync([answer, &dispatch = cloud.dispatch](const SyncOutcome& outcome) {
        answer->outcome = outcome;
        answer->isThere = true;
        dispatch.notify();
    });
    cloud.dispatch.waitUntil([answer] { return answer->isThere.load(); });
    const auto& [ending, error, traffic, hindrance] = answer->outcome;
    if (context.json) {
        context.printJSON(json::object{
            {"done", ending == SyncOutcome::Ending::Done}, {"sent", traffic.sent}, {"received", traffic.received}});
    } else {
        context.print(fmt::format("{} sent, {} received", traffic.sent, traffic.received));
    }
    if (ending == SyncOutcome::Ending::Done) return ExitStatus::done;
    if (error && error->code == CKErrorCode::NotAuthenticated)
        return context.fail("The service does not know this device any more. Sign in again: zunctl account login.");
    if (ending == SyncOutcome::Ending::Hindered) return context.fail("The sync could not begin: " + hindrance + ".");
    context.fail(error ? sentenceAbout(*error) : std::string(sentenceAbout(ending)));
    if (error && error->code == CKErrorCode::NetworkFailure) explainCertificate(context, cloud);
    return ExitStatus::notPossible;
}

int conflictsCommand(CommandContext& context) {
    for (const auto& [number, date, reason, record] : context.database.keptVersions()) {
        if (context.json) {
            context.printJSON(json::object{{"number", number},
                                           {"date", iso8601FromDate(date)},
                                           {"reason", nameOf(reason)},
                                           {"record", jsonFromRecord(record)}});
        } else {
            context.print(fmt::format("{}  {}  {}  {}", number, iso8601FromDate(date), nameOf(reason), record.title));
        }
    }
    return ExitStatus::done;
}

int restoreConflictCommand(CommandContext& context, std::int64_t number) {
    for (const auto& kept : context.database.keptVersions()) {
        if (kept.number != number) continue;
        context.manager.bringBack(kept.record);
        return context.printStored(kept.record.reminderID.value_or(""));
    }
    return context.fail(fmt::format("There is no kept version {}.", number));
}

}  // namespace zun
