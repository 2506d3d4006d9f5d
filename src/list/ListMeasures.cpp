#include "list/ListMeasures.h"

#include <QGuiApplication>
#include <algorithm>
#include <cmath>

#include "toolkit/Tokens.h"
#include "toolkit/ZNFonts.h"

namespace zun {
namespace {

constexpr double shareOfCell = 0.86;
constexpr int sideOfThumbnail = 60;
constexpr int textMargins = 44;

}  // namespace

int widthForListContainer(double windowWidth) {
    return std::min(static_cast<int>(std::ceil(windowWidth)), tokens::listWidestContainer);
}

ListMeasures ListMeasures::forWindowWidth(double width) {
    ListMeasures measures;
    measures.containerWidth = widthForListContainer(width);
    const double cell = std::ceil(measures.containerWidth * shareOfCell);
    measures.cellWidth = static_cast<int>(cell);
    measures.cellLeft = static_cast<int>(std::ceil((measures.containerWidth - cell) * 0.5));
    measures.textWidth = std::max(1, static_cast<int>(std::floor(cell - textMargins - sideOfThumbnail)));
    measures.preferredSize = preferredFontSizeForWindowSize(width);
    measures.isMirrored = QGuiApplication::layoutDirection() == Qt::RightToLeft;
    return measures;
}

}  // namespace zun
