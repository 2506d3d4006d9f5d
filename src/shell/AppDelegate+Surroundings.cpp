#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QGuiApplication>

#include "cards/ZNStackView.h"
#include "core/NotificationNames.h"
#include "platform/foundation/Log.h"
#include "shell/AppDelegate.h"
#include "shell/MessageBar.h"

namespace zun {

using namespace std::chrono_literals;

QString AppDelegate::text(std::string_view key, std::initializer_list<std::string_view> arguments) const {
    return QString::fromStdString(stringWithFormat(_with.strings.string(key), arguments));
}

void AppDelegate::afterFirstPaint() {
    _with.database.watchForChanges();
    setWindowIcon();
    reportHealth();
    if (!_with.settings.onGetCloudKitStatus()) cleanupReminders();
    _desktop.start();
    watchSettings();
    scheduleMinute();
    emit firstPaintDone();
}

// For X11, where no desktop entry tells the window's icon.
void AppDelegate::setWindowIcon() {
    QIcon icon;
    for (const int side : {16, 32, 48, 128})
        icon.addPixmap(_pictures.pixmap(side < 48 ? "zun_icon" : "zun_icon_large", QSizeF(side, side), 1));
    QGuiApplication::setWindowIcon(icon);
}

// ---- while it runs

void AppDelegate::scheduleMinute() {
    const auto sinceMinute = _with.environment.now().time_since_epoch() % 1min;
    _minuteTimer = NSTimer(_with.dispatch.main(), 1min - sinceMinute, false, [self = QPointer(this)] {
        if (!self) return;
        self->minutePassed();
        self->scheduleMinute();
    });
}

void AppDelegate::minutePassed() {
    _with.refreshEnvironment();
    root().minutePassed();
    _with.tray.minutePassed();
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

// Off the main thread, since a reading waits for whoever is just writing the file.
void AppDelegate::settingsFileChanged() {
    _settingsReadings.async(
        *_with.dispatch.concurrent(QualityOfService::UserInitiated),
        [&defaults = _with.settings.defaults(), main = _with.dispatch.main(), self = QPointer(this)] {
            if (!defaults.reload()) return;
            main->async([self] {
                if (self) self->takeOverSettings();
            });
        });
}

void AppDelegate::takeOverSettings() {
    const bool wasInMenubar = _with.settings.showInMenubar();
    _with.settings.reload();
    if (_with.settings.showInMenubar() != wasInMenubar)
        _with.notifications.postNotificationName(ZNAppModeDidChangeNotification);
}

void AppDelegate::applyDesktopSettings() {
    if (const auto wanted = _desktop.wantsAnimations()) {
        _animations.setAnimations(*wanted ? Animations::On : Animations::Reduced);
    }
    if (const auto natural = _desktop.naturalScrolling()) {
        root().cardController().stackView().setNaturalScrolling(*natural ? NaturalScrolling::On
                                                                         : NaturalScrolling::Off);
    }
    if (_statusItemView) {
        _statusItemView->setBarGround(barGround(_desktop.colorScheme(), qgetenv("XDG_CURRENT_DESKTOP")));
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
        root().messages().showMessage(message, MessageBar::Stays::UntilClicked);
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
    root().messages().showMessage(message, MessageBar::Stays::UntilClicked);
    root().cardController().writeFailed();
}

}  // namespace zun
