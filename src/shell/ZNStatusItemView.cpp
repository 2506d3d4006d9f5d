#include "shell/ZNStatusItemView.h"

#include "core/NotificationNames.h"

namespace zun {

ZNStatusItemView::ZNStatusItemView(const Collaborators& collaborators) : _with(collaborators) {
    buildMenu();
    redraw();
    _item.setContextMenu(&_menu);
    connect(&_item, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::MiddleClick) emit clicked();
    });
    _item.show();
}

QString ZNStatusItemView::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

void ZNStatusItemView::buildMenu() {
    const auto post = [this](std::string_view notification) {
        return [this, notification] { _with.notifications.postNotificationName(notification); };
    };
    _menu.addAction(text("Tray_Show_Reminders_Title"), this, &ZNStatusItemView::showWanted);
    _dueItem = _menu.addAction(QString());
    _dueItem->setEnabled(false);
    _menu.addSeparator();
    auto* newItem = _menu.addAction(text("Dock_New_Reminder"), this, post(ZNNewReminderMenuActionNotification));
    newItem->setEnabled(_with.screens.editor != nullptr);
    _menu.addAction(text("Zun_Preferences_Menu_Label"), this, post(ZNSettingsMenuActionNotification));
    _menu.addSeparator();
    _menu.addAction(text("Zun_Quit_label"), this, post(ZNQuitActionNotification));
}

QString ZNStatusItemView::dueText() const {
    if (_count == 0) return text("Tray_Nothing_Due_Title");
    if (_count == 1) return text("Tray_One_Due_Title");
    return QString::fromStdString(stringWithFormat(_with.strings.string("Tray_Due_Format"), {std::to_string(_count)}));
}

void ZNStatusItemView::setCount(std::size_t count) {
    if (count == _count) return;
    _count = count;
    redraw();
}

void ZNStatusItemView::setBarGround(BarGround ground) {
    if (ground == _ground) return;
    _ground = ground;
    redraw();
}

void ZNStatusItemView::redraw() {
    _item.setIcon(statusItemIcon(_count, _ground, _with.pictures));
    _item.setToolTip(text("App_Name") + ": " + dueText());
    _dueItem->setText(dueText());
}

std::optional<QRect> ZNStatusItemView::globalRect() const {
    const QRect rect = _item.geometry();
    return rect.isEmpty() ? std::nullopt : std::optional(rect);
}

}  // namespace zun
