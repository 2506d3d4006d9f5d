#include "shell/ZNWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QSettings>
#include <QWindow>
#include <algorithm>

namespace zun {
namespace {

constexpr const char* placeKey = "znWindowAutoSaveName";

}  // namespace

std::uint64_t layoutModeForWidth(double width) {
    if (width < 390) return 0;
    if (width < 480) return 1;
    if (width <= 980) return 2;
    return 3;
}

ZNWindow::ZNWindow(ZNSettingsObject& settings, std::filesystem::path placeFile)
    : _settings(settings), _placeFile(std::move(placeFile)) {
    setWindowFlag(Qt::Window);
    setMinimumSize(smallest);
    setAccessibilityRole(QAccessible::Window);
    setAccessibilityElement(true);
}

// The content measures the window up to its own end.
ZNWindow::~ZNWindow() {
    delete _content;
}

void ZNWindow::setContent(QWidget* content) {
    _content = content;
    content->setParent(this);
    placeContent();
    content->show();
}

void ZNWindow::setMenuBar(QMenuBar* menuBar) {
    _menuBar = menuBar;
    menuBar->setParent(this);
    placeContent();
}

QRect ZNWindow::contentRect() const {
    // A bar that the desktop shows elsewhere has no height here.
    const bool hasBar = _menuBar && !_menuBar->isNativeMenuBar() && !isFullScreen();
    return rect().adjusted(0, hasBar ? _menuBar->heightForWidth(width()) : 0, 0, 0);
}

void ZNWindow::placeContent() {
    const QRect content = contentRect();
    if (_menuBar && !_menuBar->isNativeMenuBar()) {
        _menuBar->setVisible(!isFullScreen());
        _menuBar->setGeometry(0, 0, width(), content.top());
    }
    if (_content) _content->setGeometry(content);
}

void ZNWindow::restorePlace() {
    const QSettings file(QString::fromStdString(_placeFile.native()), QSettings::IniFormat);
    const auto saved = file.value(placeKey).toRect();
    // The first time, the cards have the stated room below the menu bar.
    const QSize first = smallest + QSize(0, contentRect().top());
    const auto size = (saved.isValid() ? saved.size() : first).boundedTo(largest).expandedTo(smallest);
    centre(size);
    // A place on a screen that has gone would leave the window out of reach.
    if (const auto* screen = saved.isValid() ? QGuiApplication::screenAt(saved.center()) : nullptr) {
        QRect place(saved.topLeft(), size);
        // Screens have shrunk since, or are shown larger: beyond all of them nothing can be seen.
        const QRect all = screen->virtualGeometry();
        place.moveBottomRight({std::min(place.right(), all.right()), std::min(place.bottom(), all.bottom())});
        place.moveTopLeft({std::max(place.left(), all.left()), std::max(place.top(), all.top())});
        setGeometry(place);
    }
    _settings.setWindowLayoutMode(layoutModeForWidth(width()));
}

void ZNWindow::centre(QSize size) {
    const auto* screen = QGuiApplication::primaryScreen();
    const auto available = screen ? screen->availableGeometry() : QRect(QPoint(), size);
    setGeometry(QRect(available.center() - QPoint(size.width() / 2, size.height() / 2), size));
    _settings.setWindowLayoutMode(layoutModeForWidth(width()));
}

void ZNWindow::rememberPlace() const {
    if (windowState() & (Qt::WindowFullScreen | Qt::WindowMaximized | Qt::WindowMinimized)) return;
    QSettings(QString::fromStdString(_placeFile.native()), QSettings::IniFormat).setValue(placeKey, geometry());
}

void ZNWindow::toggleFullScreen() {
    setWindowState(windowState() ^ Qt::WindowFullScreen);
}

void ZNWindow::resizeEvent(QResizeEvent* event) {
    _settings.setWindowLayoutMode(layoutModeForWidth(width()));
    placeContent();
    ZNGradientView::resizeEvent(event);
}

void ZNWindow::closeEvent(QCloseEvent* event) {
    rememberPlace();
    event->accept();
}

void ZNWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && !isFullScreen()) _heldAt = event->globalPosition().toPoint();
}

void ZNWindow::mouseMoveEvent(QMouseEvent* event) {
    if (!_heldAt ||
        (event->globalPosition().toPoint() - *_heldAt).manhattanLength() < QApplication::startDragDistance())
        return;
    _heldAt.reset();
    // The window manager moves it from here on, with its own edges, snapping and workspaces.
    if (auto* handle = windowHandle()) handle->startSystemMove();
}

void ZNWindow::mouseReleaseEvent(QMouseEvent*) {
    _heldAt.reset();
}

void ZNWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange && !isActiveWindow()) rememberPlace();
    if (event->type() == QEvent::WindowStateChange) {
        placeContent();
        emit fullScreenChanged(isFullScreen());
    }
    ZNGradientView::changeEvent(event);
}

}  // namespace zun
