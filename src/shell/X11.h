#pragma once

// What only the X server knows. On any other platform everything here is false and does nothing. Main thread; each
// question waits for one answer of the server.

#include <qwindowdefs.h>
#include <QByteArray>

namespace zun::x11 {

// Whether a compositor runs, so that a window may have clear parts.
[[nodiscard]] bool composesWindows();

// Whether a tray of the old protocol, into which windows are embedded, has announced itself.
[[nodiscard]] bool hasSystemTray();

// Lets the next window come forward, as one that the user asked for: at the moment that the start-up identifier names,
// or now if it names none.
void noteUserRequest(const QByteArray& startupIdentifier);

// Keeps a window that is not shown yet out of task bars and pagers. Its manager forgets it when the window is hidden.
void skipTaskbar(WId window);

// Sends what has been asked for. Qt does so with what it paints, which a change of a window's opacity is not.
void flush();

}  // namespace zun::x11
