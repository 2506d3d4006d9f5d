#pragma once

// The sync of the running application on the session bus, for zunctl: com.zunlabs.Zun.Sync at the application's path
// with "/Sync" behind it. Main thread; the journal outlives it.

#include <QDBusContext>
#include <QObject>
#include <QPointer>
#include <QString>

#include "sync/SyncJournal.h"

namespace zun {

class SyncService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.zunlabs.Zun.Sync")
  public:
    SyncService(SyncJournal& journal, const QString& busName);

  public slots:
    // Runs a pass and answers at its end: how it ended (as SyncOutcome::Ending counts), the error's code or 0, its
    // description, and how many records were sent and received.
    Q_SCRIPTABLE uint SyncNow(int& code, QString& description, uint& sent, uint& received);

  private:
    SyncJournal& _journal;
};

}  // namespace zun
