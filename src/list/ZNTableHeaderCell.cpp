#include "list/ZNTableHeaderCell.h"

#include <QPainter>

#include "cards/TextBlock.h"
#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double shareOfRow = 0.82;
constexpr double paddingInSmallWindow = 6;
constexpr double paddingInLargeWindow = 9;

}  // namespace

void ZNTableHeaderCell::paint(QPainter& painter, const QRectF& row) const {
    const QFont font = appFontWithSizeStyle(SizeStyle::Text, _measures.preferredSize, QFont::DemiBold);
    const QFontMetricsF metrics(font);
    const double padding = _measures.preferredSize == 1 ? paddingInSmallWindow : paddingInLargeWindow;
    const double width = row.width() * shareOfRow;
    const double height = metrics.height();
    const QRectF text(row.center().x() - width / 2, row.bottom() - padding - height, width, height);
    painter.setFont(font);
    painter.setPen(QColor::fromRgba(tokens::groundText));
    painter.drawText(text, Qt::AlignCenter | Qt::TextSingleLine, metrics.elidedText(_heading, Qt::ElideRight, width));
}

}  // namespace zun
