// How devices reach the stack: the mouse through the controls of the top card, which see it first, wheels and fingers
// directly.

#include <QMouseEvent>
#include <QTouchEvent>
#include <QWheelEvent>
#include <utility>

#include "cards/CardControls.h"
#include "cards/ZNStackView.h"
#include "cards/ZNStackViewItem.h"
#include "toolkit/Tokens.h"

namespace zun {

bool ZNStackView::swipesAllowed() const {
    return _shouldRespondToActions && _delegate != nullptr && _delegate->shouldRespondToScrollAndGestures() &&
           _delegate->numberOfItemsInStack() > 0 && !_stackViews.empty();
}

void ZNStackView::swipeChanged(QPointF delta, DirectionInvertedFromDevice inverted, SwipePower power) {
    if (!swipesAllowed()) return;
    ZNStackViewItem& top = *topItem();
    const QPointF rest(top.restX, StackGeometry::startingYOffset);
    // A card on its way back is taken up where it is seen.
    if (!_recognizer.isVisible()) _recognizer.startFrom(QPointF(top.centerX.shown(), top.centerY.shown()) - rest);
    if (!_recognizer.changed(delta, inverted, power)) return;
    showSwipe();
    repaintMoved();
}

void ZNStackView::showSwipe() {
    ZNStackViewItem& top = *topItem();
    const SwipeProgress& progress = _recognizer.progress();
    top.centerX.jump(top.restX + progress.displacement.x());
    top.centerY.jump(StackGeometry::startingYOffset + progress.displacement.y());
    for (const int index : {1, 2}) {
        ZNStackViewItem& below = *_stackViews[static_cast<std::size_t>(index)];
        if (!below.cardHidden) below.cardAlpha.jump(StackGeometry::alphaMovingUp(index, progress.fade));
    }
    top.setSkipStatusWithPercentage(progress.skip);
    top.setSnoozeStatusWithPercentage(progress.snooze);
    top.setCompleteStatusWithPercentage(progress.complete);
}

// The deck may be fetched anew at any moment; the card under the finger stays there, and a card that came up in its
// place takes nothing of the gesture.
void ZNStackView::goOnWithSwipe(const ReminderPtr& swiped) {
    if (!_recognizer.isVisible() || _stackViews.empty()) return;
    const ReminderPtr& now = topItem()->reminder();
    const bool isSame = !topItem()->cardHidden && swiped && now &&
                        (swiped == now || (swiped->reminderID() && swiped->reminderID() == now->reminderID()));
    if (isSame) return showSwipe();
    _recognizer.cancel();
    _gatherer.cancel();
}

void ZNStackView::swipeEnded(SwipePower power) {
    if (!swipesAllowed()) return _recognizer.cancel();
    ZNStackViewItemDelegate* delegate = topItem()->delegate();
    const unsigned before = _actions;
    switch (_recognizer.ended(_delegate->numberOfItemsInStack(), power)) {
        case SwipeDecision::Restore:
            break;
        case SwipeDecision::Skip:
            delegate->shouldSkipTopCard();
            break;
        case SwipeDecision::Complete:
            delegate->shouldCompleteTopCard();
            break;
        case SwipeDecision::Snooze:
            delegate->shouldSnoozeTopCard();
            break;
    }
    // Nothing was thrown, be it by decision or because the controller would not.
    if (before == _actions) restoreTopCard();
}

void ZNStackView::swipeAbandoned() {
    _recognizer.cancel();
}

void ZNStackView::wheelEvent(QWheelEvent* event) {
    _gatherer.wheel(*event);
    event->accept();
}

void ZNStackView::watchControls(ZNStackViewItem& item) {
    item.installEventFilter(this);
    for (ZNButton* button : item.controls()->buttons())
        button->installEventFilter(this);
}

bool ZNStackView::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease:
            return filterMouse(*static_cast<QWidget*>(watched), *static_cast<QMouseEvent*>(event));
        default:
            return false;
    }
}

bool ZNStackView::filterMouse(QWidget& watched, QMouseEvent& event) {
    // Touches that nobody took come again as a mouse; the stack has seen them.
    if (event.source() != Qt::MouseEventNotSynthesized) return true;
    const bool isControl = &watched != topItem();
    const QPointF position = event.globalPosition();
    if (event.type() == QEvent::MouseMove) {
        if (!_gatherer.drag(position)) return !isControl;
        _hold.invalidate();
        if (auto* button = qobject_cast<ZNButton*>(&watched)) button->setDown(false);
        return std::exchange(_mouseDrags, true) || true;
    }
    if (event.button() != Qt::LeftButton) return false;
    _hold.invalidate();
    if (event.type() == QEvent::MouseButtonRelease) {
        const bool wasDrag = _gatherer.release(position);
        const bool wasDragging = std::exchange(_mouseDrags, false) || wasDrag;
        if (auto* button = qobject_cast<ZNButton*>(&watched); button && wasDragging) button->setDown(false);
        return wasDragging || !isControl;
    }
    _mouseDrags = false;
    if (swipesAllowed()) _gatherer.press(position);
    startHold(watched, position);
    // What no control takes belongs to the card all the same, not to the ground below it.
    return !isControl;
}

bool ZNStackView::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::TouchEnd:
        case QEvent::TouchCancel:
            return touchEvent(*static_cast<QTouchEvent*>(event));
        default:
            return ZNView::event(event);
    }
}

bool ZNStackView::touchEvent(QTouchEvent& event) {
    const bool isOver = event.type() == QEvent::TouchCancel;
    if (event.points().isEmpty() && !isOver) return false;
    ZNStackViewItem* top = topItem();
    if (event.type() == QEvent::TouchBegin) {
        const QPoint position = event.points().front().position().toPoint();
        if (top == nullptr || !top->isVisible() || !top->geometry().contains(position)) {
            event.ignore();
            return false;
        }
        event.accept();
        _pressed = qobject_cast<ZNButton*>(childAt(position));
        if (_pressed) {
            _pressed->setDown(true);
            startHold(*_pressed, event.points().front().globalPosition());
        }
        _gatherer.press(event.points().front().globalPosition());
        return true;
    }
    event.accept();
    if (isOver || event.type() == QEvent::TouchEnd) _hold.invalidate();
    if (isOver) {
        if (_pressed) _pressed->setDown(false);
        _pressed = nullptr;
        swipeEnded(SwipePower::Full);
        _gatherer.cancel();
        return true;
    }
    const QPointF position = event.points().front().globalPosition();
    const bool isDrag = event.type() == QEvent::TouchEnd ? _gatherer.release(position) : _gatherer.drag(position);
    if (isDrag) _hold.invalidate();
    if (isDrag && _pressed) {
        _pressed->setDown(false);
        _pressed = nullptr;
    }
    if (event.type() == QEvent::TouchEnd && _pressed) {
        ZNButton* button = std::exchange(_pressed, nullptr);
        button->setDown(false);
        button->click();
    }
    return true;
}

void ZNStackView::startHold(QWidget& pressed, QPointF globalPosition) {
    ZNStackViewItem* top = topItem();
    if (top == nullptr || &pressed != top->snoozeButton() || !pressed.isEnabled()) return;
    const QPointer<ZNStackView> self(this);
    const QPointer<ZNButton> button(top->snoozeButton());
    _hold = NSTimer(_context.dispatch.main(), tokens::longPress, false, [self, button, globalPosition] {
        if (self && button) self->holdElapsed(*button, globalPosition);
    });
}

void ZNStackView::holdElapsed(ZNButton& button, QPointF globalPosition) {
    ZNStackViewItem* top = topItem();
    if (top == nullptr || top->snoozeButton() != &button || !button.isVisible()) return;
    // The press is used up: letting go is neither a click nor a swipe.
    button.setDown(false);
    _pressed = nullptr;
    _recognizer.cancel();
    _gatherer.cancel();
    restoreTopCard();
    top->delegate()->shouldShowSnoozeForCell(*top, button, globalPosition.toPoint());
}

}  // namespace zun
