#include "shell/SystemTray.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include "shell/X11.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr int answerTimeout = 500;  // milliseconds
constexpr auto firstLook = 1s;
constexpr auto longestPause = 32s;

bool hasNotifierHost() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(watcherName)) return false;
    auto call = QDBusMessage::createMethodCall(watcherName, watcherPath, "org.freedesktop.DBus.Properties", "Get");
    call << watcherName << "IsStatusNotifierHostRegistered";
    const auto reply = bus.call(call, QDBus::Block, answerTimeout);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return false;
    return reply.arguments().first().value<QDBusVariant>().variant().toBool();
}

}  // namespace

// The library keeps its first answer for good, so it is not asked before there is a tray.
bool DesktopTray::isAvailable() {
    return hasNotifierHost() || x11::hasSystemTray();
}

void DesktopTray::waitForTray() {
    _isWaiting = true;
    listen();
    lookAfter(firstLook);
}

void DesktopTray::stopWaiting() {
    _isWaiting = false;
    _timer.invalidate();
}

void DesktopTray::listen() {
    auto bus = QDBusConnection::sessionBus();
    if (_isListening || !bus.isConnected()) return;
    _isListening = true;
    auto* watcher = new QDBusServiceWatcher(watcherName, bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &DesktopTray::look);
    bus.connect(watcherName, watcherPath, watcherName, "StatusNotifierHostRegistered", this, SLOT(look()));
}

void DesktopTray::look() {
    if (!_isWaiting || !isAvailable()) return;
    stopWaiting();
    emit appeared();
}

void DesktopTray::lookAfter(std::chrono::seconds delay) {
    _timer = NSTimer(_dispatch.main(), delay, false, [this, delay] {
        look();
        if (_isWaiting && delay < longestPause) lookAfter(delay * 2);
    });
}

}  // namespace zun
