// Renders drawings into the blob that the program carries: zun_render_pictures OUTPUT DRAWING...
// Pictures (square, wide) are rendered at the sizes where they are seen, icons at once, twice and three times their own
// size.

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>
#include <cstring>
#include <vector>

#include "toolkit/PicturesBlob.h"

namespace {

using zun::picturesblob::Entry;

// Larger than this a drawing is a picture.
constexpr int largestIcon = 400;
constexpr int pictureSides[] = {60, 130, 260, 540};
constexpr int applicationIconSides[] = {16, 22, 24, 32, 48, 64, 128, 256};

std::vector<QSize> sizesOf(const QString& name, QSize natural) {
    std::vector<QSize> sizes;
    if (name.startsWith("zun_icon")) {
        // The large drawing has the detail that the small sizes cannot show.
        const bool isLarge = name.endsWith("_large");
        for (const int side : applicationIconSides) {
            if (isLarge == (side >= 128)) sizes.emplace_back(side, side);
        }
    } else if (natural.width() > largestIcon) {
        for (const int side : pictureSides)
            sizes.push_back(natural.scaled(side, side, Qt::KeepAspectRatio));
    } else {
        for (const int factor : {1, 2, 3})
            sizes.push_back(natural * factor);
    }
    return sizes;
}

QByteArray pixelsOf(QSvgRenderer& drawing, QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter, QRectF(QPointF(0, 0), size));
    painter.end();
    const qsizetype rowBytes = qsizetype{4} * size.width();
    QByteArray pixels(rowBytes * size.height(), Qt::Uninitialized);
    for (int y = 0; y < size.height(); ++y) {
        const uchar* row = image.constScanLine(y);
        const uchar* above = y > 0 ? image.constScanLine(y - 1) : nullptr;
        auto* out = reinterpret_cast<uchar*>(pixels.data()) + y * rowBytes;
        for (qsizetype i = 0; i < rowBytes; ++i)
            out[i] = static_cast<uchar>(row[i] - (above ? above[i] : 0));
    }
    return qCompress(pixels, 9);
}

struct Rendered {
    Entry entry;
    QByteArray pixels;
};

bool renderFile(const QString& path, std::vector<Rendered>& all) {
    QSvgRenderer drawing(path);
    const QByteArray name = QFileInfo(path).completeBaseName().toLatin1();
    if (!drawing.isValid() || static_cast<std::size_t>(name.size()) >= sizeof(Entry::name)) {
        std::fprintf(stderr, "cannot render %s\n", qPrintable(path));
        return false;
    }
    for (const QSize size : sizesOf(name, drawing.defaultSize())) {
        Rendered rendered{Entry{}, pixelsOf(drawing, size)};
        std::memcpy(rendered.entry.name, name.constData(), static_cast<std::size_t>(name.size()));
        rendered.entry.width = static_cast<std::uint32_t>(size.width());
        rendered.entry.height = static_cast<std::uint32_t>(size.height());
        all.push_back(std::move(rendered));
    }
    return true;
}

bool write(const QString& path, std::vector<Rendered>& all) {
    std::stable_sort(all.begin(), all.end(), [](const Rendered& a, const Rendered& b) {
        const int order = std::strcmp(a.entry.name, b.entry.name);
        return order != 0 ? order < 0 : a.entry.width < b.entry.width;
    });
    const zun::picturesblob::Header header{zun::picturesblob::magic, static_cast<std::uint32_t>(all.size())};
    auto offset = static_cast<std::uint32_t>(sizeof header + all.size() * sizeof(Entry));
    for (Rendered& rendered : all) {
        rendered.entry.offset = offset;
        rendered.entry.length = static_cast<std::uint32_t>(rendered.pixels.size());
        offset += rendered.entry.length;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return false;
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    for (const Rendered& rendered : all)
        file.write(reinterpret_cast<const char*>(&rendered.entry), sizeof(Entry));
    for (const Rendered& rendered : all)
        file.write(rendered.pixels);
    return file.flush();
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 3) return 2;
    std::vector<Rendered> all;
    for (const QString& path : arguments.mid(2)) {
        if (!renderFile(path, all)) return 1;
    }
    if (!write(arguments[1], all)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(arguments[1]));
        return 1;
    }
    return 0;
}
