#include "toolkit/Pictures.h"

#include <QImage>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <span>

#include "toolkit/PicturesBlob.h"

extern "C" {
extern const char zun_pictures_begin[];
extern const char zun_pictures_end[];
}

namespace zun {

namespace {

using picturesblob::Entry;
using picturesblob::Header;

std::span<const Entry> entries() {
    const auto* header = reinterpret_cast<const Header*>(zun_pictures_begin);
    Q_ASSERT(header->magic == picturesblob::magic);
    return {reinterpret_cast<const Entry*>(zun_pictures_begin + sizeof(Header)), header->count};
}

// The sizes of one name, ascending.
std::span<const Entry> sizesOf(const QString& name) {
    QByteArray key = name.toLatin1();
    if (const qsizetype dot = key.lastIndexOf('.'); dot > 0) key.truncate(dot);
    const auto all = entries();
    const auto first = std::lower_bound(all.begin(), all.end(), key, [](const Entry& entry, const QByteArray& wanted) {
        return std::strcmp(entry.name, wanted.constData()) < 0;
    });
    auto last = first;
    while (last != all.end() && key == last->name)
        ++last;
    return {first, last};
}

QImage decoded(const Entry& entry) {
    const QByteArray pixels = qUncompress(reinterpret_cast<const uchar*>(zun_pictures_begin) + entry.offset,
                                          static_cast<qsizetype>(entry.length));
    const qsizetype rowBytes = qsizetype{4} * entry.width;
    if (pixels.size() != rowBytes * entry.height) return {};
    QImage image(static_cast<int>(entry.width), static_cast<int>(entry.height), QImage::Format_ARGB32_Premultiplied);
    const auto* in = reinterpret_cast<const uchar*>(pixels.constData());
    const uchar* above = nullptr;
    for (int y = 0; y < image.height(); ++y, in += rowBytes) {
        uchar* row = image.scanLine(y);
        if (above == nullptr) {
            std::memcpy(row, in, static_cast<std::size_t>(rowBytes));
        } else {
            for (qsizetype i = 0; i < rowBytes; ++i)
                row[i] = static_cast<uchar>(in[i] + above[i]);
        }
        above = row;
    }
    return image;
}

QSize pixelSize(const Entry& largest, QSizeF size, double scale, Pictures::Fit fit) {
    const QSizeF wanted = size * scale;
    if (fit == Pictures::Fit::Stretch) return wanted.toSize().expandedTo({1, 1});
    const QSizeF natural(largest.width, largest.height);
    return natural.scaled(wanted, Qt::KeepAspectRatio).toSize().expandedTo({1, 1});
}

}  // namespace

Pictures::Pictures(std::size_t byteLimit) : _byteLimit(byteLimit) {}

bool Pictures::contains(const QString& name) const {
    return !sizesOf(name).empty();
}

QPixmap Pictures::pixmap(const QString& name, QSizeF size, double scale, Fit fit) {
    const auto sizes = sizesOf(name);
    if (sizes.empty() || size.isEmpty()) return {};
    const QSize pixels = pixelSize(sizes.back(), size, scale, fit);
    const QString key = QStringLiteral("%1 %2 %3 %4").arg(name).arg(pixels.width()).arg(pixels.height()).arg(scale);
    const auto found = std::find_if(_kept.begin(), _kept.end(), [&](const Kept& kept) { return kept.key == key; });
    if (found != _kept.end()) {
        _kept.splice(_kept.begin(), _kept, found);
        return _kept.front().pixmap;
    }

    const auto sufficient = std::find_if(sizes.begin(), sizes.end(), [&](const Entry& entry) {
        return static_cast<int>(entry.width) >= pixels.width() && static_cast<int>(entry.height) >= pixels.height();
    });
    QImage image = decoded(sufficient != sizes.end() ? *sufficient : sizes.back());
    if (image.isNull()) return {};
    if (image.size() != pixels) image = image.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    image.convertTo(QImage::Format_ARGB32_Premultiplied);
    QPixmap pixmap = QPixmap::fromImage(std::move(image));
    pixmap.setDevicePixelRatio(scale);

    const auto bytes =
        std::size_t{4} * static_cast<std::size_t>(pixels.width()) * static_cast<std::size_t>(pixels.height());
    _kept.push_front({key, pixmap, bytes});
    _keptBytes += bytes;
    while (_keptBytes > _byteLimit && _kept.size() > 1) {
        _keptBytes -= _kept.back().bytes;
        _kept.pop_back();
    }
    return pixmap;
}

}  // namespace zun
