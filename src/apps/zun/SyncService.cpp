#include "apps/zun/SyncService.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include "shell/ApplicationService.h"

namespace zun {

SyncService::SyncService(SyncJournal& journal, const QString& busName) : _journal(journal) {
    QDBusConnection::sessionBus().registerObject(ApplicationService::pathForName(busName) + "/Sync", this,
                                                 QDBusConnection::ExportScriptableSlots);
}

uint SyncService::SyncNow(int&, QString&, uint&, uint&) {
    setDelayedReply(true);
    _journal.syncNow([call = message(), bus = connection()](const SyncOutcome& outcome) {
        const auto& error = outcome.error;
        bus.send(
            call.createReply({static_cast<uint>(outcome.ending), error ? static_cast<int>(error->code) : 0,
                              error ? QString::fromStdString(error->description) : QString(),
                              static_cast<uint>(outcome.traffic.sent), static_cast<uint>(outcome.traffic.received)}));
    });
    return 0;
}

}  // namespace zun
