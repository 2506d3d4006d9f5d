#include "shell/X11.h"

#include <private/qtx11extras_p.h>
#include <xcb/xcb.h>
#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace zun::x11 {

bool composesWindows() {
    return !QX11Info::isPlatformX11() || QX11Info::isCompositingManagerRunning();
}

bool hasSystemTray() {
    if (!QX11Info::isPlatformX11()) return false;
    auto* connection = QX11Info::connection();
    const auto freed = [](auto* reply) {
        return std::unique_ptr<std::remove_pointer_t<decltype(reply)>, decltype(&std::free)>(reply, &std::free);
    };
    const QByteArray name = "_NET_SYSTEM_TRAY_S" + QByteArray::number(QX11Info::appScreen());
    const auto asked = xcb_intern_atom(connection, true, static_cast<std::uint16_t>(name.size()), name.constData());
    const auto atom = freed(xcb_intern_atom_reply(connection, asked, nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE) return false;
    const auto owner =
        freed(xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void noteUserRequest(const QByteArray& startupIdentifier) {
    if (!QX11Info::isPlatformX11()) return;
    // By convention the identifier ends in the time of the click that it came from.
    const auto mark = startupIdentifier.lastIndexOf("_TIME");
    bool isNumber = false;
    const auto time = mark < 0 ? 0 : startupIdentifier.mid(mark + 5).toUInt(&isNumber);
    const auto moment = isNumber && time != 0 ? time : QX11Info::getTimestamp();
    QX11Info::setAppTime(moment);
    QX11Info::setAppUserTime(moment);
}

void flush() {
    if (QX11Info::isPlatformX11()) xcb_flush(QX11Info::connection());
}

}  // namespace zun::x11
