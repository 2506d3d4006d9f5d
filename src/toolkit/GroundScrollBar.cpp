#include "toolkit/GroundScrollBar.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr double thumbMargin = 2;

}  // namespace

GroundScrollBar::GroundScrollBar(QWidget* parent) : QScrollBar(Qt::Vertical, parent) {
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setFixedWidth(thickness);
}

void GroundScrollBar::paintEvent(QPaintEvent*) {
    if (maximum() <= minimum()) return;
    QStyleOptionSlider option;
    initStyleOption(&option);
    const QRectF thumb = style()->subControlRect(QStyle::CC_ScrollBar, &option, QStyle::SC_ScrollBarSlider, this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor colour = QColor::fromRgba(tokens::listScrollThumb);
    if (underMouse() || isSliderDown()) colour.setAlphaF(qMin(1.0f, colour.alphaF() * 1.5f));
    painter.setBrush(colour);
    const QRectF rect = thumb.adjusted(thumbMargin, 0, -thumbMargin, 0);
    painter.drawRoundedRect(rect, rect.width() / 2, rect.width() / 2);
}

}  // namespace zun
