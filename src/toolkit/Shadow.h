#pragma once

// Soft shadows, drawn in software. Main thread.

#include <QSize>

class QPainter;
class QPainterPath;

namespace zun {

// Paints the shadow of a shape at the painter's origin. `pixels` is the size of the whole picture in device pixels; the
// shape and the blur are in logical pixels, the blur being twice the deviation of the bell, as drawing programs count
// it.
void paintShadow(QPainter& painter, const QSize& pixels, const QPainterPath& shape, double blurPoints, double alpha,
                 double scale);

}  // namespace zun
