#pragma once

// The ground: a vertical gradient over the whole of the view. It is kept as one narrow tile with a fine dither, so that
// wide windows show no bands and a small dirty rectangle costs only its own pixels.

#include <QPixmap>

#include "toolkit/ZNView.h"

namespace zun {

class ZNGradientView : public ZNView {
    Q_OBJECT
  public:
    explicit ZNGradientView(QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QPixmap _tile;
};

}  // namespace zun
