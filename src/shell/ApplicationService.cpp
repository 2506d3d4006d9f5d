#include "shell/ApplicationService.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace zun {
namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr int handOverTimeout = 5000;  // milliseconds; an instance that does not answer for that long has hung

}  // namespace

ApplicationService::ApplicationService(QString busName) : _busName(std::move(busName)) {}

QString ApplicationService::pathForName(const QString& busName) {
    return "/" + QString(busName).replace('.', '/');
}

ApplicationService::Outcome ApplicationService::start(const QStringList& urls, Start how,
                                                      const Activation& activation) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return Outcome::IsAlone;
    // The object stands before the name is taken: whoever waits for the name may call at once.
    bus.registerObject(pathForName(_busName), this, QDBusConnection::ExportScriptableSlots);
    if (bus.registerService(_busName)) return Outcome::IsFirst;
    bus.unregisterObject(pathForName(_busName));
    if (urls.isEmpty() && how == Start::InBackground) return Outcome::HandedOver;
    return handOver(bus, urls, activation) ? Outcome::HandedOver : Outcome::IsAlone;
}

bool ApplicationService::handOver(QDBusConnection& bus, const QStringList& urls, const Activation& activation) {
    auto call = QDBusMessage::createMethodCall(_busName, pathForName(_busName), interfaceName,
                                               urls.isEmpty() ? "Activate" : "Open");
    if (!urls.isEmpty()) call << urls;
    call << activation.platformData();
    return bus.call(call, QDBus::Block, handOverTimeout).type() == QDBusMessage::ReplyMessage;
}

void ApplicationService::Activate(const QVariantMap& platformData) {
    emit activated(Activation::fromPlatformData(platformData));
}

void ApplicationService::Open(const QStringList& uris, const QVariantMap& platformData) {
    emit opened(uris, Activation::fromPlatformData(platformData));
}

void ApplicationService::ActivateAction(const QString& name, const QVariantList& parameter,
                                        const QVariantMap& platformData) {
    const auto activation = Activation::fromPlatformData(platformData);
    const bool namesAnAlert =
        parameter.size() == 2 && parameter[0].canConvert<qlonglong>() && parameter[1].typeId() == QMetaType::QString;
    if (name == "show-alert" && namesAnAlert) {
        emit alertClicked(parameter[0].toLongLong(), parameter[1].toString(), activation);
    } else if (name == "snooze-alert" && namesAnAlert) {
        emit alertSnoozed(parameter[0].toLongLong(), parameter[1].toString(), activation);
    } else if (name == "new-reminder") {
        emit newReminderWanted(activation);
    } else if (name == "show-stack") {
        emit stackWanted(activation);
    } else {
        emit activated(activation);
    }
}

}  // namespace zun
