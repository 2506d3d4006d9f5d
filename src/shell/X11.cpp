#include "shell/X11.h"

#include <private/qtx11extras_p.h>
#include <xcb/xcb.h>
#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace zun::x11 {
namespace {

template <typename Contents>
using Reply = std::unique_ptr<Contents, decltype(&std::free)>;

// NONE if nobody has ever used the name.
xcb_atom_t atomNamed(const QByteArray& name) {
    auto* connection = QX11Info::connection();
    const auto asked = xcb_intern_atom(connection, true, static_cast<std::uint16_t>(name.size()), name.constData());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, asked, nullptr), &std::free);
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

}  // namespace

bool composesWindows() {
    return !QX11Info::isPlatformX11() || QX11Info::isCompositingManagerRunning();
}

bool hasSystemTray() {
    if (!QX11Info::isPlatformX11()) return false;
    const auto atom = atomNamed("_NET_SYSTEM_TRAY_S" + QByteArray::number(QX11Info::appScreen()));
    if (atom == XCB_ATOM_NONE) return false;
    auto* connection = QX11Info::connection();
    const Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom), nullptr), &std::free);
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void skipTaskbar(WId window) {
    if (!QX11Info::isPlatformX11()) return;
    const xcb_atom_t states[] = {atomNamed("_NET_WM_STATE_SKIP_TASKBAR"), atomNamed("_NET_WM_STATE_SKIP_PAGER")};
    // What Qt adds when it shows the window comes beside this.
    xcb_change_property(QX11Info::connection(), XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window),
                        atomNamed("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 2, states);
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
