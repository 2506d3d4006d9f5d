#include "cards/ZNCardView.h"

#include <QPainter>
#include <QPointer>
#include <utility>

#include "cards/CardSkin.h"
#include "toolkit/Tokens.h"

namespace zun {

namespace {
constexpr double shakeWay = 8;
constexpr int shakePasses = 4;  // there and back, twice
}  // namespace

ZNCardView::~ZNCardView() = default;

ZNCardView::ZNCardView(ZNAnimationTimeline& animations, QWidget* parent)
    : ZNView(parent), _animations(animations), _skin(std::make_unique<CardSkin>()), _additionCard(new ZNView(this)) {
    setAccessibilityRole(QAccessible::Grouping);
    _frames = animations.observeFrames([this, last = 0.0]() mutable {
        if (std::exchange(last, _shake.shown()) == _shake.shown()) return;
        placeAddition();
        update();
    });
}

void ZNCardView::addSubview(QWidget& view) {
    view.setParent(_additionCard);
    view.show();
}

QRectF ZNCardView::panelRect() const {
    return QRectF(rect()).adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
}

void ZNCardView::shakeCard() {
    shakePass(0);
}

void ZNCardView::shakePass(int pass) {
    const bool isLast = pass == shakePasses;
    const double target = isLast ? 0 : pass % 2 == 0 ? -shakeWay : shakeWay;
    _animations.runGroup(
        tokens::shakePass, Easing::InOut, [&](ZNAnimationGroup& group) { group.set(_shake, target); },
        [self = QPointer<ZNCardView>(this), pass, isLast] {
            if (self && !isLast) self->shakePass(pass + 1);
        });
}

void ZNCardView::placeAddition() {
    const QRect panel = panelRect().translated(_shake.shown(), 0).toRect();
    _additionCard->setGeometry(panel.adjusted(-1, -1, 1, 1));
}

void ZNCardView::resizeEvent(QResizeEvent*) {
    placeAddition();
}

void ZNCardView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(alpha());
    _skin->paint(painter, panelRect().translated(_shake.shown(), 0), 0, QPixmap(), devicePixelRatioF());
}

}  // namespace zun
