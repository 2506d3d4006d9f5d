#include "toolkit/PlainControls.h"

#include <QFocusEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <QWheelEvent>
#include <algorithm>
#include <array>

#include "toolkit/Pictures.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double stroke = 1.75;
constexpr double radius = 6;
constexpr int boxSide = 18;
constexpr double boxRadius = 5;
constexpr int gap = 8;
constexpr int controlHeight = tokens::minimumHitSize;
constexpr int chevronRoom = 28;
constexpr int tabIconSide = 24;
constexpr int tabPadding = 14;
constexpr int tabHeight = 56;
constexpr int tabLabelHeight = 18;
constexpr int narrowestTab = 84;

QColor color(QRgb value) {
    return QColor::fromRgba(value);
}

// The colour of a surface as it is hovered, pressed or disabled. What is almost white can only darken.
QColor inState(QRgb ground, const QAbstractButton& button) {
    QColor result = color(ground);
    if (!button.isEnabled()) {
        result.setAlphaF(static_cast<float>(tokens::disabledAlpha));
    } else if (button.isDown()) {
        result = result.darker(100 + static_cast<int>(100 * tokens::pressedDarken));
    } else if (button.underMouse()) {
        const auto percent = static_cast<int>(100 * tokens::hoverLighten);
        result = qGray(ground) > 200 ? result.darker(100 + percent / 2) : result.lighter(100 + percent);
    }
    return result;
}

void fillRounded(QPainter& painter, const QRectF& shape, double corner, const QColor& fill) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(shape, corner, corner);
}

void strokeRounded(QPainter& painter, const QRectF& shape, double corner, const QColor& line, double width) {
    painter.setPen(QPen(line, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(shape.adjusted(width / 2, width / 2, -width / 2, -width / 2), corner, corner);
}

QPen roundPen(const QColor& line) {
    return {line, stroke, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

}  // namespace

// ---- focus

void FocusRing::focusIn(const QFocusEvent& event) {
    // A window or a list that came and went leaves it as it was.
    switch (event.reason()) {
        case Qt::TabFocusReason:
        case Qt::BacktabFocusReason:
        case Qt::ShortcutFocusReason:
            _shows = true;
            break;
        case Qt::PopupFocusReason:
        case Qt::ActiveWindowFocusReason:
            break;
        default:
            _shows = false;
    }
}

void FocusRing::paint(QPainter& painter, const QWidget& widget, const QRectF& shape, double corner) const {
    if (!_shows || !widget.hasFocus()) return;
    const double outset = tokens::focusRingGap + tokens::focusRingWidth / 2;
    painter.setPen(QPen(color(tokens::focusRing), tokens::focusRingWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(shape.adjusted(-outset, -outset, outset, outset), corner + outset, corner + outset);
}

// ---- check box

ZNCheckBox::ZNCheckBox(const QString& label, QWidget* parent) : QCheckBox(label, parent) {
    setFont(appFont(13));
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ZNCheckBox::sizeHint() const {
    return {FocusRing::room + boxSide + gap + fontMetrics().horizontalAdvance(text()) + FocusRing::room, controlHeight};
}

void ZNCheckBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect left(FocusRing::room, (height() - boxSide) / 2, boxSide, boxSide);
    const QRectF box = QStyle::visualRect(layoutDirection(), rect(), left);
    if (isChecked()) {
        fillRounded(painter, box, boxRadius, inState(tokens::selection, *this));
        painter.setPen(roundPen(color(tokens::settingsFieldGround)));
        const QPointF corner = box.topLeft();
        const std::array tick = {corner + QPointF(4.75, 9.25), corner + QPointF(7.75, 12.25),
                                 corner + QPointF(13.25, 6)};
        painter.drawPolyline(tick.data(), static_cast<int>(tick.size()));
    } else {
        fillRounded(painter, box, boxRadius, inState(tokens::settingsFieldGround, *this));
        strokeRounded(painter, box, boxRadius, color(tokens::settingsOutline), 1.5);
    }
    _ring.paint(painter, *this, box, boxRadius);

    painter.setPen(color(tokens::settingsText));
    const int start = FocusRing::room + boxSide + gap;
    const QRect words = QStyle::visualRect(layoutDirection(), rect(), rect().adjusted(start, 0, 0, 0));
    painter.drawText(words, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading), text());
}

void ZNCheckBox::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QCheckBox::focusInEvent(event);
}

// ---- pop-up button

ZNPopUpButton::ZNPopUpButton(QWidget* parent) : QComboBox(parent) {
    setFont(appFont(13));
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

QSize ZNPopUpButton::sizeHint() const {
    int widest = 0;
    for (int row = 0; row < count(); ++row)
        widest = std::max(widest, fontMetrics().horizontalAdvance(itemText(row)));
    return {FocusRing::room + 10 + widest + chevronRoom + FocusRing::room, controlHeight + 2 * FocusRing::room};
}

void ZNPopUpButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(FocusRing::room, FocusRing::room, -FocusRing::room, -FocusRing::room);
    fillRounded(painter, face, radius,
                underMouse() ? color(tokens::settingsFieldGround).darker(103) : color(tokens::settingsFieldGround));
    strokeRounded(painter, face, radius, color(tokens::settingsOutline), 1);
    _ring.paint(painter, *this, face, radius);

    const QRect words =
        QStyle::visualRect(layoutDirection(), face.toRect(), face.toRect().adjusted(10, 0, -chevronRoom, 0));
    painter.setPen(color(tokens::settingsText));
    painter.drawText(words, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading),
                     fontMetrics().elidedText(currentText(), Qt::ElideRight, words.width()));

    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    const QPointF middle(mirrored ? face.left() + chevronRoom / 2.0 : face.right() - chevronRoom / 2.0,
                         face.center().y());
    painter.setPen(roundPen(color(tokens::selection)));
    for (const double up : {-1.0, 1.0}) {
        const std::array chevron = {middle + QPointF(-3.5, up * 3), middle + QPointF(0, up * 6.5),
                                    middle + QPointF(3.5, up * 3)};
        painter.drawPolyline(chevron.data(), static_cast<int>(chevron.size()));
    }
}

void ZNPopUpButton::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QComboBox::focusInEvent(event);
}

void ZNPopUpButton::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

// ---- push button

ZNPushButton::ZNPushButton(const QString& label, QWidget* parent) : QPushButton(label, parent) {
    setFont(appFont(13, QFont::Medium));
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ZNPushButton::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + 2 * (16 + FocusRing::room), controlHeight + 2 * FocusRing::room};
}

void ZNPushButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(FocusRing::room, FocusRing::room, -FocusRing::room, -FocusRing::room);
    // The one that the return key presses stands out.
    fillRounded(painter, face, radius, inState(isDefault() ? tokens::selection : tokens::settingsButtonGround, *this));
    _ring.paint(painter, *this, face, radius);
    painter.setPen(color(isDefault() ? tokens::groundText : tokens::settingsButtonText));
    painter.drawText(face, Qt::AlignCenter, text());
}

void ZNPushButton::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QPushButton::focusInEvent(event);
}

// ---- toolbar item

ZNToolbarItem::ZNToolbarItem(const QString& identifier, Pictures& pictures, QWidget* parent)
    : QToolButton(parent), _pictures(pictures) {
    setObjectName(identifier);
    setFont(appFont(11, QFont::Medium));
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ZNToolbarItem::sizeHint() const {
    const int width = fontMetrics().horizontalAdvance(text()) + 2 * tabPadding;
    return {std::max(width, narrowestTab), tabHeight};
}

void ZNToolbarItem::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(FocusRing::room, FocusRing::room, -FocusRing::room, -FocusRing::room);
    if (isChecked() || isDown() || underMouse()) {
        QColor ground = color(tokens::settingsButtonGround);
        if (!isChecked()) ground.setAlphaF(0.5F);
        fillRounded(painter, face, radius, ground);
    }
    _ring.paint(painter, *this, face, radius);

    const double content = tabIconSide + tabLabelHeight;
    const double top = face.top() + (face.height() - content) / 2;
    const auto icon = _pictures.pixmap(_iconName, QSizeF(tabIconSide, tabIconSide), devicePixelRatioF());
    painter.drawPixmap(QPointF(face.center().x() - tabIconSide / 2.0, top), icon);
    painter.setPen(color(isChecked() ? tokens::settingsButtonText : tokens::settingsTextSecondary));
    painter.drawText(QRectF(face.left(), top + tabIconSide, face.width(), tabLabelHeight), Qt::AlignCenter, text());
}

void ZNToolbarItem::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QToolButton::focusInEvent(event);
}

}  // namespace zun
