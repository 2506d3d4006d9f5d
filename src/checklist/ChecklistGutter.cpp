#include "checklist/ChecklistGutter.h"

#include <QAccessible>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <cmath>

#include "checklist/ChecklistAccessibility.h"
#include "checklist/ChecklistLayout.h"
#include "toolkit/Tokens.h"

namespace zun {

ChecklistGutter::ChecklistGutter(ZNChecklistTextView& view, ChecklistLayout& layout, Pictures& pictures)
    : QWidget(&view), _view(view), _layout(layout), _pictures(pictures) {
    installChecklistAccessibility();
    setMouseTracking(true);
    setCursor(Qt::ArrowCursor);
}

ChecklistGutter::~ChecklistGutter() = default;

int ChecklistGutter::buttonCount() const {
    return static_cast<int>(_view.lines().checks().size());
}

QRect ChecklistGutter::buttonRect(int line) const {
    const int x = layoutDirection() == Qt::RightToLeft ? width() - buttonSide : 0;
    const double top = _layout.topOfLine(line) - ChecklistLayout::topMargin;
    return {x, static_cast<int>(std::ceil(top)) - _view.verticalScrollBar()->value(), buttonSide, buttonSide};
}

int ChecklistGutter::buttonAt(QPoint point) const {
    if (point.x() < 0 || point.x() >= width()) return -1;
    const int line = _layout.lineAt(point.y() + _view.verticalScrollBar()->value() + ChecklistLayout::topMargin);
    // A little more than the picture: nobody aims that well.
    constexpr int reach = static_cast<int>(ZNChecklistTextView::lineSpacing) / 2;
    const QRect button = buttonRect(line);
    const bool isHit = point.y() >= button.top() - reach && point.y() <= button.bottom() + reach;
    return isHit && line < buttonCount() ? line : -1;
}

void ChecklistGutter::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = devicePixelRatioF();
    const int offset = _view.verticalScrollBar()->value();
    const int count = buttonCount();
    for (int line = _layout.lineAt(event->rect().top() + offset - buttonSide); line < count; ++line) {
        const QRect button = buttonRect(line);
        if (button.top() > event->rect().bottom()) break;
        const bool isChecked = _view.lines().isChecked(line);
        const auto* name = isChecked ? "checkmark_selected" : "checkmark";
        painter.drawPixmap(button.topLeft(), _pictures.pixmap(QString::fromLatin1(name), button.size(), scale));
        if (line != _hovered && line != _pressed) continue;
        QColor veil = QColor::fromRgba(isChecked ? tokens::checklistCheckedVeil : tokens::checklistOpenVeil);
        if (line == _pressed) veil.setAlphaF(std::min(1.0F, veil.alphaF() * 2));
        painter.setPen(Qt::NoPen);
        painter.setBrush(veil);
        painter.drawEllipse(QRectF(button).adjusted(1, 1, -1, -1));
    }
}

void ChecklistGutter::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return event->ignore();
    _pressed = buttonAt(event->position().toPoint());
    update();
}

void ChecklistGutter::mouseReleaseEvent(QMouseEvent* event) {
    const int pressed = std::exchange(_pressed, -1);
    update();
    if (pressed >= 0 && buttonAt(event->position().toPoint()) == pressed) emit clicked(pressed);
}

void ChecklistGutter::mouseMoveEvent(QMouseEvent* event) {
    hover(buttonAt(event->position().toPoint()));
}

void ChecklistGutter::leaveEvent(QEvent*) {
    hover(-1);
}

void ChecklistGutter::hover(int line) {
    if (std::exchange(_hovered, line) != line) update();
}

void ChecklistGutter::announceCheck(int line) {
    if (!QAccessible::isActive()) return;
    auto* gutter = QAccessible::queryAccessibleInterface(this);
    auto* button = gutter ? gutter->child(line) : nullptr;
    if (!button) return;
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent event(button, changed);
    QAccessible::updateAccessibility(&event);
}

void ChecklistGutter::announceButtons() {
    if (!QAccessible::isActive()) return;
    QAccessibleEvent event(this, QAccessible::ObjectReorder);
    QAccessible::updateAccessibility(&event);
}

}  // namespace zun
