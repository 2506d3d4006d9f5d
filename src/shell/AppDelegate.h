#pragma once

// The one object that lives for the whole run. Owns the mode of the application, its windows, the commands, the badge
// and the item in the tray, and answers the application's start, activation, links, alerts and end. It holds no
// reminder logic. Main thread.
//
//   Dock mode      a window with a menu bar; no item in the tray
//   menu bar mode  an item in the tray and a panel; no window
//
// The mode is the settings' `showInMenubar`. A switch builds the new interface before it takes down the old one. Where
// the desktop has no tray, menu bar mode keeps the window and says so, until there is one.

#include <QUndoStack>
#include <atomic>
#include <memory>
#include <vector>

#include "cards/ReminderCardTexts.h"
#include "core/ZNReminderManager.h"
#include "platform/foundation/BlocksUnderWay.h"
#include "platform/foundation/Home.h"
#include "platform/foundation/SystemEnvironment.h"
#include "platform/usernotifications/NSUserNotificationCenter.h"
#include "shell/Activation.h"
#include "shell/ApplicationActivity.h"
#include "shell/DesktopSettings.h"
#include "shell/KeptReminders.h"
#include "shell/LauncherBadge.h"
#include "shell/LinkIntake.h"
#include "shell/SystemTray.h"
#include "shell/ZNAccountWindowController.h"
#include "shell/ZNKeyboardShortcutsWindowController.h"
#include "shell/ZNMenuBarWindowController.h"
#include "shell/ZNMenuViewController.h"
#include "shell/ZNSettingsWindowController.h"
#include "shell/ZNStatusItemView.h"
#include "shell/ZNTabViewWindowController.h"

namespace zun {

class AppDelegate final : public QObject, public NSUserNotificationCenterDelegate, private ZNTabViewControllerDelegate {
    Q_OBJECT
  public:
    struct Collaborators {
        const Home& home;
        Environment& environment;
        Dispatch& dispatch;
        NSNotificationCenter& notifications;
        ZNSettingsObject& settings;
        const LocalizedStrings& strings;
        const DateLabels& labels;
        const TopicDetection& topics;
        ZNDatabase& database;
        ZNReminderManager& manager;
        NSUserNotificationCenter& userNotifications;
        CloudAccount& account;
        SyncCache& syncCache;
        SystemTray& tray;
        const ScreenMakers& screens;
        std::function<void()> refreshEnvironment;
        std::function<void()> terminate;
        SyncStatus& sync = NoSync::shared();
        AccountModel* accountModel = nullptr;  // null where there can be no account; outlives the delegate
    };
    enum class Shows { Window, Nothing };

    explicit AppDelegate(const Collaborators& collaborators);
    ~AppDelegate() override;

    // First-run values; before anything else.
    void applicationWillFinishLaunching();
    // Builds the interface of the mode, and shows the window where there is one and it is wanted.
    void applicationDidFinishLaunching(Shows shows);
    // Coming from another application; nothing is raised by it.
    void applicationDidBecomeActive();
    void applicationWillResignActive();
    // The session ends: what is not saved yet is. Asks nothing.
    void sessionEnds();

    // From the session bus or the command line. Each of them brings the window or the panel forward, but for links that
    // want to be taken in silently.
    void activate(const Activation& activation = {});
    void openLinks(const QStringList& urls, const Activation& activation = {});
    void createNewReminder(const Activation& activation = {});
    void showStack(const Activation& activation = {});
    void alertWasAnswered(std::int64_t identifier, const std::string& reminderID,
                          NSUserNotificationActivationType answer, const Activation& activation = {});

    void didDeliverNotification(const NSUserNotification& notification) override;
    // Another device's change has been taken in, or is being fetched.
    void remoteNotificationArrived();
    void didActivateNotification(const NSUserNotification& notification) override;

    // Another process changed the settings' file.
    void settingsFileChanged();
    void takeOverSettings();
    void togglePopover();

    // Each null in the other mode.
    [[nodiscard]] ZNTabViewWindowController* tabWindow() const { return _tabWindow.get(); }
    [[nodiscard]] ZNMenuBarWindowController* menuBarWindow() const { return _menuBarWindow.get(); }
    [[nodiscard]] ZNStatusItemView* statusItemView() const { return _statusItemView.get(); }
    [[nodiscard]] ZNSettingsWindowController* settingsWindow() const { return _settings.get(); }
    [[nodiscard]] ZNAccountWindowController* accountWindow() const { return _accountWindow.get(); }
    [[nodiscard]] ZNMenuViewController& menuBarController() { return _menuBarController; }
    // The root controller of the mode.
    [[nodiscard]] ZNTabViewController& root() const;
    [[nodiscard]] QWidget& rootWindow() const;

  signals:
    // What nobody sees may begin.
    void firstPaintDone();

  private:
    // modes
    [[nodiscard]] bool canUseMenuBar();
    void prepareMainInterface();
    void prepareWindow();
    void preparePopover();
    void appModeDidChange();
    void cleanCardWindowController();
    void cleanMenuBarController();
    [[nodiscard]] ZNTabViewController* makeRoot(std::function<QSizeF()> windowSize);
    void attach(QWidget& window);
    void showPopover();
    void setFront();

    // windows and commands
    void addObservers();
    void shouldCloseWindowWithCardController() override;
    enum class IgnoringOtherApps { No, Yes };
    void showActiveWindow(IgnoringOtherApps ignoringOtherApps);
    void closeActiveWindow();
    void showSettings();
    void showShortcuts();
    void showAccount();
    void toggleFullScreen();
    void updateWindowTitle(const std::string& title);
    void updateBadgeIcon();
    void updateCardController();
    void cleanupReminders();
    void quit();

    // the surroundings
    void afterFirstPaint();
    void setWindowIcon();
    void minutePassed();
    void scheduleMinute();
    void reportHealth();
    void reportFailure(const StoreError& error);
    void applyDesktopSettings();
    void watchSettings();
    [[nodiscard]] QString text(std::string_view key, std::initializer_list<std::string_view> arguments = {}) const;

    Collaborators _with;
    ReminderCardTexts _cardTexts;
    Pictures _pictures;
    ZNAnimationTimeline _animations;
    QUndoStack _undoStack;
    ZNMenuViewController _menuBarController;
    KeptReminders _keptReminders;
    LinkIntake _links;
    DesktopSettings _desktop;
    ApplicationActivity _activity;
    LauncherBadge _badge;
    std::unique_ptr<ZNTabViewWindowController> _tabWindow;
    std::unique_ptr<ZNMenuBarWindowController> _menuBarWindow;
    std::unique_ptr<ZNStatusItemView> _statusItemView;
    std::unique_ptr<ZNSettingsWindowController> _settings;  // while it is open
    std::unique_ptr<ZNKeyboardShortcutsWindowController> _shortcutsWindow;
    std::unique_ptr<ZNAccountWindowController> _accountWindow;  // while it is open
    Activation _activation;                                     // of what is brought forward now
    std::optional<std::chrono::microseconds> _requestedReminderShown;
    std::shared_ptr<std::atomic<int>> _cleanupsUnderWay = std::make_shared<std::atomic<int>>(0);
    NSTimer _minuteTimer;
    std::vector<Observation> _observations;
    BlocksUnderWay _settingsReadings;
};

}  // namespace zun
