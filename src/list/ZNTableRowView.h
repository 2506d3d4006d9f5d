#pragma once

// What lies under and around a cell of the list: the ground of a selected row, and the ring of the row that the
// keyboard is at. Not a widget; painted by the table. Main thread.

#include <QRectF>

class QPainter;

namespace zun {

struct ZNTableRowView {
    bool isSelected = false;
    bool hasRing = false;

    // Around the cell's rectangle.
    void paint(QPainter& painter, const QRectF& cell) const;
};

}  // namespace zun
