#include "cards/ScreenBar.h"

#include <QPainter>
#include <QStyle>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double faceRadius = 6;
constexpr int wordPadding = 8;

}  // namespace

ZNBarButton::ZNBarButton(QWidget* parent) : QPushButton(parent), _ink(tokens::barTextOnCard) {
    setFont(appFont(13, QFont::DemiBold));
    setAttribute(Qt::WA_Hover);
    setAutoDefault(false);
}

void ZNBarButton::setInk(QRgb ink) {
    _ink = ink;
    update();
}

QSize ZNBarButton::sizeHint() const {
    const int word = fontMetrics().horizontalAdvance(text());
    return {std::max(word + 2 * (wordPadding + FocusRing::room), tokens::minimumHitSize),
            tokens::minimumHitSize + 2 * FocusRing::room};
}

void ZNBarButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = QRectF(rect()).adjusted(FocusRing::room, FocusRing::room, -FocusRing::room, -FocusRing::room);
    QColor ink = QColor::fromRgba(_ink);
    if (!isEnabled()) ink.setAlphaF(static_cast<float>(tokens::disabledAlpha));
    if (isEnabled() && (isDown() || underMouse())) {
        QColor veil = ink;
        veil.setAlphaF(static_cast<float>(isDown() ? 2 * tokens::pressedDarken : tokens::hoverLighten));
        painter.setPen(Qt::NoPen);
        painter.setBrush(veil);
        painter.drawRoundedRect(face, faceRadius, faceRadius);
    }
    _ring.paint(painter, *this, face, faceRadius);
    painter.setPen(ink);
    painter.drawText(face, Qt::AlignCenter, text());
}

void ZNBarButton::focusInEvent(QFocusEvent* event) {
    _ring.focusIn(*event);
    QPushButton::focusInEvent(event);
}

ScreenBar::ScreenBar(Pictures& pictures, QWidget* parent)
    : ZNView(parent),
      _leftButton(new ZNButton(pictures, ZNButton::Shape::Round, this)),
      _title(new QLabel(this)),
      _rightButton(new ZNBarButton(this)) {
    setAccessibilityElement(false);
    _title->setFont(appFont(tokens::barTitleSize, QFont::DemiBold));
    _title->setAlignment(Qt::AlignCenter);
    _title->setTextFormat(Qt::PlainText);
    setGround(Ground::Card);
}

void ScreenBar::setGround(Ground ground) {
    const QRgb ink = ground == Ground::Card ? tokens::barTextOnCard : tokens::groundText;
    _rightButton->setInk(ink);
    QPalette palette = _title->palette();
    palette.setColor(QPalette::WindowText, QColor::fromRgba(ground == Ground::Card ? tokens::cardTitle : ink));
    _title->setPalette(palette);
    layOut();
}

void ScreenBar::layOut() {
    const auto centred = [this](int x, QSize size) {
        const QRect place(QPoint(x, (height() - size.height()) / 2), size);
        return QStyle::visualRect(layoutDirection(), rect(), place);
    };
    const QSize left = _leftButton->sizeHint();
    const QSize right = _rightButton->sizeHint();
    _leftButton->setGeometry(centred(sideMargin, left));
    _rightButton->setGeometry(centred(width() - sideMargin - right.width(), right));
    _leftButton->setVisible(_leftButton->hasIcon());
    _rightButton->setVisible(!_rightButton->text().isEmpty());
    // In the middle, and as far from both ends as the wider button asks.
    const int side = sideMargin + std::max(_leftButton->hasIcon() ? left.width() : 0,
                                           _rightButton->text().isEmpty() ? 0 : right.width());
    _title->setGeometry(side, 0, std::max(0, width() - 2 * side), height());
}

void ScreenBar::resizeEvent(QResizeEvent* event) {
    ZNView::resizeEvent(event);
    layOut();
}

}  // namespace zun
