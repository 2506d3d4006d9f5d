#include "shell/ZNMenuViewController.h"

#include "core/NotificationNames.h"

namespace zun {

ZNMenuViewController::ZNMenuViewController(NSNotificationCenter& notifications, const LocalizedStrings& strings,
                                           QUndoStack& undoStack)
    : _notifications(notifications), _strings(strings) {
    const auto ctrl = [](Qt::Key key) { return QKeySequence(Qt::CTRL | key); };
    _editItem = addItem("Menu_Edit_Card_Title", {ctrl(Qt::Key_QuoteLeft), ctrl(Qt::Key_E), QKeySequence(Qt::Key_F2)},
                        ZNEditTopCardMenuActionNotification);
    _completeItem = addItem("Menu_Complete_Card_Title", {ctrl(Qt::Key_Up)}, ZNCompleteTopCardMenuActionNotification);
    _snoozeItem = addItem("Menu_Snooze_Card_Title", {ctrl(Qt::Key_Down)}, ZNSnoozeTopCardMenuActionNotification);
    _skipItem = addItem("Menu_Skip_Card_Title", {ctrl(Qt::Key_Right)}, ZNSkipTopCardMenuActionNotification);
    _skipLeftItem = addItem("Menu_Skip_Card_Title", {ctrl(Qt::Key_Left)}, ZNSkipTopCardLeftMenuActionNotification);
    _closeItem = addItem("Menu_Close_Window_Title", {ctrl(Qt::Key_W)}, ZNCloseWindowActionNotification);
    _quitItem = addItem("Menu_Quit_Title", {ctrl(Qt::Key_Q)}, ZNQuitActionNotification);

    _undoItem =
        undoStack.createUndoAction(this, QString::fromStdString(_strings.string("Menu_Undo_Title")).remove('&'));
    _undoItem->setShortcut(ctrl(Qt::Key_Z));
    _items.push_back(_undoItem);

    const std::vector<QAction*> cardItems = {_editItem, _completeItem, _snoozeItem, _skipItem, _skipLeftItem};
    enableOn(ZNDisableCardControllerMenuActionsNotification, cardItems, false);
    enableOn(ZNEnableCardControllerMenuActionsNotification, cardItems, true);
}

QAction* ZNMenuViewController::addItem(std::string_view titleKey, const QList<QKeySequence>& keys,
                                       std::string_view notification) {
    auto* item = new QAction(QString::fromStdString(_strings.string(titleKey)), this);
    item->setShortcuts(keys);
    // A held key would complete one card after the other.
    item->setAutoRepeat(false);
    connect(item, &QAction::triggered, this,
            [this, notification] { _notifications.postNotificationName(notification); });
    _items.push_back(item);
    return item;
}

void ZNMenuViewController::enableOn(std::string_view notification, const std::vector<QAction*>& items, bool enabled) {
    _observations.push_back(_notifications.addObserver(notification, [items, enabled](const NSNotification&) {
        for (auto* item : items)
            item->setEnabled(enabled);
    }));
}

void ZNMenuViewController::attachTo(QWidget& window) {
    for (auto* item : _items)
        window.addAction(item);
}

}  // namespace zun
