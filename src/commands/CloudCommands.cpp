#include "commands/CloudCommands.h"

#include <fmt/format.h>

#include <boost/json.hpp>

#include "commands/Await.h"
#include "commands/CloudSentences.h"
#include "commands/TerminalText.h"
#include "platform/foundation/ISO8601.h"
#include "text/RecordJSON.h"

namespace zun {
namespace {

namespace json = boost::json;

std::string_view nameOf(KeptReason reason) {
    return reason == KeptReason::Replaced ? "replaced" : "deleted";
}

// `why` is empty if it went well.
int answerSync(CommandContext& context, const ZNCloudKitManager::Traffic& traffic, const std::string& why) {
    if (context.json) {
        json::object object{{"done", why.empty()}, {"sent", traffic.sent}, {"received", traffic.received}};
        if (!why.empty()) object["error"] = why;
        context.printJSON(object);
    } else if (why.empty() || traffic.sent > 0 || traffic.received > 0) {
        context.print(fmt::format("{} sent, {} received", traffic.sent, traffic.received));
    }
    return why.empty() ? ExitStatus::done : context.fail(why);
}

}  // namespace

void explainConnection(CommandContext& context, const CloudAccess& cloud, const ServiceAddress& service,
                       const OptionalError& error) {
    if (!error || error->code != CKErrorCode::NetworkFailure || !service.URL.starts_with("https://")) return;
    const auto shown = cloud.certificate(service.URL);
    if (!shown) {
        if (error->description.find("SSL") != std::string::npos)
            context.fail(
                "What answers there shows no certificate. It may speak plain HTTP, which is taken only on this "
                "computer itself, as http://127.0.0.1:PORT.");
        return;
    }
    if (shown->fingerprint == service.certificateFingerprint) return;
    if (!service.certificateFingerprint.empty()) {
        context.fail("The service shows another certificate than the one accepted. Its fingerprint is " +
                     shown->fingerprint + ". If its host tells you the same, sign in with: --trust " +
                     shown->fingerprint);
    } else if (!shown->isVouchedFor) {
        context.fail(
            "No authority that this computer trusts vouches for the service. If its host tells you the same "
            "fingerprint, sign in with: --trust " +
            shown->fingerprint);
    }
}

int cloudSwitchCommand(CommandContext& context, CloudAccess& cloud, bool isOn) {
    cloud.settings.setShouldUseCloudKit(isOn);
    cloud.settings.save();
    if (context.json)
        context.printJSON(json::object{{"cloud", isOn}});
    else
        context.print(isOn ? "Sync is on." : "Sync is off.");
    return ExitStatus::done;
}

int syncCommand(CommandContext& context, CloudAccess& cloud) {
    const auto account = cloud.keeper.state().account;
    // A pass would end well and move nothing.
    if (account && !cloud.settings.onGetCloudKitStatus())
        return answerSync(context, {}, "Sync is switched off on this computer: zunctl cloud on.");
    const auto outcome = await<SyncOutcome>(cloud, cloud.sync);
    if (outcome.ending == SyncOutcome::Ending::Done) {
        cloud.failureFile.remove();
        return answerSync(context, outcome.traffic, {});
    }
    const auto why = sentenceAbout(outcome);
    if (account) cloud.failureFile.write({context.environment.now(), why});
    answerSync(context, outcome.traffic, why);
    if (account)
        explainConnection(context, cloud, {account->serviceURL, account->certificateFingerprint}, outcome.error);
    return ExitStatus::notPossible;
}

int conflictsCommand(CommandContext& context) {
    json::array array;
    for (const auto& [number, date, reason, record] : context.database.keptVersions()) {
        if (context.json) {
            array.push_back(json::object{{"number", number},
                                         {"date", iso8601FromDate(date)},
                                         {"reason", nameOf(reason)},
                                         {"record", jsonFromRecord(record)}});
            continue;
        }
        const auto when = context.helper.subtitleStringForReminder(ZNReminderObject(record));
        context.print(fmt::format("{}  {}  ({})  {} {}", number, terminalLine(record.title), terminalLine(when),
                                  nameOf(reason), context.labels.dateAsRelativeString(date)));
    }
    if (context.json) context.printJSON(array);
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
