#include "toolkit/ZNGradientView.h"

#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <array>
#include <cmath>

#include "toolkit/Tokens.h"

namespace zun {

namespace {

constexpr int tileWidth = 64;

std::array<double, 3> mixed(QRgb from, QRgb to, double share) {
    const auto mix = [share](int a, int b) { return a + (b - a) * share; };
    return {mix(qRed(from), qRed(to)), mix(qGreen(from), qGreen(to)), mix(qBlue(from), qBlue(to))};
}

// 0 to 1, even over each 4 by 4 square, so that neighbouring rows blend into each other.
double threshold(int x, int y) {
    static constexpr int order[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    return (order[y & 3][x & 3] + 0.5) / 16;
}

QImage renderedTile(int height) {
    QImage tile(tileWidth, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        const double share = (y + 0.5) / height;
        const auto color = share < 0.5 ? mixed(tokens::groundTop, tokens::groundMiddle, share * 2)
                                       : mixed(tokens::groundMiddle, tokens::groundBottom, share * 2 - 1);
        auto* row = reinterpret_cast<QRgb*>(tile.scanLine(y));
        for (int x = 0; x < tileWidth; ++x) {
            const double lift = threshold(x, y);
            row[x] = qRgb(static_cast<int>(color[0] + lift), static_cast<int>(color[1] + lift),
                          static_cast<int>(color[2] + lift));
        }
    }
    return tile;
}

}  // namespace

ZNGradientView::ZNGradientView(QWidget* parent) : ZNView(parent) {
    setAccessibilityElement(false);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void ZNGradientView::paintEvent(QPaintEvent* event) {
    const double scale = devicePixelRatioF();
    const int pixelHeight = static_cast<int>(std::lround(height() * scale));
    if (pixelHeight <= 0) return;
    if (_tile.height() != pixelHeight || _tile.devicePixelRatio() != scale) {
        _tile = QPixmap::fromImage(renderedTile(pixelHeight));
        _tile.setDevicePixelRatio(scale);
    }
    QPainter painter(this);
    for (const QRect& dirty : event->region()) {
        // Through a clip of several rectangles the tiles would be painted line by line.
        painter.setClipRect(dirty);
        const double step = tileWidth / scale;
        for (double x = std::floor(dirty.left() / step) * step; x <= dirty.right(); x += step) {
            const double left = std::max<double>(x, dirty.left());
            const double right = std::min<double>(x + step, dirty.right() + 1);
            painter.drawPixmap(
                QRectF(left, dirty.top(), right - left, dirty.height()), _tile,
                QRectF((left - x) * scale, dirty.top() * scale, (right - left) * scale, dirty.height() * scale));
        }
    }
}

}  // namespace zun
