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
// The logo's way up, and where the line stands that it uncovers.
constexpr double logoLift = -10.5;
constexpr double syncingOffset = 8;
constexpr int syncingHeight = 16;
constexpr int syncingSize = 11;
// What the buttons at both ends of the toolbar may take.
constexpr int syncingMargin = 12;

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

DeckToolbar::DeckToolbar(const CardContext& context, QWidget* parent)
    : ZNView(parent),
      _context(context),
      _syncingText(QString::fromStdString(context.texts.text("Default_Sync_Text"))),
      _spokenSyncing(new ZNSpokenText(this)) {
    _spokenSyncing->setObjectName("syncingLabel");
    _spokenSyncing->setAccessibilityLabel(_syncingText);
    _spokenSyncing->hide();
    setFixedHeight(height);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibilityRole(QAccessible::StaticText);
    _frames = _context.animations.observeFrames([this] {
        for (const auto* moving : {&_badgeAlpha, &_logoOffset, &_syncingAlpha, &_lift}) {
            if (moving->shown() != moving->value()) return update();
        }
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

void DeckToolbar::setSyncingText(const QString& text) {
    _syncingText = text;
    _spokenSyncing->setAccessibilityLabel(text);
    update();
}

void DeckToolbar::setShowsSyncing(bool shows) {
    _spokenSyncing->setVisible(shows);
    _context.animations.runGroup(
        updateDuration, Easing::InOut,
        [&](ZNAnimationGroup& group) {
            group.set(_lift, shows ? logoLift : 0);
            group.set(_syncingAlpha, shows ? 1 : 0);
        },
        [self = QPointer(this)] {
            if (self) self->update();
        });
    update();
}

QRect DeckToolbar::syncingPlace() const {
    const auto top = static_cast<int>(std::round(_centreLine + syncingOffset - syncingHeight / 2.0));
    return {syncingMargin, top, std::max(0, width() - 2 * syncingMargin), syncingHeight};
}

void DeckToolbar::resizeEvent(QResizeEvent*) {
    _spokenSyncing->setGeometry(syncingPlace());
}

void DeckToolbar::setCentreLine(double centreLine) {
    _centreLine = centreLine;
    _spokenSyncing->setGeometry(syncingPlace());
    update();
}

void DeckToolbar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double logoCentre = width() / 2.0 + _logoOffset.shown();
    const double centreLine = _centreLine + _lift.shown();
    const QPointF logoCorner(std::round(logoCentre - logoSize.width() / 2),
                             std::round(centreLine - logoSize.height() / 2));
    painter.drawPixmap(logoCorner, _context.pictures.pixmap("zun_logo", logoSize, devicePixelRatioF()));
    if (_syncingAlpha.shown() > 0) {
        painter.setOpacity(_syncingAlpha.shown());
        painter.setFont(appFont(syncingSize));
        painter.setPen(QColor::fromRgba(tokens::groundText));
        const QRect place = syncingPlace();
        painter.drawText(place, Qt::AlignCenter,
                         painter.fontMetrics().elidedText(_syncingText, Qt::ElideRight, place.width()));
    }
    if (_badgeAlpha.shown() > 0) paintBadge(painter, logoCorner, centreLine);
}

void DeckToolbar::paintBadge(QPainter& painter, QPointF logoCorner, double centreLine) const {
    painter.setOpacity(_badgeAlpha.shown());
    const double badgeWidth = std::max(smallestBadge, std::ceil(textAndPadding()));
    const QRectF badge(logoCorner.x() + logoSize.width() + gapBesideLogo, std::round(centreLine - badgeHeight / 2),
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
