#include "cards/DeckToolbar.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr std::chrono::milliseconds updateDuration{200};
constexpr double gapBesideLogo = 4;
constexpr double badgeHeight = 20;
constexpr QRgb badgeGround = 0x33ffffff;

QFont badgeFont() {
    return appFontWithSizeStyle(SizeStyle::AllCaps, 4, QFont::DemiBold);
}

// Every figure takes the room of the widest: the badge must not jump in width from 11 to 20.
double figureWidth() {
    const QFontMetricsF metrics(badgeFont());
    double widest = 0;
    for (const QChar figure : QStringView(u"0123456789"))
        widest = std::max(widest, metrics.horizontalAdvance(figure));
    return widest;
}

}  // namespace

DeckToolbar::DeckToolbar(const CardContext& context, QWidget* parent) : ZNView(parent), _context(context) {
    setFixedHeight(height);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibilityRole(QAccessible::StaticText);
    _frames = _context.animations.observeFrames([this] {
        if (_badgeAlpha.shown() != _badgeAlpha.value() || _logoOffset.shown() != _logoOffset.value()) update();
    });
}

double DeckToolbar::textAndPadding() const {
    return QString::number(_count).size() * figureWidth() + badgePadding;
}

void DeckToolbar::setItemCount(std::size_t count) {
    _count = count;
    _context.animations.runGroup(
        updateDuration, Easing::InOut,
        [&](ZNAnimationGroup& group) {
            group.set(_badgeAlpha, count > 0 ? 1 : 0);
            group.set(_logoOffset, count > 0 ? (textAndPadding() + gapBesideLogo) * -0.5 : 0);
        },
        [self = QPointer(this)] {
            if (self) self->update();
        });
    update();
}

void DeckToolbar::setCentreLine(double centreLine) {
    _centreLine = centreLine;
    update();
}

void DeckToolbar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double logoCentre = width() / 2.0 + _logoOffset.shown();
    const QPointF logoCorner(std::round(logoCentre - logoSize.width() / 2),
                             std::round(_centreLine - logoSize.height() / 2));
    painter.drawPixmap(logoCorner, _context.pictures.pixmap("zun_logo", logoSize, devicePixelRatioF()));

    const double alpha = _badgeAlpha.shown();
    if (alpha <= 0) return;
    painter.setOpacity(alpha);
    const double badgeWidth = std::max(smallestBadge, std::ceil(textAndPadding()));
    const QRectF badge(logoCorner.x() + logoSize.width() + gapBesideLogo, std::round(_centreLine - badgeHeight / 2),
                       badgeWidth, badgeHeight);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(badgeGround));
    painter.drawRoundedRect(badge, badgeHeight / 2, badgeHeight / 2);
    painter.setPen(QColor::fromRgba(tokens::groundText));
    painter.setFont(badgeFont());
    const QString number = QString::number(_count);
    const double figure = figureWidth();
    double x = badge.center().x() - number.size() * figure / 2;
    for (const QChar digit : number) {
        painter.drawText(QRectF(x, badge.top(), figure, badge.height()), Qt::AlignCenter, digit);
        x += figure;
    }
}

}  // namespace zun
