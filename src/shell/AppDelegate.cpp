#include "shell/AppDelegate.h"

#include <QApplication>

#include "core/NotificationNames.h"
#include "shell/AboutPanel.h"
#include "shell/MessageBar.h"
#include "shell/QuitNotice.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// The window is drawn first; what nobody sees may wait for a moment of rest.
constexpr auto afterFirstPaintDelay = 250ms;
// A card that an alert brought to the top stays there while the window comes forward.
constexpr auto requestedReminderStays = 2s;

}  // namespace

AppDelegate::AppDelegate(const Collaborators& collaborators)
    : _with(collaborators),
      _cardTexts(collaborators.environment, collaborators.strings, collaborators.labels, collaborators.topics),
      _animations(collaborators.dispatch),
      _menuBarController({collaborators.notifications, collaborators.strings, _undoStack, collaborators.screens}),
      _keptReminders(collaborators.home.state),
      _links({collaborators.manager, collaborators.notifications, collaborators.environment, collaborators.dispatch,
              _undoStack, collaborators.strings.string("Undo_Link_Text")}),
      _activity(collaborators.dispatch),
      _settingsReadings(collaborators.dispatch) {}

AppDelegate::~AppDelegate() {
    _with.database.setFailureHandler({});
    _observations.clear();
    // The manager outlives this object and not much more.
    _with.dispatch.waitUntil([under = _cleanupsUnderWay] { return *under == 0; });
}

// ---- start and end

void AppDelegate::applicationWillFinishLaunching() {
    _with.settings.setDefaultsIfNecessary();
}

void AppDelegate::applicationDidFinishLaunching(Shows shows) {
    prepareMainInterface();
    addObservers();
    updateCardController();
    if (_tabWindow && shows == Shows::Window) _tabWindow->window().show();
    _with.dispatch.main()->asyncAfter(afterFirstPaintDelay, [self = QPointer(this)] {
        if (self) self->afterFirstPaint();
    });
}

void AppDelegate::addObservers() {
    const auto on = [this](std::string_view name, std::function<void()> action) {
        _observations.push_back(_with.notifications.addObserver(
            name, [this, action = std::move(action)](const NSNotification&) { onMainThread(_with.dispatch, action); }));
    };
    _observations.push_back(_with.notifications.addObserver(
        ZNReminderCountDidUpdateNotification, [this](const NSNotification& notification) {
            if (const auto* title = std::any_cast<std::string>(&notification.object)) updateWindowTitle(*title);
        }));
    on(ZNCloseWindowActionNotification, [this] { closeActiveWindow(); });
    on(ZNSettingsMenuActionNotification, [this] { showSettings(); });
    on(ZNShowKeyboardShortcutsNotification, [this] { showShortcuts(); });
    on(ZNAccountMenuActionNotification, [this] { showAccount(); });
    _menuBarController.accountItem().setEnabled(_with.accountModel != nullptr);
    on(ZNQuitActionNotification, [this] { quit(); });
    on(ZNiCloudSyncFinished, [this] { cleanupReminders(); });
    on(ZNAppModeDidChangeNotification, [this] { appModeDidChange(); });
    on(ZNUpdateBadgeNotification, [this] { updateBadgeIcon(); });
    on(ZNOpenWindowActionNotification, [this] { showActiveWindow(IgnoringOtherApps::Yes); });

    connect(&_menuBarController, &ZNMenuViewController::searchWanted, this, [this] { root().search(); });
    connect(&_menuBarController, &ZNMenuViewController::cancelWanted, this, [this] { root().cancelOperation(); });
    connect(&_menuBarController, &ZNMenuViewController::fullScreenWanted, this, [this] { toggleFullScreen(); });
    connect(&_menuBarController, &ZNMenuViewController::helpWanted, this, [] { showHelp(); });
    connect(&_menuBarController, &ZNMenuViewController::aboutWanted, this,
            [this] { showAbout(&rootWindow(), _with.strings, _pictures); });

    connect(qApp, &QGuiApplication::applicationStateChanged, &_activity, &ApplicationActivity::follow);
    connect(&_activity, &ApplicationActivity::becameActive, this, [this] { applicationDidBecomeActive(); });
    connect(&_activity, &ApplicationActivity::resignedActive, this, [this] { applicationWillResignActive(); });
    connect(
        qApp, &QGuiApplication::commitDataRequest, this, [this] { sessionEnds(); }, Qt::DirectConnection);
    connect(&_with.tray, &SystemTray::appeared, this, [this] { appModeDidChange(); });
    connect(&_desktop, &DesktopSettings::changed, this, &AppDelegate::applyDesktopSettings);
    connect(&_desktop, &DesktopSettings::resumed, this, &AppDelegate::minutePassed);
    connect(&_desktop, &DesktopSettings::unlocked, this, [this] {
        minutePassed();
        root().cardController().lockDidChange();
    });
    _with.database.setFailureHandler([self = QPointer(this), &dispatch = _with.dispatch](const StoreError& error) {
        dispatch.main()->async([self, error] {
            if (self) self->reportFailure(error);
        });
    });
}

void AppDelegate::applicationDidBecomeActive() {
    updateBadgeIcon();
    const bool isShowingRequested =
        _requestedReminderShown && _with.dispatch.uptime() - *_requestedReminderShown < requestedReminderStays;
    _requestedReminderShown.reset();
    if (!isShowingRequested) updateCardController();
    _with.manager.clearDeliveredNotifications();
}

void AppDelegate::applicationWillResignActive() {
    updateBadgeIcon();
    _with.manager.willBecomeInactive();
}

void AppDelegate::sessionEnds() {
    root().flush();
    if (_tabWindow) _tabWindow->window().rememberPlace();
    _with.manager.willBecomeInactive();
}

void AppDelegate::quit() {
    if (_with.settings.onGetCloudKitStatus() && _with.settings.defaults().onGetShouldShowQuitNotice()) {
        showActiveWindow(IgnoringOtherApps::Yes);
        return showQuitNotice(&rootWindow(), _with.strings, _with.settings.defaults(), _with.terminate);
    }
    _with.terminate();
}

// ---- coming forward

void AppDelegate::activate(const Activation& activation) {
    _activation = activation;
    showActiveWindow(IgnoringOtherApps::Yes);
}

void AppDelegate::showActiveWindow(IgnoringOtherApps ignoringOtherApps) {
    if (_menuBarWindow) return showPopover();
    auto& window = _tabWindow->window();
    if (ignoringOtherApps == IgnoringOtherApps::Yes) {
        bringForward(window, std::exchange(_activation, {}));
    } else {
        window.show();
    }
}

void AppDelegate::openLinks(const QStringList& urls, const Activation& activation) {
    bool wantsToBeSeen = false;
    for (const auto& url : urls)
        wantsToBeSeen = _links.open(url.toStdString()) == LinkIntake::Opened::ForALook || wantsToBeSeen;
    if (wantsToBeSeen) activate(activation);
}

void AppDelegate::createNewReminder(const Activation& activation) {
    activate(activation);
    _with.notifications.postNotificationName(ZNNewReminderMenuActionNotification);
}

void AppDelegate::showStack(const Activation& activation) {
    root().onSetActiveTab(0);
    updateCardController();
    activate(activation);
}

// ---- windows

void AppDelegate::shouldCloseWindowWithCardController() {
    if (_tabWindow && _tabWindow->window().isFullScreen()) toggleFullScreen();
}

void AppDelegate::toggleFullScreen() {
    if (_tabWindow) _tabWindow->window().toggleFullScreen();
}

void AppDelegate::closeActiveWindow() {
    if (_settings && _settings->isActiveWindow()) {
        _settings->close();
    } else if (_accountWindow && _accountWindow->isActiveWindow()) {
        _accountWindow->close();
    } else if (_tabWindow) {
        _tabWindow->close();
    } else if (_menuBarWindow && _menuBarWindow->shown()) {
        _menuBarWindow->onSetShown(false);
    } else if (!_settings && _shortcutsWindow) {
        _shortcutsWindow->close();
    }
}

// Each time a new one, which shows what is so now.
void AppDelegate::showSettings() {
    _settings = std::make_unique<ZNSettingsWindowController>(
        ZNSettingsWindowController::Collaborators{_with.settings, _with.notifications, _with.strings, _with.environment,
                                                  _with.dispatch, _pictures, _with.account, _with.syncCache});
    connect(_settings.get(), &FixedWindow::willClose, this, [this] {
        // It is in the middle of closing.
        if (_settings) _settings.release()->deleteLater();
    });
    bringForward(*_settings, {});
}

void AppDelegate::showShortcuts() {
    if (!_shortcutsWindow)
        _shortcutsWindow = std::make_unique<ZNKeyboardShortcutsWindowController>(_with.strings, _pictures);
    bringForward(*_shortcutsWindow, {});
}

// One at a time: what is typed into it stays.
void AppDelegate::showAccount() {
    if (!_with.accountModel) return;
    if (!_accountWindow) {
        _accountWindow = std::make_unique<ZNAccountWindowController>(ZNAccountWindowController::Collaborators{
            *_with.accountModel, _with.settings, _with.strings, _with.labels, _with.dispatch, _pictures, {}});
        connect(_accountWindow.get(), &FixedWindow::willClose, this, [this] {
            if (_accountWindow) _accountWindow.release()->deleteLater();
        });
    }
    bringForward(*_accountWindow, {});
}

void AppDelegate::updateWindowTitle(const std::string& title) {
    if (_tabWindow) _tabWindow->window().setWindowTitle(QString::fromStdString(title));
    updateBadgeIcon();
}

void AppDelegate::updateBadgeIcon() {
    const auto count = _with.manager.numberOfActiveReminders();
    _badge.setCount(count);
    if (_statusItemView) _statusItemView->setCount(count);
}

void AppDelegate::updateCardController() {
    root().fetchData();
}

// Off the main thread: it walks the whole store.
void AppDelegate::cleanupReminders() {
    ++*_cleanupsUnderWay;
    _with.dispatch.concurrent(QualityOfService::Background)
        ->async([&manager = _with.manager, &dispatch = _with.dispatch, underWay = _cleanupsUnderWay] {
            manager.removeCompletedRemindersIfEnabled();
            manager.removeStaleLocalNotifications();
            --*underWay;
            dispatch.notify();
        });
}

}  // namespace zun
