#include "core/NotificationNames.h"
#include "shell/AppDelegate.h"
#include "shell/MessageBar.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr auto setFrontDelay = 100ms;

}  // namespace

ZNTabViewController& AppDelegate::root() const {
    return _menuBarWindow ? _menuBarWindow->tabController() : _tabWindow->tabViewController();
}

QWidget& AppDelegate::rootWindow() const {
    return _menuBarWindow ? static_cast<QWidget&>(_menuBarWindow->panel()) : _tabWindow->window();
}

bool AppDelegate::canUseMenuBar() {
    return _with.settings.showInMenubar() && _with.tray.isAvailable();
}

void AppDelegate::prepareMainInterface() {
    if (canUseMenuBar()) {
        preparePopover();
    } else {
        prepareWindow();
    }
    if (!_with.settings.showInMenubar() || _menuBarWindow) return _with.tray.stopWaiting();
    _with.tray.waitForTray();
    root().messages().showMessage(text("Tray_Missing_Message"));
}

ZNTabViewController* AppDelegate::makeRoot(std::function<QSizeF()> windowSize) {
    const CardContext cards{_with.dispatch, _with.notifications, _with.settings,       _pictures,
                            _animations,    _cardTexts,          std::move(windowSize)};
    return new ZNTabViewController(
        {{cards, _with.manager, _with.environment, _undoStack, _with.strings, _with.labels, _with.sync},
         _with.strings,
         _keptReminders,
         _with.screens});
}

void AppDelegate::prepareWindow() {
    if (_tabWindow) return;
    auto window = std::make_unique<ZNWindow>(_with.settings, _with.home.state / "window.ini");
    _menuBarController.attachTo(*window);
    connect(window.get(), &ZNWindow::fullScreenChanged, &_menuBarController, &ZNMenuViewController::setFullScreen);
    auto* menuBar = _menuBarController.makeMenuBar(window.get());
    _tabWindow = std::make_unique<ZNTabViewWindowController>(
        std::move(window), menuBar, _with.settings,
        [this](auto windowSize) { return makeRoot(std::move(windowSize)); });
    _tabWindow->tabViewController().setDelegate(this);
}

void AppDelegate::preparePopover() {
    _statusItemView = std::make_unique<ZNStatusItemView>(
        ZNStatusItemView::Collaborators{_with.notifications, _with.strings, _pictures, _with.screens});
    connect(_statusItemView.get(), &ZNStatusItemView::clicked, this, [this] { togglePopover(); });
    connect(_statusItemView.get(), &ZNStatusItemView::showWanted, this, [this] { showPopover(); });
    _menuBarWindow = std::make_unique<ZNMenuBarWindowController>(ZNMenuBarWindowController::Collaborators{
        _with.dispatch, _animations, [this](auto windowSize) { return makeRoot(std::move(windowSize)); },
        [this] { return _statusItemView ? _statusItemView->globalRect() : std::nullopt; }});
    _menuBarController.attachTo(_menuBarWindow->panel());
    applyDesktopSettings();
}

// The new mode's interface is there before the old one goes.
void AppDelegate::appModeDidChange() {
    const bool hadWindow = _tabWindow != nullptr;
    const bool hadPanel = _menuBarWindow != nullptr;
    if (hadPanel && !_with.settings.showInMenubar()) {
        prepareWindow();
        cleanMenuBarController();
        _with.dispatch.main()->asyncAfter(setFrontDelay, [self = QPointer(this)] {
            if (self) self->setFront();
        });
    } else if (hadWindow) {
        prepareMainInterface();
        if (!_menuBarWindow) return;
        cleanCardWindowController();
    } else {
        return;
    }
    // Undone can only be what the screens that have gone did.
    _undoStack.clear();
    setWindowIcon();
    updateCardController();
}

void AppDelegate::cleanCardWindowController() {
    _tabWindow->close();
    _tabWindow->tabViewController().invalidateTimer();
    _tabWindow.reset();
}

void AppDelegate::cleanMenuBarController() {
    _statusItemView.reset();
    _menuBarWindow->onSetShown(false);
    _menuBarWindow->tabController().invalidateTimer();
    _menuBarWindow.reset();
}

void AppDelegate::setFront() {
    if (!_tabWindow) return;
    showActiveWindow(IgnoringOtherApps::Yes);
    // The switch was made there, and may be taken back there: once the window is up, it comes over it again.
    _with.dispatch.main()->asyncAfter(setFrontDelay, [self = QPointer(this)] {
        if (self && self->_settings) bringForward(*self->_settings, {});
    });
}

void AppDelegate::togglePopover() {
    if (_menuBarWindow) _menuBarWindow->toggle([this] { showPopover(); });
}

void AppDelegate::showPopover() {
    if (!_menuBarWindow) return;
    _with.settings.setWindowLayoutMode(0);
    _menuBarWindow->onSetShown(true);
    bringForward(_menuBarWindow->panel(), std::exchange(_activation, {}));
}

}  // namespace zun
