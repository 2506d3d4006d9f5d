#include "calendar/ZNCalendarViewCell.h"

#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

#include "toolkit/Tokens.h"

namespace zun {

ZNCalendarViewCell::ZNCalendarViewCell(QWidget* parent) : QAbstractButton(parent) {
    setCheckable(true);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);
}

void ZNCalendarViewCell::setRepresentedDate(OptionalDate date, int number, Month month) {
    _representedDate = date;
    _month = month;
    setText(date ? QString::number(number) : QString());
    update();
}

void ZNCalendarViewCell::setSelected(bool selected) {
    setChecked(selected);
}

void ZNCalendarViewCell::setHasEvents(bool hasEvents) {
    if (std::exchange(_hasEvents, hasEvents) != hasEvents) update();
}

void ZNCalendarViewCell::setToday(bool isToday) {
    if (std::exchange(_isToday, isToday) != isToday) update();
}

void ZNCalendarViewCell::setCircleInset(double inset) {
    if (std::exchange(_circleInset, inset) != inset) update();
}

void ZNCalendarViewCell::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QAbstractButton::focusInEvent(event);
}

// The arrow keys are the calendar's: a button alone would send the focus to its neighbour on the screen.
void ZNCalendarViewCell::keyPressEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Space && event->key() != Qt::Key_Select) return event->ignore();
    QAbstractButton::keyPressEvent(event);
}

void ZNCalendarViewCell::paintEvent(QPaintEvent*) {
    if (!_representedDate) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (_month == Month::Other) painter.setOpacity(tokens::calendarOtherMonthAlpha);
    const double side = std::min(width(), height()) - 2 * _circleInset;
    QRectF circle(0, 0, side, side);
    circle.moveCenter(QRectF(rect()).center());
    const bool isPlainToday = _isToday && !selected();
    painter.setPen(Qt::NoPen);
    if (isPlainToday || selected()) {
        painter.setBrush(QColor::fromRgba(selected() ? tokens::calendarSelected : tokens::groundText));
        painter.drawEllipse(circle);
    }
    if (isDown() || (underMouse() && !isPlainToday)) {
        const double veil = isDown() ? tokens::calendarPressedAlpha : tokens::calendarHoverAlpha;
        painter.setBrush(QColor::fromRgbF(1, 1, 1, static_cast<float>(veil)));
        painter.drawEllipse(circle);
    }
    if (_hasEvents) {
        const double half = tokens::calendarMarkWidth / 2;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor::fromRgba(tokens::groundText), tokens::calendarMarkWidth));
        painter.drawEllipse(circle.adjusted(half, half, -half, -half));
    }
    painter.setPen(QColor::fromRgba(isPlainToday ? tokens::calendarTodayText : tokens::groundText));
    painter.drawText(QRectF(rect()), Qt::AlignCenter, text());
    painter.setOpacity(1);
    _ring.paint(painter, *this, circle, side / 2);
}

}  // namespace zun
