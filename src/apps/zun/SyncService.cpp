#include "apps/zun/SyncService.h"

#include "shell/ApplicationService.h"

namespace zun {

SyncService::SyncService(SyncJournal& journal, AccountKeeper& keeper, Dispatch& dispatch, const QString& busName)
    : _journal(journal), _keeper(keeper), _dispatch(dispatch) {
    QDBusConnection::sessionBus().registerObject(ApplicationService::pathForName(busName) + "/Sync", this,
                                                 QDBusConnection::ExportScriptableSlots);
}

uint SyncService::SyncNow(int&, QString&, uint&, uint&) {
    setDelayedReply(true);
    // Whoever asks may have signed in a moment ago.
    _keeper.reload([self = QPointer(this), main = _dispatch.main(), call = message(), bus = connection()] {
        main->async([self, call, bus] {
            if (self) self->syncNow(call, bus);
        });
    });
    return 0;
}

void SyncService::syncNow(const QDBusMessage& call, const QDBusConnection& bus) {
    _journal.syncNow([call, bus](const SyncOutcome& outcome) {
        const auto& error = outcome.error;
        bus.send(
            call.createReply({static_cast<uint>(outcome.ending), error ? static_cast<int>(error->code) : 0,
                              error ? QString::fromStdString(error->description) : QString(),
                              static_cast<uint>(outcome.traffic.sent), static_cast<uint>(outcome.traffic.received)}));
    });
}

}  // namespace zun
