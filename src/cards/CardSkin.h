#pragma once

// The panel under a card's content: white with rounded corners, footer colour at the bottom, and its shadow. Drawn once
// per height and scale into a narrow picture whose middle stretches, so that a card of any width costs only its own
// pixels.

#include <QPixmap>
#include <QRectF>

class QPainter;

namespace zun {

class CardSkin {
  public:
    // How far the shadow reaches around a card, in logical pixels; a multiple of 4, which is whole device pixels at
    // every quarter of a scale.
    static constexpr int reach = 36;

    // The rectangle that a card's pixels may touch.
    [[nodiscard]] static QRectF reachOf(const QRectF& card) { return card.adjusted(-reach, -reach, reach, reach); }

    // Paints a card: the panel and, inside it, the picture, centred and cut to the panel's width. Positions are rounded
    // to device pixels. The picture may be null; a footer height of 0 makes a plain panel.
    void paint(QPainter& painter, const QRectF& card, double footerHeight, const QPixmap& picture, double scale);
    // The same as one picture of its own with the shadow, for drawing it turned.
    [[nodiscard]] QPixmap whole(QSizeF card, double footerHeight, const QPixmap& picture, double scale);

  private:
    void prepare(double height, double footerHeight, double scale);

    QPixmap _pieces;
    double _height = -1;
    double _footerHeight = -1;
    double _scale = 0;
};

}  // namespace zun
