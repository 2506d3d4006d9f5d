#include "cards/ZNBaseViewController.h"

#include <QPointer>
#include <algorithm>
#include <cmath>

#include "cards/ZNCardView.h"

namespace zun {
namespace {

constexpr std::chrono::milliseconds slideDuration{200};
constexpr int toolbarTopInWindow = 20;
constexpr int toolbarTopInPanel = 10;

}  // namespace

QSize screenCardSize(QSizeF windowSize, QSizeF viewSize, std::uint64_t windowLayoutMode) {
    const bool isLarge = windowLayoutMode == 3;
    const double width = windowSize.width() > 0 ? windowSize.width() : viewSize.width();
    const double height = windowSize.height() > 0 ? windowSize.height() : viewSize.height();
    const double cardWidth = std::ceil(width - (windowLayoutMode == 2 ? 80 : 40));
    const double cardHeight = std::ceil(height - (windowLayoutMode == 2 ? 120 : 130));
    return {static_cast<int>(std::clamp(cardWidth, 1.0, isLarge ? 576.0 : 400.0)),
            static_cast<int>(std::clamp(cardHeight, 1.0, isLarge ? 800.0 : 520.0))};
}

ZNBaseViewController::ZNBaseViewController(const CardContext& context, QWidget* parent)
    : ZNView(parent), _context(context) {
    setAccessibilityRole(QAccessible::Grouping);
    _frames = _context.animations.observeFrames([this] { placeCard(); });
}

void ZNBaseViewController::loadView() {
    prepareViews();
    placeCard();
    setConstraints();
    customizeViews();
    configureAccessibilityValues();
    updateViewsForWindowResize();
}

int ZNBaseViewController::toolbarTop() const {
    return _context.settings.showInMenubar() ? toolbarTopInPanel : toolbarTopInWindow;
}

void ZNBaseViewController::updateViewsForWindowResize() {
    _cardSize = screenCardSize(_context.windowSize(), size(), _context.settings.windowLayoutMode());
    placeCard();
}

void ZNBaseViewController::placeCard() {
    if (!hasCard()) return;
    const QPointF centre(width() / 2.0, height() / 2.0 + _cardOffset.shown());
    const QRectF panel(std::round(centre.x() - _cardSize.width() / 2.0),
                       std::round(centre.y() - _cardSize.height() / 2.0), _cardSize.width(), _cardSize.height());
    const double margin = ZNCardView::shadowMargin;
    card()->setGeometry(panel.adjusted(-margin, -margin, margin, margin).toRect());
}

void ZNBaseViewController::slideTo(double offset, bool animated, Block completion) {
    const QPointer<ZNBaseViewController> self(this);
    _context.animations.runGroup(
        animated ? slideDuration : slideDuration.zero(), Easing::Out,
        [&](ZNAnimationGroup& group) { group.set(_cardOffset, offset); },
        [self, completion = std::move(completion)] {
            if (!self) return;
            self->placeCard();
            if (completion) completion();
        });
}

void ZNBaseViewController::animateContentInWithAnimation(bool animated) {
    if (!hasCard()) return;
    _cardOffset.jump(hiddenOffset);
    placeCard();
    slideTo(overshootOffset, animated, [this, animated] { slideTo(restingOffset, animated); });
}

void ZNBaseViewController::animateContentOutWithAnimation(bool animated) {
    if (hasCard()) slideTo(hiddenOffset, animated);
}

void ZNBaseViewController::dismiss() {
    if (_delegate) _delegate->didDismissController(*this);
}

void ZNBaseViewController::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    updateViewsForWindowResize();
}

}  // namespace zun
