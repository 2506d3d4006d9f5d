#pragma once

// The item in the tray: the number of active reminders in its picture, a click that is told, and a menu for desktops on
// which a click opens the menu. Made once there is a tray. Main thread.

#include <QMenu>
#include <QSystemTrayIcon>
#include <optional>

#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "shell/ScreenMakers.h"
#include "shell/StatusItemPicture.h"

namespace zun {

class ZNStatusItemView final : public QObject {
    Q_OBJECT
  public:
    struct Collaborators {
        NSNotificationCenter& notifications;
        const LocalizedStrings& strings;
        Pictures& pictures;
        const ScreenMakers& screens;
    };

    explicit ZNStatusItemView(const Collaborators& collaborators);

    void setCount(std::size_t count);
    void setBarGround(BarGround ground);
    // Where it stands on the screen; nothing where the desktop does not say.
    [[nodiscard]] std::optional<QRect> globalRect() const;
    [[nodiscard]] const QMenu& menu() const { return _menu; }

  signals:
    void clicked();
    // The menu's first entry, which opens and never closes.
    void showWanted();

  private:
    void buildMenu();
    void redraw();
    [[nodiscard]] QString text(std::string_view key) const;
    [[nodiscard]] QString dueText() const;

    Collaborators _with;
    std::size_t _count = 0;
    BarGround _ground = BarGround::Unknown;
    QMenu _menu;
    QAction* _dueItem = nullptr;
    QSystemTrayIcon _item;
};

}  // namespace zun
