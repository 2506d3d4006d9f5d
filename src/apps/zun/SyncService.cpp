#include "apps/zun/SyncService.h"

#include <memory>
#include <utility>

#include "shell/ApplicationService.h"

namespace zun {
namespace {

constexpr const char* interfaceName = "com.zunlabs.Zun.Sync";
// Long enough to find the desktop's window and to type; whoever called may sit at a terminal far away.
constexpr std::chrono::seconds keyringWait{60};

}  // namespace

struct SyncService::Call {
    void answer(const SyncOutcome& outcome) const {
        const auto& error = outcome.error;
        bus.send(message.createReply({static_cast<uint>(outcome.ending), error ? static_cast<int>(error->code) : 0,
                                      error ? QString::fromStdString(error->description) : QString(),
                                      static_cast<uint>(outcome.traffic.sent),
                                      static_cast<uint>(outcome.traffic.received)}));
    }

    const QDBusMessage message;
    const QDBusConnection bus;
    bool waitsForKeyring = true;
};

SyncService::SyncService(SyncJournal& journal, AccountKeeper& keeper, Dispatch& dispatch, const QString& busName)
    : _path(ApplicationService::pathForName(busName) + "/Sync"),
      _journal(journal),
      _keeper(keeper),
      _dispatch(dispatch) {
    QDBusConnection::sessionBus().registerObject(_path, this, QDBusConnection::ExportScriptableSlots);
    _keyring = keeper.observeKeyring([self = QPointer(this), main = dispatch.main()] {
        main->async([self] {
            if (self) self->tellOfKeyring();
        });
    });
}

uint SyncService::SyncNow(int&, QString&, uint&, uint&) {
    setDelayedReply(true);
    const auto call = std::make_shared<Call>(Call{message(), connection()});
    if (_keeper.isKeyringAsking()) tellOfKeyring();
    // Whoever asks may have signed in a moment ago.
    _keeper.reload([self = QPointer(this), main = _dispatch.main(), call] {
        main->async([self, call] {
            if (!self || !std::exchange(call->waitsForKeyring, false)) return;
            self->_journal.syncNow([call](const SyncOutcome& outcome) { call->answer(outcome); });
        });
    });
    _dispatch.main()->asyncAfter(keyringWait, [call] {
        if (std::exchange(call->waitsForKeyring, false)) call->answer({SyncOutcome::Ending::KeyringLocked, {}, {}});
    });
    return 0;
}

void SyncService::tellOfKeyring() {
    if (!_keeper.isKeyringAsking()) return;
    QDBusConnection::sessionBus().send(QDBusMessage::createSignal(_path, interfaceName, "KeyringAsks"));
}

}  // namespace zun
