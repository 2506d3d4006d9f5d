#include "toolkit/GroundScrollBar.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionSlider>

#include "toolkit/Tokens.h"

namespace zun {
namespace {

constexpr double thumbMargin = 2;
constexpr float panelThumb = 0.6F;
constexpr float stronger = 1.5F;

}  // namespace

GroundScrollBar::GroundScrollBar(On on, QWidget* parent) : QScrollBar(Qt::Vertical, parent), _on(on) {
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setFixedWidth(thickness);
}

void GroundScrollBar::standFor(QScrollBar& figures) {
    _figures = &figures;
    setFocusPolicy(Qt::NoFocus);
    connect(&figures, &QScrollBar::rangeChanged, this, [this] { follow(); });
    connect(&figures, &QScrollBar::valueChanged, this, &QScrollBar::setValue);
    connect(this, &QScrollBar::valueChanged, &figures, &QScrollBar::setValue);
    follow();
}

void GroundScrollBar::follow() {
    setPageStep(_figures->pageStep());
    setSingleStep(_figures->singleStep());
    setRange(_figures->minimum(), _figures->maximum());
    setValue(_figures->value());
    setVisible(maximum() > minimum());
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
    if (_on == On::Panel) {
        colour = QColor::fromRgba(tokens::settingsOutline);
        colour.setAlphaF(panelThumb);
    }
    if (underMouse() || isSliderDown()) colour.setAlphaF(qMin(1.0F, colour.alphaF() * stronger));
    painter.setBrush(colour);
    const QRectF rect = thumb.adjusted(thumbMargin, 0, -thumbMargin, 0);
    painter.drawRoundedRect(rect, rect.width() / 2, rect.width() / 2);
}

}  // namespace zun
