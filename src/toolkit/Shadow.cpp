#include "toolkit/Shadow.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace zun {
namespace {

// One pass of a box filter over a line of a picture of single bytes.
void blurLine(const uchar* in, uchar* out, int count, qsizetype stride, int radius) {
    const auto window = static_cast<std::uint32_t>(2 * radius + 1);
    // Instead of a division for each pixel, exact for all sums of bytes that fit into a line.
    const std::uint64_t inverse = (std::uint64_t{1} << 32) / window + 1;
    std::uint32_t sum = 0;
    for (int i = -radius; i <= radius; ++i)
        sum += in[std::clamp(i, 0, count - 1) * stride];
    for (int i = 0; i < count; ++i) {
        out[i * stride] = static_cast<uchar>((sum + window / 2) * inverse >> 32);
        sum += in[std::min(i + radius + 1, count - 1) * stride];
        sum -= in[std::max(i - radius, 0) * stride];
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
    std::array<QRgb, 256> black;
    for (std::size_t i = 0; i < black.size(); ++i)
        black[i] = qRgba(0, 0, 0, static_cast<int>(std::lround(static_cast<double>(i) * alpha)));
    QImage shadow(pixels, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < pixels.height(); ++y) {
        const uchar* in = mask.constScanLine(y);
        auto* out = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        std::transform(in, in + pixels.width(), out, [&black](uchar each) { return black[each]; });
    }
    shadow.setDevicePixelRatio(scale);
    painter.drawImage(QPointF(0, 0), shadow);
}

}  // namespace zun
