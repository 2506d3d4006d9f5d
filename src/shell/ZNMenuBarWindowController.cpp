#include "shell/ZNMenuBarWindowController.h"

#include <QApplication>
#include <QCursor>
#include <QPointer>
#include <QScreen>

#include "shell/X11.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr auto fadeIn = 150ms;
constexpr auto fadeOut = 100ms;
constexpr auto orderOutDelay = 200ms;
// The keyboard leaves before the window that takes it has it.
constexpr auto resignRest = 60ms;
// From pressing the item, which takes the keyboard, to letting it go, which clicks.
constexpr auto sameClick = 400ms;

}  // namespace

ZNMenuBarWindowController::ZNMenuBarWindowController(Collaborators collaborators)
    : _with(std::move(collaborators)), _panel(std::make_unique<ZNPanel>()) {
    _tabController = _with.makeRoot([shown = _panel.get()] { return QSizeF(shown->contentRect().size()); });
    if (ZNPanel::canBePlaced()) _tabController->setCornerRadius(PanelPlacement::cornerRadius);
    _panel->setContent(_tabController);
    _frames = _with.animations.observeFrames([this] {
        if (_panel->isVisible()) applyVisibility();
    });
    connect(_panel.get(), &ZNPanel::closed, this, [this] { onSetShown(false); });
    connect(_panel.get(), &ZNPanel::resignedKey, this, [this] { resignedKey(); });
}

void ZNMenuBarWindowController::onSetShown(bool shown) {
    if (shown == _shown) return;
    _shown = shown;
    if (shown) {
        showPanel();
    } else {
        hidePanel();
    }
}

void ZNMenuBarWindowController::toggle(const std::function<void()>& show) {
    const bool isSameClick = _closedByItself && _with.dispatch.uptime() - *_closedByItself < sameClick;
    _closedByItself.reset();
    if (_shown) {
        onSetShown(false);
    } else if (!isSameClick) {
        show();
    }
}

void ZNMenuBarWindowController::showPanel() {
    auto item = _with.statusRect();
    const auto* screen = QGuiApplication::screenAt(item ? item->center() : QCursor::pos());
    if (!screen) screen = QGuiApplication::primaryScreen();
    if (!item) item = itemUnderPointer(QCursor::pos(), screen->geometry(), screen->availableGeometry());
    _panel->place(placePanel(item, screen->geometry(), screen->availableGeometry()));
    applyVisibility();
    _panel->show();
    _panel->raise();
    _panel->activateWindow();
    _with.animations.runGroup(
        fadeIn, Easing::Out, [this](ZNAnimationGroup& group) { group.set(_visibility, 1); },
        [self = QPointer(this)] {
            if (self) self->applyVisibility();
        });
}

void ZNMenuBarWindowController::applyVisibility() {
    _panel->setWindowOpacity(_visibility.shown());
    x11::flush();
}

void ZNMenuBarWindowController::hidePanel() {
    _with.animations.runGroup(fadeOut, Easing::In, [this](ZNAnimationGroup& group) { group.set(_visibility, 0); });
    _with.animations.after(orderOutDelay, [self = QPointer(this)] {
        if (self && !self->_shown) self->_panel->hide();
    });
}

bool ZNMenuBarWindowController::hasKeyOrGaveItToItsOwn() const {
    if (QApplication::activePopupWidget()) return true;
    for (const QWidget* active = QApplication::activeWindow(); active; active = active->parentWidget()) {
        if (active == _panel.get()) return true;
    }
    return false;
}

void ZNMenuBarWindowController::resignedKey() {
    _with.dispatch.main()->asyncAfter(resignRest, [self = QPointer(this)] {
        if (!self || !self->_shown || self->hasKeyOrGaveItToItsOwn()) return;
        self->_closedByItself = self->_with.dispatch.uptime();
        self->onSetShown(false);
    });
}

}  // namespace zun
