#include "shell/DesktopSettings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

using SettingGroups = QMap<QString, QVariantMap>;
Q_DECLARE_METATYPE(SettingGroups)

namespace zun {
namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* portalInterface = "org.freedesktop.portal.Settings";
constexpr const char* interfaceGroup = "org.gnome.desktop.interface";
constexpr const char* appearanceGroup = "org.freedesktop.appearance";
constexpr const char* touchpadGroup = "org.gnome.desktop.peripherals.touchpad";

}  // namespace

void DesktopSettings::start() {
    qDBusRegisterMetaType<SettingGroups>();
    auto session = QDBusConnection::sessionBus();
    if (session.isConnected()) {
        session.connect(portalName, portalPath, portalInterface, "SettingChanged", this,
                        SLOT(settingChanged(QString, QString, QDBusVariant)));
        for (const auto* screenSaver : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
            session.connect(QString(), QString(), screenSaver, "ActiveChanged", this,
                            SLOT(screenSaverActiveChanged(bool)));
        }
        auto call = QDBusMessage::createMethodCall(portalName, portalPath, portalInterface, "ReadAll");
        call << QStringList{interfaceGroup, appearanceGroup, touchpadGroup};
        // A desktop that has a portal has started it long ago; a bare one must not be made to.
        call.setAutoStartService(false);
        auto* watcher = new QDBusPendingCallWatcher(session.asyncCall(call), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            watcher->deleteLater();
            const QDBusPendingReply<SettingGroups> reply = *watcher;
            if (reply.isError()) return;
            const auto groups = reply.value();
            for (auto group = groups.begin(); group != groups.end(); ++group) {
                for (auto setting = group->begin(); setting != group->end(); ++setting) {
                    take(group.key(), setting.key(), setting.value());
                }
            }
            emit changed();
        });
    }
    auto system = QDBusConnection::systemBus();
    if (system.isConnected()) {
        system.connect("org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                       "PrepareForSleep", this, SLOT(prepareForSleep(bool)));
        // Of whichever session: to look once more costs nothing.
        system.connect("org.freedesktop.login1", QString(), "org.freedesktop.login1.Session", "Unlock", this,
                       SIGNAL(unlocked()));
    }
}

void DesktopSettings::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, value.variant());
    emit changed();
}

void DesktopSettings::prepareForSleep(bool start) {
    if (!start) emit resumed();
}

void DesktopSettings::screenSaverActiveChanged(bool isActive) {
    if (!isActive) emit unlocked();
}

void DesktopSettings::take(const QString& group, const QString& key, const QVariant& value) {
    if (group == interfaceGroup && key == "enable-animations") _wantsAnimations = value.toBool();
    if (group == appearanceGroup && key == "reduced-motion") _wantsAnimations = value.toUInt() == 0;
    if (group == appearanceGroup && key == "color-scheme") _colorScheme = value.toUInt();
    if (group == touchpadGroup && key == "natural-scroll") _naturalScrolling = value.toBool();
}

}  // namespace zun
