#include "shell/Activation.h"

#include <QWidget>

#include "shell/X11.h"

namespace zun {
namespace {

constexpr const char* tokenKey = "activation-token";
constexpr const char* startupKey = "desktop-startup-id";
constexpr const char* tokenVariable = "XDG_ACTIVATION_TOKEN";

}  // namespace

Activation Activation::fromPlatformData(const QVariantMap& data) {
    return {data.value(tokenKey).toString().toUtf8(), data.value(startupKey).toString().toUtf8()};
}

QVariantMap Activation::platformData() const {
    QVariantMap data;
    if (!token.isEmpty()) data.insert(tokenKey, QString::fromUtf8(token));
    if (!startupIdentifier.isEmpty()) data.insert(startupKey, QString::fromUtf8(startupIdentifier));
    return data;
}

Activation Activation::fromEnvironment() {
    return {qgetenv(tokenVariable), qgetenv("DESKTOP_STARTUP_ID")};
}

void bringForward(QWidget& window, const Activation& activation) {
    // The window system's plug-in has no other door for a token.
    if (!activation.token.isEmpty()) qputenv(tokenVariable, activation.token);
    x11::noteUserRequest(activation.startupIdentifier);
    if (window.isMinimized()) window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

}  // namespace zun
