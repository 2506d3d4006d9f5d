#include "toolkit/Shadow.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace zun {
namespace {

// One pass of a box filter over a line of a picture of single bytes.
void blurLine(const uchar* in, uchar* out, int count, qsizetype stride, int radius) {
    const int window = 2 * radius + 1;
    int sum = 0;
    for (int i = -radius; i <= radius; ++i)
        sum += in[std::clamp(i, 0, count - 1) * stride];
    for (int i = 0; i < count; ++i) {
        out[i * stride] = static_cast<uchar>((sum + window / 2) / window);
        sum += in[std::min(i + radius + 1, count - 1) * stride] - in[std::max(i - radius, 0) * stride];
    }
}

// Three boxes are as good as a bell. The blur is twice the bell's deviation, as drawing programs count it.
void blur(QImage& mask, double blurPixels) {
    const int radius = std::max(1, static_cast<int>(std::lround(blurPixels / 2)));
    QImage other(mask.size(), mask.format());
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < mask.height(); ++y)
            blurLine(mask.constScanLine(y), other.scanLine(y), mask.width(), 1, radius);
        const uchar* in = other.constBits();
        uchar* out = mask.bits();
        for (int x = 0; x < mask.width(); ++x)
            blurLine(in + x, out + x, mask.height(), mask.bytesPerLine(), radius);
    }
}

}  // namespace

void paintShadow(QPainter& painter, const QSize& pixels, const QPainterPath& shape, double blurPoints, double alpha,
                 double scale) {
    QImage mask(pixels, QImage::Format_Alpha8);
    mask.fill(0);
    QPainter maskPainter(&mask);
    maskPainter.scale(scale, scale);
    maskPainter.setRenderHint(QPainter::Antialiasing);
    maskPainter.fillPath(shape, Qt::black);
    maskPainter.end();
    blur(mask, blurPoints * scale);
    QImage shadow(pixels, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < pixels.height(); ++y) {
        const uchar* in = mask.constScanLine(y);
        auto* out = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        for (int x = 0; x < pixels.width(); ++x)
            out[x] = qRgba(0, 0, 0, static_cast<int>(std::lround(in[x] * alpha)));
    }
    shadow.setDevicePixelRatio(scale);
    painter.drawImage(QPointF(0, 0), shadow);
}

}  // namespace zun
