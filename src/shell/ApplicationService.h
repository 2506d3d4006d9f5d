#pragma once

// The application on the session bus: it owns its name, so that there is one instance for each home, and answers
// org.freedesktop.Application, through which the desktop, the alert service and other programs activate it, hand it
// links and tell it what the user did with an alert.
//
// Main thread. Connecting may block for some milliseconds; without a bus the application runs alone.

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include "shell/Activation.h"

namespace zun {

class ApplicationService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
  public:
    enum class Outcome {
        IsFirst,     // this process owns the name
        HandedOver,  // another instance runs and has been told
        IsAlone,     // there is no bus
    };
    enum class Start { WithWindow, InBackground };

    explicit ApplicationService(QString busName);

    // Takes the name, or hands the links (or a plain activation, unless this is a start in the background) to the
    // instance that has it.
    [[nodiscard]] Outcome start(const QStringList& urls, Start how, const Activation& activation);

    // The object's path that belongs to a bus name: "com.zunlabs.Zun" has "/com/zunlabs/Zun".
    [[nodiscard]] static QString pathForName(const QString& busName);

  public slots:
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    // "new-reminder" and "show-stack" without parameters; "show-alert" and "snooze-alert" with the alert's identifier
    // (x) and the reminder's (s). An unknown one activates, as its sender wanted something seen.
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter,
                                     const QVariantMap& platformData);

  signals:
    void activated(const zun::Activation& activation);
    void opened(const QStringList& uris, const zun::Activation& activation);
    void newReminderWanted(const zun::Activation& activation);
    void stackWanted(const zun::Activation& activation);
    void alertClicked(qlonglong identifier, const QString& reminderID, const zun::Activation& activation);
    void alertSnoozed(qlonglong identifier, const QString& reminderID, const zun::Activation& activation);

  private:
    bool handOver(QDBusConnection& bus, const QStringList& urls, const Activation& activation);

    QString _busName;
};

}  // namespace zun
