#include "cards/ZNStackView.h"

#include <QPointer>
#include <algorithm>
#include <utility>

#include "cards/CardControls.h"
#include "cards/CardSkin.h"
#include "cards/ZNStackViewItem.h"
#include "core/NotificationNames.h"
#include "toolkit/Tokens.h"

namespace zun {

ZNStackView::ZNStackView(const CardContext& context, QWidget* parent)
    : ZNView(parent),
      _context(context),
      _gatherer(*this, context.dispatch.main()),
      _skin(std::make_unique<CardSkin>()) {
    setAccessibilityRole(QAccessible::Grouping);
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_AcceptTouchEvents);
    _observations.push_back(_context.animations.observeFrames([this] { repaintMoved(); }));

    const auto onMain = [this](Block block) {
        return [this, self = QPointer<ZNStackView>(this), block = std::move(block)] {
            onMainThread(_context.dispatch, [self, block] {
                if (self) block();
            });
        };
    };
    const auto disable = onMain([this] { allowActions(false); });
    const auto enable = onMain([this] { allowActions(true); });
    const auto renderAnew = onMain([this] { renderStack(false, Skipped::No, {}); });
    auto& notifications = _context.notifications;
    _observations.push_back(notifications.addObserver(ZNDisableCardControllerMenuActionsNotification,
                                                      [disable](const NSNotification&) { disable(); }));
    _observations.push_back(notifications.addObserver(ZNEnableCardControllerMenuActionsNotification,
                                                      [enable](const NSNotification&) { enable(); }));
    _observations.push_back(
        _context.settings.observe({"windowLayoutMode"}, [renderAnew](std::string_view) { renderAnew(); }));
}

ZNStackView::~ZNStackView() = default;

StackGeometry ZNStackView::geometryNow() const {
    StackMetrics metrics;
    metrics.windowWidth = _context.windowSize().width();
    metrics.bounds = stackBounds().size();
    metrics.superviewWidth = parentWidget() ? parentWidget()->width() : width();
    metrics.windowLayoutMode = _context.settings.windowLayoutMode();
    metrics.isMirrored = layoutDirection() == Qt::RightToLeft;
    return StackGeometry(metrics);
}

void ZNStackView::setOverflow(const QMargins& overflow) {
    _overflow = overflow;
    renderStack(false, Skipped::No, {});
}

QRectF ZNStackView::stackBounds() const {
    return QRectF(rect().marginsRemoved(_overflow));
}

void ZNStackView::onSetDelegate(ZNStackViewDelegate* delegate) {
    _delegate = delegate;
    if (_delegate != nullptr && _stackViews.empty()) addViews();
    renderStack(false, Skipped::No, {});
}

void ZNStackView::addViews() {
    const QSizeF size = geometryNow().cardSize();
    for (int i = 0; i < StackGeometry::itemCount; ++i) {
        ZNStackViewItem* item = _delegate->viewForIndex(i).release();
        item->setParent(this);
        item->width.jump(size.width());
        item->height.jump(size.height());
        connect(item, &ZNStackViewItem::appearanceChanged, this, [this, item] { repaintItem(*item); });
        connect(item, &ZNStackViewItem::controlsMade, this, [this, item] { watchControls(*item); });
        _stackViews.push_back(item);
    }
}

void ZNStackView::renderStackWithAnimation(bool animated) {
    renderStack(animated, Skipped::No, {});
}

ZNStackView::Rendered ZNStackView::renderStack(bool animated, Skipped skipped, Block completion) {
    if (_animating) return Rendered::Dropped;
    if (_stackViews.empty()) return Rendered::Yes;
    _animating = animated;
    const ReminderPtr swiped = topItem()->reminder();
    const int shown = _delegate == nullptr ? 0 : std::min(_delegate->numberOfItemsInStack(), StackGeometry::shownCount);
    const StackGeometry geometry = geometryNow();
    const auto duration = animated ? tokens::renderDuration : tokens::renderDuration.zero();
    _context.animations.runGroup(
        duration, Easing::InOut,
        [&](ZNAnimationGroup& group) {
            for (int i = 0; i < static_cast<int>(_stackViews.size()); ++i) {
                placeItem(i, shown, animated, skipped, geometry, group);
            }
            placeTopWidget();
        },
        [this, self = QPointer<ZNStackView>(this), skipped, completion = std::move(completion)] {
            if (self) finishRender(skipped, completion);
        });
    goOnWithSwipe(swiped);
    repaintMoved();
    return Rendered::Yes;
}

void ZNStackView::placeItem(int index, int shown, bool animated, Skipped skipped, const StackGeometry& geometry,
                            ZNAnimationGroup& group) {
    ZNStackViewItem& item = *_stackViews[static_cast<std::size_t>(index)];
    const bool isSkippedCard = skipped == Skipped::Yes && index == static_cast<int>(_stackViews.size()) - 1;
    item.restX = geometry.horizontalOffset();
    if (index < shown) {
        item.cardHidden = false;
        item.setFaceSize(geometry.cardSize());
        item.onSetReminder(_delegate->reminderForObjectAtIndex(index));
    } else if (!isSkippedCard) {
        item.cardHidden = true;
    }
    item.setEnabled(index == 0 && shown > 0);
    item.setAccessibilityEnabled(index == 0);
    item.setAccessibilityElement(index == 0);
    item.zPosition = static_cast<int>(_stackViews.size()) - index;
    item.setSkipStatusWithPercentage(0);
    item.setSnoozeStatusWithPercentage(0);
    item.setCompleteStatusWithPercentage(0);

    group.set(item.centerY, isSkippedCard ? StackGeometry::startingYOffset : geometry.verticalOffset(index));
    group.set(item.centerX, geometry.horizontalOffset());
    group.set(item.width, geometry.width(index));
    group.set(item.height, geometry.cardSize().height());
    const double alpha = index < shown               ? StackGeometry::alpha(index)
                         : animated && isSkippedCard ? StackGeometry::skippedAlpha
                                                     : 0;
    group.set(item.cardAlpha, alpha);
}

void ZNStackView::finishRender(Skipped skipped, const Block& completion) {
    _animating = false;
    if (skipped == Skipped::Yes) {
        _stackViews.back()->cardAlpha.jump(0);
        _stackViews.back()->cardHidden = true;
    }
    _leaning = {};
    for (ZNStackViewItem* item : _stackViews) {
        if (item->cardHidden) item->dropPicture();
    }
    repaintMoved();
    renderPicturesSoon();
    if (completion) completion();
    if (std::exchange(_renderWasDropped, false)) renderStack(false, Skipped::No, {});
}

ZNStackViewItem& ZNStackView::throwTopItem() {
    ++_actions;
    _shouldRespondToActions = false;
    _isThrowing = true;
    _recognizer.cancel();
    _gatherer.cancel();
    ZNStackViewItem* thrown = topItem();
    // Whoever works with the keyboard goes on with the same button of the next card.
    const int focused = thrown->controls() == nullptr ? -1 : thrown->controls()->focusedControl();
    if (focused >= 0) {
        _focusedControl = focused;
        setFocus(Qt::OtherFocusReason);
    }
    thrown->hide();
    std::rotate(_stackViews.begin(), _stackViews.begin() + 1, _stackViews.end());
    return *thrown;
}

void ZNStackView::skipTopCard() {
    if (!_shouldRespondToActions || _stackViews.empty()) return;
    const auto skipLeft = _delegate != nullptr && _delegate->shouldSkipLeft() ? SkipLeft::Yes : SkipLeft::No;
    ZNStackViewItem& card = throwTopItem();
    const double target = geometryNow().skipTarget(skipLeft, card.centerX.value());
    const auto closeUp = [this, self = QPointer<ZNStackView>(this), thrown = &card] {
        if (!self) return;
        thrown->zPosition = 0;
        const Rendered rendered = renderStack(true, Skipped::Yes, [this] { allowActions(true); });
        if (rendered == Rendered::Dropped) allowActions(true);
    };
    _context.animations.together([&] {
        _context.animations.runGroup(tokens::skipDuration, Easing::Out, [&](ZNAnimationGroup& group) {
            if (movesThings()) group.set(card.centerX, target);
        });
        _context.animations.after(tokens::renderDelay, closeUp);
    });
    repaintMoved();
}

void ZNStackView::completeTopCardWithCompletion(Block completion) {
    animateTopStackItemWithVerticalOffset(StackGeometry::completeOffset, std::move(completion));
}

void ZNStackView::snoozeTopCardWithCompletion(Block completion) {
    animateTopStackItemWithVerticalOffset(StackGeometry::snoozeOffset, std::move(completion));
}

void ZNStackView::animateTopStackItemWithVerticalOffset(double offset, Block completion) {
    if (!_shouldRespondToActions || _stackViews.empty()) return;
    ZNStackViewItem& card = throwTopItem();
    const QPointer<ZNStackView> self(this);
    const auto fly = [&](ZNAnimationGroup& group) {
        if (movesThings()) {
            group.set(card.centerY, offset);
            group.set(card.centerX, 0);
        }
        group.set(card.cardAlpha, 0);
    };
    const auto land = [this, self] {
        if (self) allowActions(true);
    };
    const auto closeUp = [this, self, thrown = &card, completion = std::move(completion)] {
        if (!self) return;
        thrown->zPosition = 0;
        thrown->cardHidden = true;
        renderStack(true, Skipped::No, completion);
    };
    _context.animations.together([&] {
        _context.animations.runGroup(tokens::flyOutDuration, Easing::In, fly, land);
        _context.animations.after(tokens::renderDelay, closeUp);
    });
    repaintMoved();
}

void ZNStackView::restoreTopCard() {
    ZNStackViewItem* top = topItem();
    if (top == nullptr) return;
    top->setSkipStatusWithPercentage(0);
    top->setSnoozeStatusWithPercentage(0);
    top->setCompleteStatusWithPercentage(0);
    _context.animations.runGroup(
        tokens::restoreDuration, Easing::Out,
        [&](ZNAnimationGroup& group) {
            for (const int index : {1, 2}) {
                group.set(_stackViews[static_cast<std::size_t>(index)]->cardAlpha,
                          StackGeometry::alphaMovingUp(index, 0));
            }
            group.set(top->centerY, StackGeometry::startingYOffset);
            group.set(top->centerX, top->restX);
        },
        // A card that was thrown meanwhile keeps its own guard; else two could be thrown at once, and the second never
        // ends.
        [this, self = QPointer<ZNStackView>(this), before = _actions] {
            if (self && before == _actions) allowActions(true);
        });
    repaintMoved();
}

void ZNStackView::allowActions(bool allowed) {
    if (!allowed) ++_actions;
    _shouldRespondToActions = allowed;
    if (allowed && std::exchange(_isThrowing, false)) placeTopWidget();
}

void ZNStackView::placeTopWidget() {
    ZNStackViewItem* top = topItem();
    for (ZNStackViewItem* item : _stackViews) {
        if (item != top || item->cardHidden || _isThrowing) item->hide();
    }
    if (_isThrowing) return;
    if (top->cardHidden) {
        _focusedControl = -1;
        return;
    }
    const QPointF center = stackBounds().center() + QPointF(top->centerX.value(), top->centerY.value());
    const QSizeF size(top->width.value(), top->height.value());
    top->setGeometry(QRectF(center - QPointF(size.width(), size.height()) / 2, size).toRect());
    top->show();
    const int control = std::exchange(_focusedControl, -1);
    if (control >= 0 && hasFocus() && top->controls() != nullptr) top->controls()->focusControl(control);
}

void ZNStackView::resizeEvent(QResizeEvent*) {
    _renderWasDropped = renderStack(false, Skipped::No, {}) == Rendered::Dropped;
}

}  // namespace zun
