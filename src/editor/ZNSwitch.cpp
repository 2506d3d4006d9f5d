#include "editor/ZNSwitch.h"

#include <QPainter>
#include <utility>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr QSizeF trackSize(38, 22);
constexpr double knobInset = 2.5;

QColor between(QRgb from, QRgb to, double part) {
    const auto mix = [part](int a, int b) { return a + static_cast<int>(part * (b - a)); };
    return {mix(qRed(from), qRed(to)), mix(qGreen(from), qGreen(to)), mix(qBlue(from), qBlue(to))};
}

}  // namespace

ZNSwitch::ZNSwitch(ZNAnimationTimeline& animations, QWidget* parent) : QCheckBox(parent), _animations(animations) {
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    _frames = animations.observeFrames([this, last = 0.0]() mutable {
        if (std::exchange(last, _knob.shown()) != _knob.shown()) update();
    });
}

QSize ZNSwitch::sizeHint() const {
    return {static_cast<int>(trackSize.width()) + 2 * FocusRing::room, tokens::minimumHitSize};
}

void ZNSwitch::slide() {
    const double target = isChecked() ? 1 : 0;
    if (!isVisible()) {
        _knob.jump(target);
        return update();
    }
    _animations.runGroup(tokens::switchSlide, Easing::InOut,
                         [&](ZNAnimationGroup& group) { group.set(_knob, target); });
}

void ZNSwitch::checkStateSet() {
    QCheckBox::checkStateSet();
    slide();
}

void ZNSwitch::nextCheckState() {
    QCheckBox::nextCheckState();
    slide();
}

void ZNSwitch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF track(QPointF(), trackSize);
    track.moveCenter(QRectF(rect()).center());
    const double on = _knob.shown();
    QColor ground = between(tokens::editorSwitchOff, tokens::editorTint, on);
    if (isDown()) {
        ground = ground.darker(100 + static_cast<int>(100 * tokens::pressedDarken));
    } else if (underMouse()) {
        ground = ground.lighter(100 + static_cast<int>(100 * tokens::hoverLighten));
    }
    if (!isEnabled()) painter.setOpacity(tokens::disabledAlpha);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);

    const double side = track.height() - 2 * knobInset;
    const double way = track.width() - 2 * knobInset - side;
    const double along = layoutDirection() == Qt::RightToLeft ? 1 - on : on;
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(track.left() + knobInset + along * way, track.top() + knobInset, side, side));
    _ring.paint(painter, *this, track, track.height() / 2);
}

void ZNSwitch::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QCheckBox::focusInEvent(event);
}

}  // namespace zun
