#include "cards/ZNBaseViewController.h"

#include <QPointer>
#include <algorithm>
#include <cmath>

#include "cards/ScreenBar.h"
#include "cards/ZNCardView.h"
#include "toolkit/Tokens.h"

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
    if (_bar) _bar->layOut();
    configureAccessibilityValues();
    updateViewsForWindowResize();
}

ScreenBar& ZNBaseViewController::bar() {
    if (_bar) return *_bar;
    _bar = new ScreenBar(_context.pictures, hasCard() ? &card()->additionCard() : this);
    _bar->setGround(hasCard() ? ScreenBar::Ground::Card : ScreenBar::Ground::Window);
    connect(&_bar->leftButton(), &ZNButton::clicked, this, [this] { onLeftButtonPress(); });
    connect(&_bar->rightButton(), &QPushButton::clicked, this, [this] { onRightButtonPress(); });
    _bar->show();
    placeBar();
    return *_bar;
}

ZNView& ZNBaseViewController::toolbar() {
    return bar();
}

ZNButton& ZNBaseViewController::leftButton() {
    return bar().leftButton();
}

ZNBarButton& ZNBaseViewController::rightButton() {
    return bar().rightButton();
}

QLabel& ZNBaseViewController::controllerTitle() {
    return bar().controllerTitle();
}

void ZNBaseViewController::layOutToolbar() {
    bar().layOut();
}

void ZNBaseViewController::placeBar() {
    if (!_bar) return;
    const int top = hasCard() ? toolbarTop() : 0;
    _bar->setGeometry(0, top, _bar->parentWidget()->width(), tokens::barHeight);
}

int ZNBaseViewController::toolbarTop() const {
    return _context.settings.showInMenubar() ? toolbarTopInPanel : toolbarTopInWindow;
}

void ZNBaseViewController::updateViewsForWindowResize() {
    _cardSize = screenCardSize(_context.windowSize(), size(), _context.settings.windowLayoutMode());
    placeCard();
    placeBar();
}

void ZNBaseViewController::placeCard() {
    if (!hasCard()) return;
    const QPointF centre(width() / 2.0, height() / 2.0 + _cardOffset.shown());
    const QRectF panel(std::round(centre.x() - _cardSize.width() / 2.0),
                       std::round(centre.y() - _cardSize.height() / 2.0), _cardSize.width(), _cardSize.height());
    const double margin = ZNCardView::shadowMargin;
    card()->setGeometry(panel.adjusted(-margin, -margin, margin, margin).toRect());
    placeBar();
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
