#include "toolkit/ZNPopupCalendarView.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr int shadowMargin = 12;
constexpr int padding = 8;
constexpr double radius = 8;
constexpr int gap = 2;  // between the field and the panel

}  // namespace

ZNPopupCalendarView::ZNPopupCalendarView(const Environment& environment, const LocalizedStrings& strings,
                                         QWidget* parent)
    : ZNView(parent), _calendarPicker(new ZNCalendarPicker(environment, strings, this)) {
    setAccessibilityRole(QAccessible::PopupMenu);
    setAccessibilityElement(false);
    _calendarPicker->setFocusPolicy(Qt::NoFocus);
    onSetPickerSize(_pickerSize);
    hide();
}

void ZNPopupCalendarView::onSetPickerSize(QSize size) {
    _pickerSize = size;
    constexpr int margin = shadowMargin + padding;
    resize(size + QSize(2 * margin, 2 * margin));
    _calendarPicker->setGeometry(margin, margin, size.width(), size.height());
    if (isVisible()) place();
}

void ZNPopupCalendarView::showBeside(QWidget& anchor) {
    forgetAnchor();
    _anchor = &anchor;
    if (parentWidget() != anchor.window()) setParent(anchor.window());
    // Qt would give the focus to whatever below the panel takes it.
    setFocusPolicy(Qt::ClickFocus);
    setFocusProxy(&anchor);
    for (QWidget* each = &anchor; each; each = each->isWindow() ? nullptr : each->parentWidget())
        each->installEventFilter(this);
    place();
    show();
    raise();
}

void ZNPopupCalendarView::place() {
    if (!_anchor || !parentWidget()) return;
    const QRect field(_anchor->mapTo(parentWidget(), QPoint()), _anchor->size());
    const QRect room = parentWidget()->rect();
    const int below = field.bottom() + 1 + gap - shadowMargin;
    const int above = field.top() - gap - height() + shadowMargin;
    const bool fitsBelow = below + height() - shadowMargin <= room.bottom();
    const int y = fitsBelow || above < -shadowMargin ? below : above;
    const int start =
        layoutDirection() == Qt::RightToLeft ? field.right() + 1 + shadowMargin - width() : field.left() - shadowMargin;
    const int x = std::clamp(start, -shadowMargin, std::max(-shadowMargin, room.width() - width() + shadowMargin));
    move(x, y);
}

void ZNPopupCalendarView::forgetAnchor() {
    for (QWidget* each = _anchor; each; each = each->isWindow() ? nullptr : each->parentWidget())
        each->removeEventFilter(this);
    setFocusProxy(nullptr);
    _anchor = nullptr;
}

void ZNPopupCalendarView::hideEvent(QHideEvent* event) {
    // A window that is minimised comes back with the panel.
    if (!event->spontaneous()) forgetAnchor();
    ZNView::hideEvent(event);
}

bool ZNPopupCalendarView::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
        case QEvent::Resize:
        case QEvent::Move:
            place();
            break;
        case QEvent::Hide:
            if (_anchor && !_anchor->isVisible() && !event->spontaneous()) hide();
            break;
        default:
            break;
    }
    return false;
}

// What is clicked beside the days is not what lies under the panel.
void ZNPopupCalendarView::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void ZNPopupCalendarView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF panel = QRectF(rect()).adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
    painter.setPen(Qt::NoPen);
    for (int ring = shadowMargin; ring > 0; ring -= 2) {
        painter.setBrush(QColor::fromRgbF(0, 0, 0, 0.022F));
        painter.drawRoundedRect(panel.adjusted(-ring, 2 - ring, ring, 2 + ring), radius + ring, radius + ring);
    }
    painter.setBrush(QColor::fromRgba(tokens::cardGround));
    painter.setPen(QPen(QColor::fromRgba(tokens::pickerEdge), 1));
    painter.drawRoundedRect(panel.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

}  // namespace zun
