#include "shell/FixedWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScreen>
#include <QStyle>
#include <QWindow>

namespace zun {

FixedWindow::FixedWindow(const QString& title, QSize size, QRgb ground) {
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    setWindowTitle(title);
    setAccessibilityRole(QAccessible::Window);
    setAccessibilityLabel(title);
    setFixedSize(size);
    QPalette colors = palette();
    colors.setColor(QPalette::Window, QColor::fromRgba(ground));
    setPalette(colors);
    setAutoFillBackground(true);
}

void FixedWindow::showEvent(QShowEvent* event) {
    if (!_wasShown) {
        _wasShown = true;
        const auto* main = QApplication::primaryScreen();
        if (main)
            move(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, size(), main->availableGeometry()).topLeft());
    }
    ZNView::showEvent(event);
}

void FixedWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    emit willClose();
}

void FixedWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel) || event->matches(QKeySequence::Close)) {
        close();
    } else {
        ZNView::keyPressEvent(event);
    }
}

void FixedWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) _heldAt = event->globalPosition().toPoint();
}

void FixedWindow::mouseMoveEvent(QMouseEvent* event) {
    if (!_heldAt ||
        (event->globalPosition().toPoint() - *_heldAt).manhattanLength() < QApplication::startDragDistance())
        return;
    _heldAt.reset();
    if (auto* handle = windowHandle()) handle->startSystemMove();
}

void FixedWindow::mouseReleaseEvent(QMouseEvent*) {
    _heldAt.reset();
}

}  // namespace zun
