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

}  // namespace

QString statusItemCountText(std::size_t count) {
    if (count == 0) return {};
    return count > highestShown ? QString::number(highestShown) + '+' : QString::number(count);
}

BarGround barGround(std::optional<unsigned> colorScheme, const QByteArray& currentDesktop) {
    for (const QByteArray& desktop : currentDesktop.split(':')) {
        if (desktop == "GNOME" || desktop == "GNOME-Classic") return BarGround::Dark;
    }
    return colorScheme == 1u ? BarGround::Dark : BarGround::Light;
}

QIcon statusItemIcon(std::size_t count, BarGround ground, Pictures& pictures) {
    const bool isWhite = ground == BarGround::Dark;
    QIcon icon;
    for (const int side : sides) {
        if (count == 0) {
            icon.addPixmap(pictures.pixmap(isWhite ? "menuBarIcon_white" : "menuBarIcon", QSizeF(side, side), 1));
        } else {
            const QColor color = QColor::fromRgba(isWhite ? tokens::groundText : tokens::dialogText);
            icon.addPixmap(numberedCard(statusItemCountText(count), color, side));
        }
    }
    return icon;
}

}  // namespace zun
