#pragma once

// The sync of the running application on the session bus, for zunctl: com.zunlabs.Zun.Sync at the application's path
// with "/Sync" behind it. While the desktop asks for the keyring's password, the signal KeyringAsks says so; to whoever
// calls meanwhile it is said again. Main thread; the collaborators outlive it.

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>
#include <QPointer>
#include <QString>

#include "account/AccountKeeper.h"
#include "sync/SyncJournal.h"

namespace zun {

class SyncService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.zunlabs.Zun.Sync")
  public:
    SyncService(SyncJournal& journal, AccountKeeper& keeper, Dispatch& dispatch, const QString& busName);

  public slots:
    // Runs a pass and answers at its end: how it ended (as SyncOutcome::Ending counts), the error's code or 0, its
    // description, and how many records were sent and received. For a keyring that has to be unlocked first it waits a
    // minute.
    Q_SCRIPTABLE uint SyncNow(int& code, QString& description, uint& sent, uint& received);

  private:
    struct Call;
    void tellOfKeyring();

    const QString _path;

    SyncJournal& _journal;
    AccountKeeper& _keeper;
    Dispatch& _dispatch;
    Observation _keyring;
};

}  // namespace zun
