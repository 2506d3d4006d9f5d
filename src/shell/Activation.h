#pragma once

// By what right a window comes forward: the token or the identifier that the desktop gave to whoever asked for it. Both
// may be empty. A plain value.

#include <QByteArray>
#include <QVariantMap>

class QWidget;

namespace zun {

struct Activation {
    QByteArray token;              // "activation-token", of Wayland
    QByteArray startupIdentifier;  // "desktop-startup-id", of X11

    [[nodiscard]] static Activation fromPlatformData(const QVariantMap& data);
    [[nodiscard]] QVariantMap platformData() const;
    // What this process was started with. Before the application object is made, which takes it away.
    [[nodiscard]] static Activation fromEnvironment();
};

// Shows the window, out of the task bar if it is there, and brings it to the front.
void bringForward(QWidget& window, const Activation& activation);

}  // namespace zun
