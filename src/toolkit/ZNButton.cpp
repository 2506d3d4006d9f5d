#include "toolkit/ZNButton.h"

#include <QEnterEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/Pictures.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNView.h"

namespace zun {

ZNButton::ZNButton(Pictures& pictures, Shape shape, QWidget* parent)
    : QAbstractButton(parent), _pictures(pictures), _shape(shape) {
    installAccessibility();
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setCursor(shape == Shape::Text ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void ZNButton::setIconNamed(const QString& name, int side) {
    _iconName = name;
    _iconSide = side;
    updateGeometry();
    update();
}

void ZNButton::setGround(QRgb ground) {
    _ground = ground;
    update();
}

void ZNButton::setIconAlpha(double alpha) {
    _iconAlpha = alpha;
    update();
}

void ZNButton::setFace(Face face) {
    _face = face;
    update();
}

void ZNButton::setShowsStates(bool shows) {
    if (shows == _showsStates) return;
    _showsStates = shows;
    update();
}

void ZNButton::setTexts(const QString& accessibilityLabel, const QString& tooltip) {
    setAccessibleName(accessibilityLabel);
    setToolTip(tooltip);
}

void ZNButton::setAccessibilityElement(bool isElement) {
    _isElement = isElement;
}

bool ZNButton::offersMenu() const {
    return isEnabled() && isSignalConnected(QMetaMethod::fromSignal(&ZNButton::rightClicked));
}

void ZNButton::requestMenu() {
    emit rightClicked(mapToGlobal(rect().center()));
}

QRectF ZNButton::faceRect() const {
    if (_shape != Shape::Round) return rect();
    const double side = std::min(width(), height()) - 2 * ringMargin;
    QRectF face(0, 0, side, side);
    face.moveCenter(QRectF(rect()).center());
    return face;
}

QSize ZNButton::sizeHint() const {
    const int side = std::max(_iconSide + 8, tokens::minimumHitSize);
    const int ring = _shape == Shape::Round ? 2 * ringMargin : 0;
    return {side + ring, side + ring};
}

void ZNButton::paintFace(QPainter& painter, const QRectF& rect, double scale) const {
    painter.setRenderHint(QPainter::Antialiasing);
    if (_shape == Shape::Round && qAlpha(_ground) != 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromRgba(_ground));
        painter.drawEllipse(rect);
    }
    const QPixmap icon = _pictures.pixmap(_iconName, QSizeF(_iconSide, _iconSide), scale);
    if (icon.isNull()) return;
    // Icons are crisp only on whole device pixels.
    const QSizeF size = icon.deviceIndependentSize();
    const QPointF center = rect.center();
    const QPointF corner(std::round((center.x() - size.width() / 2) * scale) / scale,
                         std::round((center.y() - size.height() / 2) * scale) / scale);
    const double opacity = painter.opacity();
    painter.setOpacity(opacity * _iconAlpha * (isEnabled() ? 1 : tokens::disabledAlpha));
    painter.drawPixmap(corner, icon);
    painter.setOpacity(opacity);
}

bool ZNButton::hasLightGround() const {
    return qAlpha(_ground) > 0 && qGray(_ground) > 200;
}

void ZNButton::paintStates(QPainter& painter) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const bool hovered = underMouse() && isEnabled();
    QColor veil;
    if (isDown() || isChecked()) {
        veil = QColor::fromRgbF(0, 0, 0, static_cast<float>(tokens::pressedDarken));
    } else if (hovered && hasLightGround()) {
        // Almost white cannot be lightened so that anyone sees it.
        veil = QColor::fromRgbF(0, 0, 0, static_cast<float>(tokens::hoverLighten / 2));
    } else if (hovered) {
        veil = QColor::fromRgbF(1, 1, 1, static_cast<float>(tokens::hoverLighten));
    }
    if (veil.isValid() && _shape != Shape::Text) {
        painter.setBrush(veil);
        if (_shape == Shape::Round) {
            painter.drawEllipse(faceRect());
        } else {
            painter.drawRect(rect());
        }
    }
    if (!_showsRing || !hasFocus()) return;
    const double half = tokens::focusRingWidth / 2;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor::fromRgba(tokens::focusRing), tokens::focusRingWidth));
    if (_shape == Shape::Round) {
        const double outset = tokens::focusRingGap + half;
        painter.drawEllipse(faceRect().adjusted(-outset, -outset, outset, outset));
    } else {
        const double inset = half + tokens::focusRingGap;
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), 4, 4);
    }
}

void ZNButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (_face == Face::Own) paintFace(painter, faceRect(), devicePixelRatioF());
    if (_showsStates) paintStates(painter);
}

void ZNButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        _rightPressed = true;
        event->accept();
        return;
    }
    QAbstractButton::mousePressEvent(event);
}

void ZNButton::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::RightButton) {
        const bool clicked = std::exchange(_rightPressed, false) && rect().contains(event->position().toPoint());
        if (clicked) emit rightClicked(event->globalPosition().toPoint());
        event->accept();
        return;
    }
    QAbstractButton::mouseReleaseEvent(event);
}

void ZNButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Menu || (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier)) {
        requestMenu();
        return;
    }
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void ZNButton::focusInEvent(QFocusEvent* event) {
    const Qt::FocusReason reason = event->reason();
    if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason) {
        _showsRing =
            reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
    }
    QAbstractButton::focusInEvent(event);
    update();
}

void ZNButton::focusOutEvent(QFocusEvent* event) {
    QAbstractButton::focusOutEvent(event);
    update();
}

void ZNButton::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    update();
}

void ZNButton::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    update();
}

}  // namespace zun
