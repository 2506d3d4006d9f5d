#include "apps/zun/AccountOfApplication.h"

#include <QSysInfo>

#include "platform/cloudkit/ServiceCertificate.h"

namespace zun {
namespace {

std::variant<OfferedCertificate, CKError> offeredBy(const std::string& URL) {
    auto answer = fetchServiceCertificate(URL);
    if (const auto* error = std::get_if<CKError>(&answer)) return *error;
    auto& shown = std::get<ServiceCertificate>(answer);
    return OfferedCertificate{std::move(shown.fingerprint), std::move(shown.subject), std::move(shown.issuer),
                              std::move(shown.notAfter), shown.isVouchedFor};
}

AccountSyncReport::Ending endingOf(SyncOutcome::Ending ending) {
    switch (ending) {
        case SyncOutcome::Ending::Failed:
            return AccountSyncReport::Ending::Failed;
        case SyncOutcome::Ending::TimedOut:
            return AccountSyncReport::Ending::TimedOut;
        case SyncOutcome::Ending::Unreachable:
            return AccountSyncReport::Ending::Unreachable;
        case SyncOutcome::Ending::Done:
        case SyncOutcome::Ending::NobodySignedIn:
        case SyncOutcome::Ending::Hindered:
        case SyncOutcome::Ending::KeyringLocked:
            break;
    }
    return AccountSyncReport::Ending::Done;
}

AccountSyncReport reportOf(const Core& core, const SyncJournal& journal) {
    const auto outcome = journal.lastOutcome();
    return {core.defaults.onGetLastSyncDate(), core.manager.numberOfRemindersToSend(), endingOf(outcome.ending),
            outcome.error};
}

}  // namespace

AccountModel::Collaborators accountOfApplication(Core& core, CloudOfApplication& cloud) {
    return {core.keeper,
            cloud.cloud().client,
            cloud,
            core.settings,
            core.dispatch,
            core.strings,
            QSysInfo::machineHostName().toStdString(),
            offeredBy,
            [&core, &cloud] { return reportOf(core, cloud.cloud().journal); },
            [&core] { return core.database.keptVersions(); },
            [&core](const KeptVersion& version) { core.manager.bringBack(version.record); }};
}

}  // namespace zun
