#include "shell/AppDelegate.h"

#include <QApplication>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QPointer>
#include <QTimer>

#include "cards/ZNStackView.h"
#include "core/NotificationNames.h"
#include "platform/foundation/Log.h"
#include "shell/MessageBar.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// The window is drawn first; what nobody sees may wait for a moment of rest.
constexpr int afterFirstPaintDelay = 250;  // milliseconds

}  // namespace

AppDelegate::AppDelegate(const Collaborators& collaborators)
    : _with(collaborators),
      _cardTexts(collaborators.environment, collaborators.strings, collaborators.labels, collaborators.topics),
      _animations(collaborators.dispatch),
      _menuBarController(collaborators.notifications, collaborators.strings, _undoStack),
      _keptReminders(collaborators.home.state),
      _links({collaborators.manager, collaborators.notifications, collaborators.environment, collaborators.dispatch,
              _undoStack, collaborators.strings.string("Undo_Link_Text")}) {}

AppDelegate::~AppDelegate() {
    _with.database.setFailureHandler({});
    _observations.clear();
}

QString AppDelegate::text(std::string_view key, std::initializer_list<std::string_view> arguments) const {
    return QString::fromStdString(stringWithFormat(_with.strings.string(key), arguments));
}

// ---- start

void AppDelegate::applicationWillFinishLaunching() {
    auto& defaults = _with.settings.defaults();
    if (!defaults.onGetDidFinishTour()) {
        _with.settings.setDefaults();
        defaults.onSetDidFinishTour(true);
    }
}

void AppDelegate::applicationDidFinishLaunching() {
    prepareWindow();
    addObservers();
    _tabViewController->fetchData();
    _tabWindow->show();
    QTimer::singleShot(afterFirstPaintDelay, this, [this] { afterFirstPaint(); });
}

void AppDelegate::prepareWindow() {
    if (_tabWindow) return;
    _tabWindow = std::make_unique<ZNWindow>(_with.settings, _with.home.state / "window.ini");
    _tabWindow->restorePlace();
    const CardContext cards{_with.dispatch,
                            _with.notifications,
                            _with.settings,
                            _pictures,
                            _animations,
                            _cardTexts,
                            [window = _tabWindow.get()] { return QSizeF(window->size()); }};
    _tabViewController =
        new ZNTabViewController({{cards, _with.manager, _with.environment, _undoStack}, _with.strings, _keptReminders});
    _tabWindow->setContent(_tabViewController);
    _menuBarController.attachTo(*_tabWindow);
    _tabViewController->cardController().stackView().setFocus();
    connect(_tabWindow.get(), &ZNWindow::becameActive, this, [this] { _tabViewController->fetchData(); });
    connect(_tabWindow.get(), &ZNWindow::resignedActive, this, [this] { _with.manager.willBecomeInactive(); });
}

void AppDelegate::addObservers() {
    const auto on = [this](std::string_view name, NSNotificationCenter::Handler handler) {
        _observations.push_back(_with.notifications.addObserver(name, std::move(handler)));
    };
    on(ZNReminderCountDidUpdateNotification, [this](const NSNotification& notification) {
        if (const auto* title = std::any_cast<std::string>(&notification.object)) {
            _tabWindow->setWindowTitle(QString::fromStdString(*title));
        }
    });
    on(ZNCloseWindowActionNotification, [this](const NSNotification&) { _tabWindow->close(); });
    on(ZNOpenWindowActionNotification, [this](const NSNotification&) { activate(); });
    on(ZNQuitActionNotification, [](const NSNotification&) { QApplication::quit(); });

    _with.database.setFailureHandler([self = QPointer(this), &dispatch = _with.dispatch](const StoreError& error) {
        dispatch.main()->async([self, error] {
            if (self) self->reportFailure(error);
        });
    });
    connect(&_desktop, &DesktopSettings::changed, this, &AppDelegate::applyDesktopSettings);
    connect(&_desktop, &DesktopSettings::resumed, this, &AppDelegate::minutePassed);

    const auto addWindowKey = [this](const QKeySequence& key, auto action) {
        auto* command = new QAction(_tabWindow.get());
        command->setShortcut(key);
        connect(command, &QAction::triggered, this, action);
        _tabWindow->addAction(command);
    };
    addWindowKey(Qt::Key_F11, [this] { _tabWindow->toggleFullScreen(); });
    // At the top level Escape does one thing: it leaves full screen.
    addWindowKey(Qt::Key_Escape, [this] {
        if (_tabWindow->isFullScreen()) _tabWindow->toggleFullScreen();
    });
}

void AppDelegate::afterFirstPaint() {
    _with.database.watchForChanges();
    setWindowIcon();
    reportHealth();
    if (!_with.settings.onGetCloudKitStatus()) cleanupReminders();
    _desktop.start();
    watchSettings();
    scheduleMinute();
}

// For X11, where no desktop entry tells the window's icon.
void AppDelegate::setWindowIcon() {
    QIcon icon;
    for (const int side : {16, 32, 48, 128})
        icon.addPixmap(_pictures.pixmap(side < 48 ? "zun_icon" : "zun_icon_large", QSizeF(side, side), 1));
    _tabWindow->setWindowIcon(icon);
}

void AppDelegate::cleanupReminders() {
    _with.manager.removeCompletedRemindersIfEnabled();
}

// ---- while it runs

void AppDelegate::activate() {
    if (_tabWindow->isMinimized()) _tabWindow->showNormal();
    _tabWindow->show();
    _tabWindow->raise();
    _tabWindow->activateWindow();
}

void AppDelegate::openLinks(const QStringList& urls) {
    for (const auto& url : urls)
        _links.open(url.toStdString());
}

void AppDelegate::scheduleMinute() {
    const auto sinceMinute = _with.environment.now().time_since_epoch() % 1min;
    _minuteTimer = NSTimer(_with.dispatch.main(), 1min - sinceMinute, false, [self = QPointer(this)] {
        if (!self) return;
        self->minutePassed();
        self->scheduleMinute();
    });
}

void AppDelegate::minutePassed() {
    _with.environment.refresh();
    _tabViewController->cardController().minutePassed();
}

void AppDelegate::watchSettings() {
    const auto file = QString::fromStdString(_with.settings.defaults().file().native());
    auto* watcher = new QFileSystemWatcher(QStringList{file, QFileInfo(file).path()}, this);
    const auto changed = [this, watcher, file] {
        // The file is replaced whole, which ends the watch on it.
        if (!watcher->files().contains(file)) watcher->addPath(file);
        settingsFileChanged();
    };
    connect(watcher, &QFileSystemWatcher::fileChanged, this, changed);
    connect(watcher, &QFileSystemWatcher::directoryChanged, this, changed);
}

void AppDelegate::settingsFileChanged() {
    if (_with.settings.defaults().reload()) _with.settings.reload();
}

void AppDelegate::applyDesktopSettings() {
    if (const auto wanted = _desktop.wantsAnimations()) {
        _animations.setAnimations(*wanted ? Animations::On : Animations::Reduced);
    }
    if (const auto natural = _desktop.naturalScrolling()) {
        _tabViewController->cardController().stackView().setNaturalScrolling(*natural ? NaturalScrolling::On
                                                                                      : NaturalScrolling::Off);
    }
}

// ---- what went wrong with the store

void AppDelegate::reportHealth() {
    const auto& health = _with.database.health();
    for (const auto& finding : health.findings)
        NSLog(finding.message);
    if (!health.setAside.empty()) {
        const auto name = health.setAside.filename().native();
        const auto message = health.salvaged > 0
                                 ? text("Store_Damaged_Message", {name, std::to_string(health.salvaged)})
                                 : text("Store_Damaged_Empty_Message", {name});
        _tabViewController->messages().showMessage(message, MessageBar::Stays::UntilClicked);
    } else if (!health.findings.empty() && !health.canWrite) {
        reportFailure(health.findings.front());
    }
}

void AppDelegate::reportFailure(const StoreError& error) {
    NSLog(error.message);
    const auto folder = _with.home.data.native();
    const auto message = [&] {
        switch (error.code) {
            case StoreErrorCode::ReadOnly:
                return text("Store_Read_Only_Message", {folder});
            case StoreErrorCode::DiskFull:
                return text("Store_Disk_Full_Message");
            case StoreErrorCode::NewerVersion:
                return text("Store_Newer_Message", {folder});
            case StoreErrorCode::CannotOpen:
            case StoreErrorCode::Damaged:
            case StoreErrorCode::Busy:
            case StoreErrorCode::Other:
                break;
        }
        return text("Store_Unavailable_Message", {folder, error.message});
    }();
    _tabViewController->messages().showMessage(message, MessageBar::Stays::UntilClicked);
    _tabViewController->cardController().writeFailed();
}

}  // namespace zun
