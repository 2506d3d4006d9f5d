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

ApplicationService::Outcome ApplicationService::start(const QStringList& urls) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return Outcome::IsAlone;
    // The object stands before the name is taken: whoever waits for the name may call at once.
    bus.registerObject(pathForName(_busName), this, QDBusConnection::ExportScriptableSlots);
    if (bus.registerService(_busName)) return Outcome::IsFirst;
    bus.unregisterObject(pathForName(_busName));
    return handOver(bus, urls) ? Outcome::HandedOver : Outcome::IsAlone;
}

bool ApplicationService::handOver(QDBusConnection& bus, const QStringList& urls) {
    auto call = QDBusMessage::createMethodCall(_busName, pathForName(_busName), interfaceName,
                                               urls.isEmpty() ? "Activate" : "Open");
    if (!urls.isEmpty()) call << urls;
    call << QVariantMap();
    return bus.call(call, QDBus::Block, handOverTimeout).type() == QDBusMessage::ReplyMessage;
}

void ApplicationService::Activate(const QVariantMap&) {
    emit activated();
}

void ApplicationService::Open(const QStringList& uris, const QVariantMap&) {
    emit opened(uris);
}

// The desktop entry names no actions yet; an unknown one brings the window forward, as its sender wanted something
// seen.
void ApplicationService::ActivateAction(const QString&, const QVariantList&, const QVariantMap&) {
    emit activated();
}

}  // namespace zun
