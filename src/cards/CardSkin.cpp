#include "cards/CardSkin.h"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <vector>

#include "cards/StackGeometry.h"
#include "toolkit/Shadow.h"
#include "toolkit/Tokens.h"

namespace zun {

namespace {

// How far from its edge a card's corners and the picture of its content stay apart; a multiple of 4 as well.
constexpr double corner = 12;

// The part of a card at its bottom that does not stretch.
double fixedBelow(double footerHeight) {
    return footerHeight > 0 ? CardMeasures::footerShadowHeight + footerHeight : corner;
}

double snapped(double value, double scale) {
    return std::round(value * scale) / scale;
}

QPainterPath outline(const QRectF& card, double footerHeight) {
    const double top = tokens::cardRadius;
    const double bottom = footerHeight > 0 ? tokens::cardFooterRadius : tokens::cardRadius;
    QPainterPath path(QPointF(card.left() + top, card.top()));
    path.lineTo(card.right() - top, card.top());
    path.arcTo(card.right() - 2 * top, card.top(), 2 * top, 2 * top, 90, -90);
    path.arcTo(card.right() - 2 * bottom, card.bottom() - 2 * bottom, 2 * bottom, 2 * bottom, 0, -90);
    path.arcTo(card.left(), card.bottom() - 2 * bottom, 2 * bottom, 2 * bottom, 270, -90);
    path.arcTo(card.left(), card.top(), 2 * top, 2 * top, 180, -90);
    path.closeSubpath();
    return path;
}

// White, darkened towards the footer by its shadow.
QBrush groundAbove(double footerTop) {
    const QColor white = QColor::fromRgba(tokens::cardGround);
    const auto shaded = [](double share) {
        const QColor edge = QColor::fromRgba(tokens::cardFooterEdge);
        const auto mix = [&](int value) {
            return static_cast<int>(std::lround(255 + (value - 255) * edge.alphaF() * share));
        };
        return QColor(mix(edge.red()), mix(edge.green()), mix(edge.blue()));
    };
    QLinearGradient ground(0, footerTop - CardMeasures::footerShadowHeight, 0, footerTop);
    ground.setColorAt(0, white);
    ground.setColorAt(0.5, shaded(0.25));
    ground.setColorAt(1, shaded(1));
    return ground;
}

// The two parts meet on a device pixel, and the rounded corners below blend footer and shadow only.
void paintPanel(QPainter& painter, const QRectF& card, double footerHeight, double scale) {
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath shape = outline(card, footerHeight);
    if (footerHeight <= 0) return painter.fillPath(shape, QColor::fromRgba(tokens::cardGround));
    const double footerTop = snapped(card.bottom() - footerHeight, scale);
    painter.setClipRect(QRectF(card.left(), card.top(), card.width(), footerTop - card.top()));
    painter.fillPath(shape, groundAbove(footerTop));
    painter.setClipRect(QRectF(card.left(), footerTop, card.width(), card.bottom() - footerTop));
    painter.fillPath(shape, QColor::fromRgba(tokens::cardFooter));
}

}  // namespace

void CardSkin::prepare(double height, double footerHeight, double scale) {
    if (height == _height && footerHeight == _footerHeight && scale == _scale) return;
    _height = height;
    _footerHeight = footerHeight;
    _scale = scale;
    // Large enough for the shadow to be straight where it is stretched.
    const double side = 2 * (reach + corner) + 4;
    const QRectF card(reach, reach, side, height);
    const QSize pixels = (QSizeF(card.width() + 2 * reach, card.height() + 2 * reach) * scale).toSize();
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const QPainterPath shape = outline(card.translated(0, tokens::cardShadowOffset), footerHeight);
    paintShadow(painter, pixels, shape, tokens::cardGlowBlur, tokens::cardGlowAlpha, scale);
    paintShadow(painter, pixels, shape, tokens::cardShadowBlur, tokens::cardShadowAlpha, scale);
    paintPanel(painter, card, footerHeight, scale);
    painter.end();
    _pieces = QPixmap::fromImage(image);
}

void CardSkin::paint(QPainter& painter, const QRectF& card, double footerHeight, const QPixmap& picture, double scale) {
    const double left = snapped(card.left(), scale);
    const double top = snapped(card.top(), scale);
    const double right = snapped(card.right(), scale);
    const double bottom = top + snapped(card.height(), scale);
    prepare(bottom - top, footerHeight, scale);
    const double edge = reach + corner;
    const double below = fixedBelow(footerHeight) + reach;
    const QSizeF pieces = _pieces.deviceIndependentSize();
    const auto piece = [&](const QRectF& target, const QRectF& source) {
        painter.drawPixmap(target, _pieces,
                           QRectF(source.topLeft() * scale, QSizeF(source.width() * scale, source.height() * scale)));
    };

    const double lowerStart = bottom + reach - below;
    const double stretch = 1 / scale;  // one device pixel from the middle
    const double middleX = pieces.width() / 2;
    // The sides are as high as the card, for pictures that are not stretched cost far less.
    piece({left - reach, top - reach, edge, pieces.height()}, {0, 0, edge, pieces.height()});
    piece({right - corner, top - reach, edge, pieces.height()}, {pieces.width() - edge, 0, edge, pieces.height()});
    const double innerLeft = left + corner;
    const double innerWidth = right - corner - innerLeft;
    piece({innerLeft, top - reach, innerWidth, reach}, {middleX, 0, stretch, reach});
    piece({innerLeft, bottom, innerWidth, reach}, {middleX, pieces.height() - reach, stretch, reach});

    const QSizeF size = picture.deviceIndependentSize();
    const double cut = snapped((size.width() - (right - left)) / 2, scale) + corner;
    if (picture.isNull() || cut < 0 || size.height() < bottom - top) {
        const QRectF upper(innerLeft, top, innerWidth, lowerStart - top);
        painter.fillRect(upper, QColor::fromRgba(tokens::cardGround));
        piece({innerLeft, lowerStart, innerWidth, below - reach},
              {middleX, pieces.height() - below, stretch, below - reach});
        if (picture.isNull()) return;
    }
    const QRectF shown(innerLeft, top, innerWidth, bottom - top);
    painter.drawPixmap(shown, picture, QRectF(cut * scale, 0, innerWidth * scale, (bottom - top) * scale));
}

QPixmap CardSkin::whole(QSizeF card, double footerHeight, const QPixmap& picture, double scale) {
    const QRectF place(QPointF(reach, reach), card);
    QPixmap result((QSizeF(card.width() + 2 * reach, card.height() + 2 * reach) * scale).toSize());
    result.setDevicePixelRatio(scale);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    paint(painter, place, footerHeight, picture, scale);
    return result;
}

}  // namespace zun
