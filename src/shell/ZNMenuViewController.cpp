#include "shell/ZNMenuViewController.h"

#include "core/NotificationNames.h"
#include "shell/WindowMenuBar.h"

namespace zun {
namespace {

QKeySequence ctrl(Qt::Key key) {
    return {Qt::CTRL | key};
}

}  // namespace

ZNMenuViewController::ZNMenuViewController(const Collaborators& collaborators) : _with(collaborators) {
    addCardItems();
    addUndoItems();
    addWindowItems();
    followNotifications();
}

void ZNMenuViewController::addCardItems() {
    _addReminderMenuItem = addItem("Menu_New_Reminder_Title", {ctrl(Qt::Key_N)}, ZNNewReminderMenuActionNotification);
    _saveItem = addItem("Menu_Save_Title", {ctrl(Qt::Key_S)}, ZNSaveCardMenuActionNotification);
    _editItem = addItem("Menu_Edit_Card_Title", {ctrl(Qt::Key_QuoteLeft), ctrl(Qt::Key_E), QKeySequence(Qt::Key_F2)},
                        ZNEditTopCardMenuActionNotification);
    _completeItem = addItem("Menu_Complete_Card_Title", {ctrl(Qt::Key_Up)}, ZNCompleteTopCardMenuActionNotification);
    _snoozeItem = addItem("Menu_Snooze_Card_Title", {ctrl(Qt::Key_Down)}, ZNSnoozeTopCardMenuActionNotification);
    _skipItem = addItem("Menu_Skip_Card_Title", {ctrl(Qt::Key_Right)}, ZNSkipTopCardMenuActionNotification);
    // The same command with another direction: a key and no entry.
    _skipLeftItem = addItem("Menu_Skip_Card_Title", {ctrl(Qt::Key_Left)}, ZNSkipTopCardLeftMenuActionNotification);
    _showListItem = addItem("Menu_Show_List_Title", {ctrl(Qt::Key_L)}, ZNListViewMenuActionNotification);
    _searchItem = addItem("Menu_Search_Title", {ctrl(Qt::Key_F)}, &ZNMenuViewController::searchWanted);
}

void ZNMenuViewController::addUndoItems() {
    auto& stack = _with.undoStack;
    const auto follow = [this](QAction& item, std::string_view bareKey, std::string_view formatKey) {
        return [this, &item, bareKey = std::string(bareKey), formatKey = std::string(formatKey)](const QString& name) {
            const auto title = name.isEmpty() ? _with.strings.string(bareKey)
                                              : stringWithFormat(_with.strings.string(formatKey), {name.toStdString()});
            item.setText(QString::fromStdString(title));
        };
    };
    _undoItem = makeItem("Menu_Undo_Title", {ctrl(Qt::Key_Z)});
    _redoItem = makeItem("Menu_Redo_Title", {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), ctrl(Qt::Key_Y)});
    _undoItem->setEnabled(stack.canUndo());
    _redoItem->setEnabled(stack.canRedo());
    connect(_undoItem, &QAction::triggered, &stack, &QUndoStack::undo);
    connect(_redoItem, &QAction::triggered, &stack, &QUndoStack::redo);
    connect(&stack, &QUndoStack::canUndoChanged, _undoItem, &QAction::setEnabled);
    connect(&stack, &QUndoStack::canRedoChanged, _redoItem, &QAction::setEnabled);
    connect(&stack, &QUndoStack::undoTextChanged, this, follow(*_undoItem, "Menu_Undo_Title", "Menu_Undo_Format"));
    connect(&stack, &QUndoStack::redoTextChanged, this, follow(*_redoItem, "Menu_Redo_Title", "Menu_Redo_Format"));
}

void ZNMenuViewController::addWindowItems() {
    _preferencesMenuItem = addItem("Menu_Settings_Title", {ctrl(Qt::Key_Comma)}, ZNSettingsMenuActionNotification);
    _accountItem = addItem("Menu_Account_Title", {}, ZNAccountMenuActionNotification);
    _closeItem = addItem("Menu_Close_Window_Title", {ctrl(Qt::Key_W)}, ZNCloseWindowActionNotification);
    _quitMenuItem = addItem("Menu_Quit_Title", {ctrl(Qt::Key_Q)}, ZNQuitActionNotification);
    _zunItem = addItem("Menu_Show_Window_Title", {}, ZNOpenWindowActionNotification);
    _keyboardShortcutsItem = addItem("Menu_Keyboard_Shortcuts_Title", {ctrl(Qt::Key_Question), ctrl(Qt::Key_Slash)},
                                     ZNShowKeyboardShortcutsNotification);
    _fullScreenItem =
        addItem("Menu_Full_Screen_Title", {QKeySequence(Qt::Key_F11)}, &ZNMenuViewController::fullScreenWanted);
    _helpMenuItem = addItem("Menu_Help_Support_Title", {QKeySequence(Qt::Key_F1)}, &ZNMenuViewController::helpWanted);
    _aboutItem = addItem("Menu_About_Title", {}, &ZNMenuViewController::aboutWanted);
    _cancelItem = addItem("Exit_Action_Shortcut", {QKeySequence(Qt::Key_Escape)}, &ZNMenuViewController::cancelWanted);
}

void ZNMenuViewController::followNotifications() {
    std::vector<QAction*> cardItems = {_completeItem, _snoozeItem, _skipItem, _skipLeftItem};
    std::vector<QAction*> newItems, editItems;
    if (_with.screens.editor) {
        cardItems.push_back(_editItem);
        newItems.push_back(_addReminderMenuItem);
        editItems.push_back(_saveItem);
    }
    if (_with.screens.list) newItems.push_back(_showListItem);
    for (auto* item : {_editItem, _addReminderMenuItem, _showListItem, _saveItem})
        item->setEnabled(false);
    _searchItem->setEnabled(_with.screens.list != nullptr);

    enableOn(ZNDisableCardControllerMenuActionsNotification, cardItems, false);
    enableOn(ZNEnableCardControllerMenuActionsNotification, cardItems, true);
    enableOn(ZNDisableEditControllerMenuActionsNotification, editItems, false);
    enableOn(ZNEnableEditControllerMenuActionsNotification, editItems, true);
    enableOn(ZNDisableNewReminderMenuActionsNotification, newItems, false);
    enableOn(ZNEnableNewReminderMenuActionsNotification, newItems, true);
}

QString ZNMenuViewController::text(std::string_view key) const {
    return QString::fromStdString(_with.strings.string(key));
}

QAction* ZNMenuViewController::makeItem(std::string_view titleKey, const Keys& keys) {
    auto* item = new QAction(text(titleKey), this);
    item->setShortcuts(keys);
    // A held key would complete one card after the other.
    item->setAutoRepeat(false);
    item->setMenuRole(QAction::NoRole);
    _items.push_back(item);
    return item;
}

QAction* ZNMenuViewController::addItem(std::string_view titleKey, const Keys& keys, std::string_view notification) {
    auto* item = makeItem(titleKey, keys);
    connect(item, &QAction::triggered, this,
            [this, notification] { _with.notifications.postNotificationName(notification); });
    return item;
}

QAction* ZNMenuViewController::addItem(std::string_view titleKey, const Keys& keys,
                                       void (ZNMenuViewController::*wanted)()) {
    auto* item = makeItem(titleKey, keys);
    connect(item, &QAction::triggered, this, wanted);
    return item;
}

void ZNMenuViewController::enableOn(std::string_view notification, const std::vector<QAction*>& items, bool enabled) {
    _observations.push_back(_with.notifications.addObserver(notification, [items, enabled](const NSNotification&) {
        for (auto* item : items)
            item->setEnabled(enabled);
    }));
}

void ZNMenuViewController::attachTo(QWidget& window) {
    for (auto* item : _items)
        window.addAction(item);
}

void ZNMenuViewController::setFullScreen(bool isFullScreen) {
    _fullScreenItem->setText(text(isFullScreen ? "Menu_Leave_Full_Screen_Title" : "Menu_Full_Screen_Title"));
}

QMenuBar* ZNMenuViewController::makeMenuBar(QWidget* parent) {
    auto* bar = new WindowMenuBar(parent);
    const auto add = [&](std::string_view titleKey, std::initializer_list<QAction*> items) {
        auto* menu = bar->addMenu(text(titleKey));
        for (auto* item : items) {
            if (item) {
                menu->addAction(item);
            } else {
                menu->addSeparator();
            }
        }
    };
    add("Menu_File_Title", {_addReminderMenuItem, _saveItem, nullptr, _closeItem, _quitMenuItem});
    add("Menu_Edit_Title", {_undoItem, _redoItem, nullptr, _searchItem, nullptr, _accountItem, _preferencesMenuItem});
    add("Menu_Card_Title", {_editItem, nullptr, _completeItem, _snoozeItem, _skipItem});
    add("Menu_View_Title", {_showListItem, nullptr, _fullScreenItem});
    add("Menu_Window_Title", {_zunItem});
    add("Menu_Help_Title", {_helpMenuItem, _keyboardShortcutsItem, nullptr, _aboutItem});
    return bar;
}

}  // namespace zun
