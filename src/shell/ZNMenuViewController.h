#pragma once

// Turns menu commands and their keys into notifications, and enables or disables them from notifications. Screens never
// call each other; they hear these. Commands whose screen is not there stay disabled. The commands live as long as the
// application and are shared by whatever windows there are; menu bars are made for a window and go with it. Main
// thread.

#include <QAction>
#include <QMenuBar>
#include <QObject>
#include <QUndoStack>
#include <QWidget>
#include <vector>

#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "shell/ScreenMakers.h"

namespace zun {

class ZNMenuViewController final : public QObject {
    Q_OBJECT
  public:
    struct Collaborators {
        NSNotificationCenter& notifications;
        const LocalizedStrings& strings;
        QUndoStack& undoStack;
        const ScreenMakers& screens;
    };

    explicit ZNMenuViewController(const Collaborators& collaborators);

    // Makes every command and its keys work in this window, whether or not a menu shows it.
    void attachTo(QWidget& window);
    // A bar with all menus, owned by the parent.
    [[nodiscard]] QMenuBar* makeMenuBar(QWidget* parent);
    // What the full screen command offers.
    void setFullScreen(bool isFullScreen);

    [[nodiscard]] QAction& preferencesMenuItem() { return *_preferencesMenuItem; }
    [[nodiscard]] QAction& accountItem() { return *_accountItem; }
    [[nodiscard]] QAction& addReminderMenuItem() { return *_addReminderMenuItem; }
    [[nodiscard]] QAction& helpMenuItem() { return *_helpMenuItem; }
    [[nodiscard]] QAction& quitMenuItem() { return *_quitMenuItem; }
    [[nodiscard]] QAction& editItem() { return *_editItem; }
    [[nodiscard]] QAction& saveItem() { return *_saveItem; }
    [[nodiscard]] QAction& completeItem() { return *_completeItem; }
    [[nodiscard]] QAction& snoozeItem() { return *_snoozeItem; }
    [[nodiscard]] QAction& skipItem() { return *_skipItem; }
    [[nodiscard]] QAction& showListItem() { return *_showListItem; }
    [[nodiscard]] QAction& closeItem() { return *_closeItem; }
    [[nodiscard]] QAction& zunItem() { return *_zunItem; }
    [[nodiscard]] QAction& keyboardShortcutsItem() { return *_keyboardShortcutsItem; }
    [[nodiscard]] QAction& searchItem() { return *_searchItem; }
    [[nodiscard]] QAction& undoItem() { return *_undoItem; }
    [[nodiscard]] QAction& redoItem() { return *_redoItem; }

  signals:
    // Commands that concern the window in front and no screen.
    void searchWanted();
    void cancelWanted();
    void fullScreenWanted();
    void helpWanted();
    void aboutWanted();

  private:
    using Keys = QList<QKeySequence>;
    QAction* makeItem(std::string_view titleKey, const Keys& keys);
    QAction* addItem(std::string_view titleKey, const Keys& keys, std::string_view notification);
    QAction* addItem(std::string_view titleKey, const Keys& keys, void (ZNMenuViewController::*wanted)());
    void addCardItems();
    void addUndoItems();
    void addWindowItems();
    void followNotifications();
    void enableOn(std::string_view notification, const std::vector<QAction*>& items, bool enabled);
    [[nodiscard]] QString text(std::string_view key) const;

    Collaborators _with;
    std::vector<QAction*> _items;
    QAction *_preferencesMenuItem, *_accountItem, *_addReminderMenuItem, *_helpMenuItem, *_quitMenuItem;
    QAction *_editItem, *_saveItem, *_completeItem, *_snoozeItem, *_skipItem, *_skipLeftItem;
    QAction *_showListItem, *_closeItem, *_zunItem, *_keyboardShortcutsItem;
    QAction *_searchItem, *_undoItem, *_redoItem, *_fullScreenItem, *_aboutItem, *_cancelItem;
    std::vector<Observation> _observations;
};

}  // namespace zun
