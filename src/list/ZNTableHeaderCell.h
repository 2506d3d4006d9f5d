#pragma once

// The title of a section, centred over its rows. Not a widget; painted by the table. Main thread.

#include <QRectF>
#include <QString>

#include "list/ListMeasures.h"

class QPainter;

namespace zun {

class ZNTableHeaderCell {
  public:
    explicit ZNTableHeaderCell(const ListMeasures& measures) : _measures(measures) {}

    void setHeading(const QString& heading) { _heading = heading; }
    // Into a row of the table.
    void paint(QPainter& painter, const QRectF& row) const;

  private:
    ListMeasures _measures;
    QString _heading;
};

}  // namespace zun
