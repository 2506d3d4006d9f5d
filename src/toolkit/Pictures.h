#pragma once

// The pictures and icons that were rendered at build time, by name and size. Each name is stored in several sizes; the
// smallest sufficient one is taken and scaled. Results are kept until the kept ones exceed a few megabytes, then the
// oldest go. Main thread; the first request of a large picture takes about a millisecond.

#include <QPixmap>
#include <QSizeF>
#include <QString>
#include <cstddef>
#include <list>

namespace zun {

class Pictures {
  public:
    explicit Pictures(std::size_t byteLimit = 6u << 20);
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;

    // The picture of this name ("coffeeImage", with or without an ending) in logical pixels at a scale, as a pixmap
    // with that device pixel ratio. Its proportions are kept unless stretched. A null pixmap for an unknown name.
    enum class Fit { KeepProportions, Stretch };
    [[nodiscard]] QPixmap pixmap(const QString& name, QSizeF size, double scale, Fit fit = Fit::KeepProportions);
    [[nodiscard]] bool contains(const QString& name) const;
    // The bytes of the pictures kept now.
    [[nodiscard]] std::size_t keptBytes() const { return _keptBytes; }

  private:
    struct Kept {
        QString key;
        QPixmap pixmap;
        std::size_t bytes;
    };

    std::size_t _byteLimit;
    std::size_t _keptBytes = 0;
    std::list<Kept> _kept;  // latest use first
};

}  // namespace zun
