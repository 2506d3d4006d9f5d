#include "shell/StatusItemPicture.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr int sides[] = {16, 20, 22, 24, 32, 44, 48, 64};  // pixels
constexpr std::size_t highestShown = 99;

// Shares of the picture's side.
constexpr double cardTop = 0.22;
constexpr double cardBottom = 0.96;
constexpr double cardRadius = 0.16;
constexpr double lineTop = 0.06;
constexpr double lineHeight = 0.09;
constexpr double lineInset = 0.2;
constexpr double figureHeight = 0.66;  // of a single figure's font
constexpr double widestNumber = 0.90;

QFont numberFont(const QString& text, double side) {
    QFont font = appFont(1, QFont::Bold);
    const auto fits = [&](int size) {
        font.setPixelSize(size);
        return QFontMetricsF(font).horizontalAdvance(text) <= side * widestNumber;
    };
    int size = std::max(6, static_cast<int>(std::lround(side * figureHeight)));
    while (size > 6 && !fits(size))
        --size;
    font.setPixelSize(size);
    return font;
}

QPixmap numberedCard(const QString& text, const QColor& color, int side) {
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    // Edges on whole pixels: at 16 of them a blurred one is a grey one.
    const auto at = [side](double share) { return std::round(share * side); };
    const QRectF card(0, at(cardTop), side, at(cardBottom) - at(cardTop));
    painter.drawRoundedRect(card, cardRadius * side, cardRadius * side);
    const double height = std::max(1.0, at(lineHeight));
    painter.drawRoundedRect(QRectF(at(lineInset), at(lineTop), side - 2 * at(lineInset), height), height / 2,
                            height / 2);

    const QFont font = numberFont(text, side);
    const QRectF ink = QFontMetricsF(font).tightBoundingRect(text);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    painter.setFont(font);
    painter.setPen(Qt::black);
    const QPointF corner(card.center().x() - ink.width() / 2 - ink.left(),
                         std::round(card.center().y() + ink.height() / 2) - ink.bottom());
    painter.drawText(corner, text);
    return picture;
}

// The picture over a silhouette in the other colour, which stands out by a pixel all around.
QPixmap edged(const QPixmap& picture, const QPixmap& silhouette) {
    constexpr double edgeAlpha = 0.75;
    QPixmap result(picture.size());
    result.fill(Qt::transparent);
    QPainter painter(&result);
    painter.setOpacity(edgeAlpha);
    for (const QPoint step : {QPoint(-1, 0), QPoint(1, 0), QPoint(0, -1), QPoint(0, 1)})
        painter.drawPixmap(step, silhouette);
    painter.setOpacity(1);
    painter.drawPixmap(0, 0, picture);
    return result;
}

}  // namespace

QString statusItemCountText(std::size_t count) {
    if (count == 0) return {};
    return count > highestShown ? QString::number(highestShown) + '+' : QString::number(count);
}

BarGround barGround(std::optional<unsigned> colorScheme, const QByteArray& currentDesktop) {
    for (const QByteArray& desktop : currentDesktop.split(':')) {
        if (desktop == "GNOME" || desktop == "GNOME-Classic") return BarGround::Dark;
    }
    if (!colorScheme || *colorScheme == 0) return BarGround::Unknown;
    return *colorScheme == 1 ? BarGround::Dark : BarGround::Light;
}

QIcon statusItemIcon(std::size_t count, BarGround ground, Pictures& pictures) {
    const bool isWhite = ground != BarGround::Light;
    const auto picture = [&](bool white, const QString& number, int side) {
        if (count == 0) return pictures.pixmap(white ? "menuBarIcon_white" : "menuBarIcon", QSizeF(side, side), 1);
        return numberedCard(number, QColor::fromRgba(white ? tokens::groundText : tokens::dialogText), side);
    };
    QIcon icon;
    for (const int side : sides) {
        const auto bare = picture(isWhite, statusItemCountText(count), side);
        icon.addPixmap(ground == BarGround::Unknown ? edged(bare, picture(!isWhite, QString(), side)) : bare);
    }
    return icon;
}

}  // namespace zun
