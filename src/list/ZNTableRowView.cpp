#include "list/ZNTableRowView.h"

#include <QPainter>

#include "list/ListMeasures.h"
#include "toolkit/Tokens.h"

namespace zun {

void ZNTableRowView::paint(QPainter& painter, const QRectF& cell) const {
    if (!isSelected && !hasRing) return;
    painter.setRenderHint(QPainter::Antialiasing);
    if (isSelected) {
        constexpr int margin = ListMeasures::selectionMargin;
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromRgba(tokens::listSelection));
        painter.drawRoundedRect(cell.adjusted(-margin, -margin, margin, margin), tokens::listSelectionRadius,
                                tokens::listSelectionRadius);
    }
    if (!hasRing) return;
    const double outset = tokens::focusRingGap + tokens::focusRingWidth / 2;
    painter.setBrush(Qt::NoBrush);
    // The ring's own colour would not be seen on the ground of a selected row.
    painter.setPen(QPen(QColor::fromRgba(isSelected ? tokens::groundText : tokens::focusRing), tokens::focusRingWidth));
    painter.drawRoundedRect(cell.adjusted(-outset, -outset, outset, outset), tokens::cardRadius + outset,
                            tokens::cardRadius + outset);
}

}  // namespace zun
