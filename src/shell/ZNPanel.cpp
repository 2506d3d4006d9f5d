#include "shell/ZNPanel.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

#include "shell/X11.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr double edgeAlpha = 0.14;  // of the light line that sets it off from dark windows

}  // namespace

bool ZNPanel::canBePlaced() {
    return !QGuiApplication::platformName().startsWith("wayland");
}

ZNPanel::ZNPanel() {
    setAccessibilityRole(QAccessible::Window);
    setAccessibilityElement(true);
    if (canBePlaced()) {
        setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint);
        setAttribute(Qt::WA_TranslucentBackground);
    } else {
        setWindowFlags(Qt::Window);
    }
    setFixedSize(PanelPlacement::size);
}

// The content measures the panel up to its own end.
ZNPanel::~ZNPanel() {
    delete _content;
}

void ZNPanel::setContent(QWidget* content) {
    _content = content;
    content->setParent(this);
    content->setGeometry(contentRect());
    content->show();
}

QRect ZNPanel::contentRect() const {
    using Arrow = PanelPlacement::Arrow;
    return rect().adjusted(0, _arrow == Arrow::Up ? PanelPlacement::arrowHeight : 0, 0,
                           _arrow == Arrow::Down ? -PanelPlacement::arrowHeight : 0);
}

void ZNPanel::place(const PanelPlacement& placement) {
    _arrow = canBePlaced() ? placement.arrow : PanelPlacement::Arrow::None;
    setFixedSize(placement.frame.size());
    if (canBePlaced()) {
        move(placement.frame.topLeft());
        if (!isVisible()) x11::skipTaskbar(winId());
    }
    if (_content) _content->setGeometry(contentRect());
    setArrowX(placement.arrowX);
}

void ZNPanel::setArrowX(int x) {
    _arrowX = x;
    cutOut();
    update();
}

QPainterPath ZNPanel::outline() const {
    using Arrow = PanelPlacement::Arrow;
    const QRectF body = contentRect();
    QPainterPath path;
    path.addRoundedRect(body, PanelPlacement::cornerRadius, PanelPlacement::cornerRadius);
    if (_arrow == Arrow::None) return path;
    const bool isUp = _arrow == Arrow::Up;
    const double base = isUp ? body.top() : body.bottom();
    const double tip = isUp ? 0 : height();
    QPainterPath arrow;
    arrow.addPolygon(QPolygonF({QPointF(_arrowX - PanelPlacement::arrowHeight, base), QPointF(_arrowX, tip),
                                QPointF(_arrowX + PanelPlacement::arrowHeight, base)}));
    arrow.closeSubpath();
    return path.united(arrow);
}

void ZNPanel::cutOut() {
    if (!canBePlaced()) return;
    if (x11::composesWindows()) {
        clearMask();
    } else {
        setMask(QRegion(outline().toFillPolygon().toPolygon()));
    }
}

void ZNPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient ground(0, 0, 0, height());
    ground.setColorAt(0, QColor::fromRgba(tokens::groundTop));
    ground.setColorAt(0.5, QColor::fromRgba(tokens::groundMiddle));
    ground.setColorAt(1, QColor::fromRgba(tokens::groundBottom));
    if (!canBePlaced()) return painter.fillRect(rect(), ground);
    const QPainterPath shape = outline();
    painter.fillPath(shape, ground);
    if (_arrow == PanelPlacement::Arrow::Up) {
        // It belongs to the toolbar that it stands on.
        painter.setClipRect(0, 0, width(), PanelPlacement::arrowHeight);
        painter.fillPath(shape, QColor::fromRgba(tokens::toolbarGround));
    }
    painter.setPen(QPen(QColor::fromRgbF(1, 1, 1, static_cast<float>(edgeAlpha)), 1));
    painter.setClipPath(shape);
    painter.drawPath(shape);
}

void ZNPanel::resizeEvent(QResizeEvent* event) {
    if (_content) _content->setGeometry(contentRect());
    ZNView::resizeEvent(event);
    emit resized();
}

void ZNPanel::closeEvent(QCloseEvent* event) {
    event->ignore();  // it fades, and hides itself then
    emit closed();
}

void ZNPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ActivationChange && !isActiveWindow()) emit resignedKey();
    ZNView::changeEvent(event);
}

}  // namespace zun
