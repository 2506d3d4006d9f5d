#include "toolkit/ZNPopover.h"

#include <QApplication>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>

#include "toolkit/Shadow.h"
#include "toolkit/Tokens.h"

namespace zun {
namespace {

using Edge = ZNPopover::Edge;

// The room around the panel for the shadow, and on one side for the arrow.
constexpr int reach = tokens::popoverShadowBlur + tokens::popoverShadowOffset;
static_assert(reach > tokens::popoverArrowLength);

bool isBeside(Edge edge) {
    return edge == Edge::Left || edge == Edge::Right;
}

Edge opposite(Edge edge) {
    switch (edge) {
        case Edge::Left:
            return Edge::Right;
        case Edge::Right:
            return Edge::Left;
        case Edge::Above:
            return Edge::Below;
        case Edge::Below:
            return Edge::Above;
    }
    return edge;
}

QPoint corner(QSize panel, QRect anchor, Edge edge) {
    const QPoint centre = anchor.center();
    const int gap = tokens::popoverArrowLength;
    switch (edge) {
        case Edge::Left:
            return {anchor.left() - gap - panel.width(), centre.y() - panel.height() / 2};
        case Edge::Right:
            return {anchor.right() + 1 + gap, centre.y() - panel.height() / 2};
        case Edge::Above:
            return {centre.x() - panel.width() / 2, anchor.top() - gap - panel.height()};
        case Edge::Below:
            return {centre.x() - panel.width() / 2, anchor.bottom() + 1 + gap};
    }
    return {};
}

// A value kept between two bounds, the lower of which wins.
int kept(int value, int low, int high) {
    return std::max(low, std::min(value, high));
}

QPainterPath outline(const QRectF& panel, Edge edge, double arrow, bool hasArrow) {
    QPainterPath shape;
    shape.addRoundedRect(panel, tokens::popoverRadius, tokens::popoverRadius);
    if (!hasArrow) return shape;
    const double half = tokens::popoverArrowWidth / 2.0;
    const double along = isBeside(edge) ? panel.height() : panel.width();
    const double least = std::min(tokens::popoverRadius + half, along / 2);
    const double tip = std::clamp(arrow, least, along - least);
    const auto at = [&](double way, double out) {
        switch (edge) {
            case Edge::Left:
                return QPointF(panel.right() + out, panel.top() + way);
            case Edge::Right:
                return QPointF(panel.left() - out, panel.top() + way);
            case Edge::Above:
                return QPointF(panel.left() + way, panel.bottom() + out);
            case Edge::Below:
                return QPointF(panel.left() + way, panel.top() - out);
        }
        return QPointF();
    };
    QPainterPath pointer(at(tip - half, -1));
    pointer.lineTo(at(tip - half, 0));
    pointer.cubicTo(at(tip - half / 2, 0), at(tip - 2.5, tokens::popoverArrowLength),
                    at(tip, tokens::popoverArrowLength));
    pointer.cubicTo(at(tip + 2.5, tokens::popoverArrowLength), at(tip + half / 2, 0), at(tip + half, 0));
    pointer.lineTo(at(tip + half, -1));
    pointer.closeSubpath();
    return shape.united(pointer);
}

}  // namespace

ZNPopover::Place ZNPopover::place(QSize panel, QRect anchor, QRect window, Edge preferredEdge) {
    const int margin = tokens::popoverWindowMargin;
    const QRect free = window.adjusted(margin, margin, -margin, -margin);
    const bool beside = isBeside(preferredEdge);
    const std::array<Edge, 4> wishes = {preferredEdge, opposite(preferredEdge), beside ? Edge::Above : Edge::Right,
                                        beside ? Edge::Below : Edge::Left};
    for (const Edge edge : wishes) {
        QRect rect(corner(panel, anchor, edge), panel);
        if (isBeside(edge)) {
            rect.moveTop(kept(rect.top(), free.top(), free.bottom() + 1 - rect.height()));
        } else {
            rect.moveLeft(kept(rect.left(), free.left(), free.right() + 1 - rect.width()));
        }
        if (!free.contains(rect)) continue;
        const QPoint centre = anchor.center();
        return {rect, edge, false, isBeside(edge) ? centre.y() - rect.top() : centre.x() - rect.left()};
    }
    QRect rect(corner(panel, anchor, preferredEdge), panel);
    rect.moveTop(kept(rect.top(), free.top(), free.bottom() + 1 - rect.height()));
    rect.moveLeft(kept(rect.left(), free.left(), free.right() + 1 - rect.width()));
    return {rect, preferredEdge, true, 0};
}

ZNPopover::ZNPopover(ZNAnimationTimeline& animations, ZNBasePopoverViewController* content, Behavior behavior,
                     QWidget* window)
    : ZNView(window), _animations(animations), _content(content), _behavior(behavior) {
    setAccessibilityRole(QAccessible::Dialog);
    content->setParent(this);
    setAccessibilityLabel(content->accessibleName());
    hide();
    _frames = animations.observeFrames([this] { layOut(); });
}

void ZNPopover::setContentSize(QSize size) {
    const bool wasAsked = std::exchange(_contentSize, size) != size;
    if (!wasAsked && _shownHeight.value() == size.height()) return;
    if (isHidden()) {
        _shownHeight.jump(size.height());
        return;
    }
    const QPointer<ZNPopover> self(this);
    _animations.runGroup(
        tokens::popoverResize, Easing::InOut, [&](ZNAnimationGroup& group) { group.set(_shownHeight, size.height()); },
        [self] {
            if (self) self->layOut();
        });
}

void ZNPopover::showRelativeTo(QWidget& anchor, Edge preferredEdge) {
    _anchor = &anchor;
    const bool mirrored = layoutDirection() == Qt::RightToLeft && isBeside(preferredEdge);
    _preferredEdge = mirrored ? opposite(preferredEdge) : preferredEdge;
    _focusBefore = QApplication::focusWidget();
    qApp->installEventFilter(this);
    _shownHeight.jump(_contentSize.height());
    layOut();
    show();
    raise();
    _content->viewDidAppear();
    if (auto* first = _content->initialFocus()) first->setFocus(Qt::PopupFocusReason);
    const QPointer<ZNPopover> self(this);
    _animations.runGroup(
        tokens::popoverFade, Easing::Out, [&](ZNAnimationGroup& group) { group.set(_opacity, 1); },
        [self] {
            if (self) self->layOut();
        });
}

void ZNPopover::close() {
    if (std::exchange(_isClosing, true)) return;
    qApp->removeEventFilter(this);
    const bool hadFocus = QApplication::focusWidget() && isAncestorOf(QApplication::focusWidget());
    emit didClose();
    if (hadFocus && _focusBefore && _focusBefore->isVisible()) _focusBefore->setFocus(Qt::PopupFocusReason);
    // Its controls are of no use any more, and what they write to may go before the last frame.
    setEnabled(false);
    hide();
    deleteLater();
}

void ZNPopover::layOut() {
    if (!_anchor || _isClosing) return;
    const QSize panel(_contentSize.width(), static_cast<int>(std::lround(_shownHeight.shown())));
    const QRect anchor(_anchor->mapTo(parentWidget(), QPoint(0, 0)), _anchor->size());
    const Place before = std::exchange(_place, place(panel, anchor, parentWidget()->rect(), _preferredEdge));
    setGeometry(_place.panel.adjusted(-reach, -reach, reach, reach));
    _content->setGeometry(QRect(QPoint(reach, reach), panel));
    showOpacity();
    const bool changed = before.panel.size() != _place.panel.size() || before.edge != _place.edge ||
                         before.arrow != _place.arrow || before.coversAnchor != _place.coversAnchor;
    if (changed) _skin = {};
    update();
}

// The effect paints everything into a picture each time, so it is there only while it is needed.
void ZNPopover::showOpacity() {
    const double opacity = _opacity.shown();
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(graphicsEffect());
    if (opacity >= 1) {
        if (effect) setGraphicsEffect(nullptr);
        return;
    }
    if (!effect) {
        effect = new QGraphicsOpacityEffect(this);
        setGraphicsEffect(effect);
    }
    effect->setOpacity(opacity);
}

void ZNPopover::render() {
    const double scale = devicePixelRatioF();
    const QSize pixels(static_cast<int>(std::ceil(width() * scale)), static_cast<int>(std::ceil(height() * scale)));
    _skin = QPixmap(pixels);
    _skin.setDevicePixelRatio(scale);
    _skin.fill(Qt::transparent);
    const QRectF panel(QPointF(reach, reach), _place.panel.size());
    const auto shape = outline(panel, _place.edge, _place.arrow, !_place.coversAnchor);
    QPainter painter(&_skin);
    paintShadow(painter, pixels, shape.translated(0, tokens::popoverShadowOffset), tokens::popoverShadowBlur,
                tokens::popoverShadowAlpha, scale);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(shape, QColor::fromRgba(tokens::popoverGround));
}

void ZNPopover::paintEvent(QPaintEvent*) {
    if (_skin.isNull() || _skin.devicePixelRatio() != devicePixelRatioF()) render();
    QPainter painter(this);
    painter.drawPixmap(0, 0, _skin);
}

// ---- keys and presses

QWidget* ZNPopover::firstOrLast(bool first) const {
    QWidget* found = nullptr;
    for (QWidget* next = _content->nextInFocusChain(); next && next != _content; next = next->nextInFocusChain()) {
        const bool takesKeys = (next->focusPolicy() & Qt::TabFocus) != 0 && next->isEnabled();
        if (!takesKeys || !_content->isAncestorOf(next) || !next->isVisibleTo(_content)) continue;
        found = next;
        if (first) return found;
    }
    return found;
}

bool ZNPopover::focusNextPrevChild(bool next) {
    const QWidget* now = QApplication::focusWidget();
    QWidget* const last = firstOrLast(!next);
    if (!last) return false;
    // Past the end the focus begins again on the other side, and never leaves the panel.
    if (now == last || !now || !isAncestorOf(now)) {
        firstOrLast(next)->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    }
    return ZNView::focusNextPrevChild(next);
}

void ZNPopover::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) return _content->cancelOperation();
    // What the content leaves must not become a command to what lies beneath.
    event->accept();
}

bool ZNPopover::eventFilter(QObject* object, QEvent* event) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget) return false;
    switch (event->type()) {
        case QEvent::ShortcutOverride:
            if (widget != this && !isAncestorOf(widget)) return false;
            if (static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape) return false;
            event->accept();
            return true;
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick: {
            if (_behavior != Behavior::Transient || widget->window() != window()) return false;
            if (widget == this || isAncestorOf(widget)) {
                const QPoint position = mapFromGlobal(static_cast<QMouseEvent*>(event)->globalPosition().toPoint());
                if (_content->geometry().contains(position)) return false;
            }
            close();
            return true;
        }
        case QEvent::Resize:
        case QEvent::Move:
            if (widget == parentWidget() || (_anchor && (widget == _anchor || widget->isAncestorOf(_anchor)))) layOut();
            return false;
        case QEvent::Hide:
            // A control that is no longer to be seen has nothing to point at.
            if (_anchor && (widget == _anchor || widget->isAncestorOf(_anchor)) && !_anchor->isVisible()) close();
            return false;
        default:
            return false;
    }
}

}  // namespace zun
