#include "shell/MessageBar.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <algorithm>

#include "cards/TextBlock.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

constexpr auto stay = 6s;
constexpr auto fade = 200ms;
constexpr int margin = 16;
constexpr int padding = 14;
constexpr int widest = 440;
constexpr double radius = 8;
constexpr double crossSide = 9;  // of the sign that a click sends the message away
constexpr int crossRoom = 24;
constexpr double crossStroke = 1.75;

TextBlock laidOut(const QString& message, int width) {
    TextStyle style;
    style.font = appFontWithSizeStyle(SizeStyle::Paragraph, 4);
    style.color = QColor::fromRgba(tokens::groundText);
    style.lineHeight = tokens::notesLineHeight;
    return {message, style, static_cast<double>(width)};
}

void paintCross(QPainter& painter, QPointF corner) {
    painter.setPen(
        QPen(QColor::fromRgba(tokens::groundTextSecondary), crossStroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawLine(corner, corner + QPointF(crossSide, crossSide));
    painter.drawLine(corner + QPointF(crossSide, 0), corner + QPointF(0, crossSide));
}

}  // namespace

MessageBar::MessageBar(Dispatch& dispatch, ZNAnimationTimeline& animations, QWidget* parent)
    : ZNView(parent), _dispatch(dispatch), _animations(animations) {
    setAccessibilityRole(QAccessible::AlertMessage);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    _frames = _animations.observeFrames([this] {
        if (isVisible()) update();
    });
    hide();
}

void MessageBar::showMessage(const QString& message, Stays stays) {
    _message = message;
    _stays = stays;
    setAccessibilityLabel(message);
    place();
    show();
    raise();
    _animations.runGroup(fade, Easing::Out, [this](ZNAnimationGroup& group) { group.set(_visibility, 1); });
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
    _timer.invalidate();
    if (stays == Stays::UntilClicked) return;
    _timer = NSTimer(_dispatch.main(), stay, false, [self = QPointer(this)] {
        if (self) self->leave();
    });
}

void MessageBar::leave() {
    const QPointer<MessageBar> self(this);
    _animations.runGroup(
        fade, Easing::In, [this](ZNAnimationGroup& group) { group.set(_visibility, 0); },
        [self] {
            if (self && self->_visibility.value() == 0) self->hide();
        });
}

int MessageBar::textWidth(int width) const {
    return width - 2 * padding - (_stays == Stays::UntilClicked ? crossRoom : 0);
}

void MessageBar::place() {
    const auto area = parentWidget()->rect();
    const int width = std::min(area.width() - 2 * margin, widest);
    const int height = std::min(static_cast<int>(laidOut(_message, textWidth(width)).height()) + 2 * padding,
                                area.height() - 2 * margin);
    setGeometry((area.width() - width) / 2, area.bottom() - margin - height, width, height);
}

void MessageBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(_visibility.shown());
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(tokens::messageGround));
    painter.drawRoundedRect(rect(), radius, radius);
    if (hasFocus()) {
        const double inset = tokens::focusRingGap + tokens::focusRingWidth / 2;
        painter.setPen(QPen(QColor::fromRgba(tokens::focusRing), tokens::focusRingWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius - inset, radius - inset);
    }
    if (_stays == Stays::UntilClicked) paintCross(painter, QPointF(width() - padding - crossSide, padding + 4.5));
    painter.setClipRect(rect().adjusted(padding, padding, -padding, -padding));
    laidOut(_message, textWidth(width())).paint(painter, QPointF(padding, padding));
}

void MessageBar::mouseReleaseEvent(QMouseEvent*) {
    leave();
}

void MessageBar::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Space:
            return leave();
        default:
            ZNView::keyPressEvent(event);
    }
}

bool MessageBar::event(QEvent* event) {
    // Escape is a command of the window too; here it means the message.
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
        event->accept();
    return ZNView::event(event);
}

}  // namespace zun
