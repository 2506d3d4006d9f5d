// How cards come to the screen: each is a picture on a stretching panel; only what changed since the last frame is
// painted again.

#include <QPaintEvent>
#include <QPainter>
#include <QPointer>
#include <QTransform>
#include <algorithm>
#include <cmath>

#include "cards/CardControls.h"
#include "cards/CardSkin.h"
#include "cards/ZNStackView.h"
#include "cards/ZNStackViewItem.h"

namespace zun {

namespace {

// Less is not seen, and straight cards are far cheaper.
constexpr double smallestTilt = 0.05;
// Fills of 96 lines and more are handed to Qt's pool of threads and waited for, on a busy machine for far longer than
// they take. This many device lines at a time stay on the main thread.
constexpr double fewLines = 90;
// Away from its place by more than this, a card's controls no longer lie over their faces.
constexpr double controlsTolerance = 1;

QTransform leaning(const QRectF& card, double tilt) {
    QTransform transform;
    transform.translate(card.center().x(), card.center().y());
    transform.rotate(tilt);
    transform.translate(-card.center().x(), -card.center().y());
    return transform;
}

// The height of bands that begin on device pixels and have few lines each; 0 if there is none.
int bandHeight(double scale) {
    for (int height = static_cast<int>(fewLines / scale); height > 0; --height) {
        const double lines = height * scale;
        if (std::abs(lines - std::round(lines)) < 1e-6) return height;
    }
    return 0;
}

}  // namespace

QRectF ZNStackView::shownRect(const ZNStackViewItem& item) const {
    const QSizeF size(item.width.shown(), item.height.shown());
    const QPointF center = stackBounds().center() + QPointF(item.centerX.shown(), item.centerY.shown());
    return {center - QPointF(size.width(), size.height()) / 2, size};
}

ZNStackView::Painted ZNStackView::appearance(const ZNStackViewItem& item) const {
    if (item.cardHidden || item.cardAlpha.shown() <= 0) return {};
    const double tilt = item.tilt();
    return {shownRect(item), item.cardAlpha.shown(), std::abs(tilt) < smallestTilt ? 0 : tilt, item.zPosition};
}

QRect ZNStackView::touched(const Painted& painted) {
    if (painted.alpha <= 0) return {};
    QRectF area = CardSkin::reachOf(painted.card);
    if (painted.tilt != 0) area = leaning(painted.card, painted.tilt).mapRect(area);
    return area.toAlignedRect().adjusted(-1, -1, 1, 1);
}

void ZNStackView::repaintMoved() {
    QRect dirty;
    for (const ZNStackViewItem* item : _stackViews) {
        const Painted now = appearance(*item);
        Painted& before = _painted[item];
        if (now == before) continue;
        dirty |= touched(before) | touched(now);
        before = now;
    }
    // One rectangle, though it is a little larger: in a region of several, pictures are painted line by line.
    if (!dirty.isEmpty()) update(dirty);
    const ZNStackViewItem* top = topItem();
    if (top == nullptr || top->controls() == nullptr) return;
    const QPointF away = shownRect(*top).center() - QRectF(top->geometry()).center();
    top->controls()->setShowsStates(std::max(std::abs(away.x()), std::abs(away.y())) <= controlsTolerance);
}

void ZNStackView::repaintItem(ZNStackViewItem& item) {
    if (!item.cardHidden) update(touched(appearance(item)));
}

std::vector<ZNStackViewItem*> ZNStackView::itemsBackToFront() const {
    std::vector<ZNStackViewItem*> items = _stackViews;
    std::stable_sort(items.begin(), items.end(),
                     [](const ZNStackViewItem* a, const ZNStackViewItem* b) { return a->zPosition < b->zPosition; });
    return items;
}

void ZNStackView::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    // One rectangle after the other: through a clip of several, pictures are painted line by line.
    for (const QRect& rect : event->region())
        paintCards(painter, rect);
}

void ZNStackView::paintCards(QPainter& painter, const QRect& rect) {
    const double scale = devicePixelRatioF();
    const auto items = itemsBackToFront();
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Painted painted = appearance(*items[i]);
        if (painted.alpha <= 0) continue;
        // Straight opaque cards above hide what lies under them, but for their corners.
        QRegion visible = rect & touched(painted);
        for (std::size_t above = i + 1; above < items.size(); ++above) {
            const Painted cover = appearance(*items[above]);
            if (cover.alpha < 1 || cover.tilt != 0) continue;
            visible -= cover.card.adjusted(0, 12, 0, -12).toRect();
        }
        if (visible.isEmpty()) continue;
        painter.setClipRect(visible.boundingRect());
        paintItem(painter, *items[i], painted, scale);
    }
}

void ZNStackView::paintItem(QPainter& painter, ZNStackViewItem& item, const Painted& painted, double scale) {
    // At rest the cards below show only a rim; their pictures can wait until the first paint is out.
    const bool isTop = &item == topItem();
    const bool canWait =
        !isTop && !item.hasPicture() && !_recognizer.isVisible() && !_animating && _shouldRespondToActions;
    const QPixmap picture = canWait ? QPixmap() : item.picture(scale);
    if (canWait) renderPicturesSoon();

    painter.setOpacity(std::min(1.0, painted.alpha));
    const double footer = item.face().measures().footerHeight;
    if (painted.tilt == 0) {
        _skin->paint(painter, painted.card, footer, picture, scale);
        if (isTop) paintGlows(painter, item, scale);
        return;
    }
    paintLeaning(painter, item, painted, scale);
}

void ZNStackView::paintLeaning(QPainter& painter, ZNStackViewItem& item, const Painted& painted, double scale) {
    const QPixmap& picture = item.picture(scale);
    if (_leaning.item != &item || _leaning.picture != picture.cacheKey()) {
        const double footer = item.face().measures().footerHeight;
        _leaning = {&item, picture.cacheKey(), _skin->whole(painted.card.size(), footer, picture, scale)};
    }
    const QRect area = touched(painted) & painter.clipBoundingRect().toAlignedRect();
    const int height = bandHeight(scale);
    const int first = height > 0 ? area.top() - area.top() % height - height : area.top();
    for (int top = first; top <= area.bottom(); top += height > 0 ? height : area.height()) {
        painter.save();
        painter.setClipRect(QRect(area.left(), top, area.width(), height > 0 ? height : area.height()),
                            Qt::IntersectClip);
        painter.setTransform(leaning(painted.card, painted.tilt), true);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(CardSkin::reachOf(painted.card), _leaning.pixmap, _leaning.pixmap.rect());
        painter.restore();
    }
    if (&item != topItem()) return;
    painter.save();
    painter.setTransform(leaning(painted.card, painted.tilt), true);
    paintGlows(painter, item, scale);
    painter.restore();
}

void ZNStackView::paintGlows(QPainter& painter, const ZNStackViewItem& item, double scale) {
    const QRectF card = shownRect(item);
    const QPointF corner(std::round(card.left() * scale) / scale, std::round(card.top() * scale) / scale);
    const double opacity = painter.opacity();
    const auto paintGlow = [&](double status, int button, const QString& name) {
        if (status == 0) return;
        const QRectF glow = item.face().glowRect(button).translated(corner);
        const QPixmap pixmap = _context.pictures.pixmap(name, glow.size(), scale, Pictures::Fit::Stretch);
        painter.setOpacity(opacity * std::clamp(status, 0.0, 1.0));
        painter.drawPixmap(glow.topLeft(), pixmap);
    };
    paintGlow(item.completeStatus(), 0, QStringLiteral("complete_glow"));
    paintGlow(item.snoozeStatus(), 1, QStringLiteral("snooze_glow"));
    paintGlow(item.skipStatus(), 2, QStringLiteral("skip_glow"));
    painter.setOpacity(opacity);
}

void ZNStackView::renderPicturesSoon() {
    if (_rendersSoon || !isVisible()) return;
    _rendersSoon = true;
    _context.dispatch.main()->asyncAfter(std::chrono::milliseconds(30), [this, self = QPointer<ZNStackView>(this)] {
        if (!self) return;
        _rendersSoon = false;
        for (ZNStackViewItem* item : _stackViews) {
            if (item->cardHidden || item->hasPicture()) continue;
            static_cast<void>(item->picture(devicePixelRatioF()));
            repaintItem(*item);
        }
    });
}

}  // namespace zun
