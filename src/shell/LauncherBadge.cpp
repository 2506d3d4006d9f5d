#include "shell/LauncherBadge.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include "platform/foundation/Home.h"

namespace zun {
namespace {

constexpr const char* interfaceName = "com.canonical.Unity.LauncherEntry";
constexpr const char* path = "/com/zunlabs/Zun/LauncherEntry";

QString applicationAddress() {
    return QString("application://%1.desktop").arg(applicationIdentifier);
}

}  // namespace

LauncherBadge::LauncherBadge() {
    auto bus = QDBusConnection::sessionBus();
    _isRegistered = bus.isConnected() && bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots);
}

QVariantMap LauncherBadge::properties() const {
    return {{"count", static_cast<qlonglong>(_count)}, {"count-visible", _count > 0}};
}

void LauncherBadge::setCount(std::size_t count) {
    if (count == _count) return;
    _count = count;
    if (!_isRegistered) return;
    auto signal = QDBusMessage::createSignal(path, interfaceName, "Update");
    signal << applicationAddress() << properties();
    QDBusConnection::sessionBus().send(signal);
}

QString LauncherBadge::Query(QVariantMap& answered) const {
    answered = properties();
    return applicationAddress();
}

}  // namespace zun
