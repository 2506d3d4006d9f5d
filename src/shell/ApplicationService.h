#pragma once

// The application on the session bus: it owns its name, so that there is one instance for each home, and answers
// org.freedesktop.Application, through which the desktop and other programs activate it and hand it links.
// Main thread. Connecting may block for some milliseconds; without a bus the application runs alone.

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

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

    explicit ApplicationService(QString busName);

    // Takes the name, or hands the links (or a plain activation) to the instance that has it.
    [[nodiscard]] Outcome start(const QStringList& urls);

    // The object's path that belongs to a bus name: "com.zunlabs.Zun" has "/com/zunlabs/Zun".
    [[nodiscard]] static QString pathForName(const QString& busName);

  public slots:
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_SCRIPTABLE void ActivateAction(const QString& name, const QVariantList& parameter,
                                     const QVariantMap& platformData);

  signals:
    void activated();
    void opened(const QStringList& uris);

  private:
    bool handOver(QDBusConnection& bus, const QStringList& urls);

    QString _busName;
};

}  // namespace zun
