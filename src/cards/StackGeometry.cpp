#include "cards/StackGeometry.h"

#include <algorithm>
#include <cmath>

namespace zun {

namespace {

// From this width on there is room for the calendar beside the cards.
constexpr double wideWidth = 820;

double ceilSingle(double value) {
    return std::ceil(static_cast<float>(value));
}
double floorSingle(double value) {
    return std::floor(static_cast<float>(value));
}

// Of the calendar beside the cards, by the width that both have.
double calendarWidth(double available, double windowWidth, bool isLarge) {
    const bool isMediumLarge = isLarge && windowWidth >= 1200 && windowWidth < 1400;
    const double ratio = isMediumLarge ? 0.28 : windowWidth < 1400 ? 0.35 : 0.22;
    return std::min(std::max(220.0, ceilSingle(ratio * available)), 400.0);
}

}  // namespace

QSizeF StackGeometry::cardSize() const {
    const double available = ceilSingle(_metrics.windowWidth == 0 ? 300.8 : (_metrics.windowWidth - 80) * 0.94);
    const double wantedHeight = _metrics.bounds.height() == 0 ? 360 : _metrics.bounds.height() * 0.8;
    const double height = std::min<double>(wantedHeight, isLarge() ? 800 : 520);
    double width = std::min<double>(available, isLarge() ? 576 : 400);
    if (isLarge()) width = std::min(width, ceilSingle(0.74 * height));
    return {ceilSingle(std::max(260.0, width)), ceilSingle(std::max(340.0, height))};
}

double StackGeometry::cardXOffset() const {
    const double width = _metrics.bounds.width();
    if (width < wideWidth) return 0;
    const double gap = floorSingle(0.025 * width);
    const double calendar = calendarWidth(width, _metrics.windowWidth, isLarge());
    return ceilSingle(ceilSingle((std::min(gap, 60.0) + calendar) * 0.5) + 10);
}

double StackGeometry::verticalStep() const {
    return isLarge() ? floorSingle(_metrics.bounds.height() * 0.01) : 10;
}

double StackGeometry::widthStep() const {
    return isLarge() ? floorSingle(_metrics.bounds.width() * 0.015) : 12;
}

double StackGeometry::horizontalOffset() const {
    return _metrics.superviewWidth >= wideWidth ? restOffset() : 0;
}

double StackGeometry::width(int index) const {
    return ceilSingle(cardSize().width() - index * widthStep());
}

double StackGeometry::alphaMovingUp(double index, double percentage) {
    const double start = alpha(index);
    const double end = alpha(index - 1);
    return start + (end - start) * percentage;
}

double StackGeometry::skipTarget(SkipLeft skipLeft, double horizontalOffset) const {
    const double rest = restOffset();
    const bool goesLeft = skipLeft == SkipLeft::Yes || horizontalOffset - rest < 0;
    return rest + (goesLeft ? -skipDistance : skipDistance);
}

double zeroStateXOffset(double windowWidth, std::uint64_t windowLayoutMode) {
    const double available = windowWidth - 80;
    if (available < wideWidth) return 0;
    const double margin = std::max(34.0, std::min(floorSingle(0.025 * available), 60.0));
    return 10 - ceilSingle((margin + calendarWidth(available, windowWidth, windowLayoutMode == 3)) * 0.5);
}

CalendarPlace calendarPlace(QSizeF windowSize, std::uint64_t windowLayoutMode) {
    const bool isLarge = windowLayoutMode == 3;
    const double available = windowSize.width() - 80;
    const double cardHeight = std::min(0.8 * windowSize.height(), isLarge ? 800.0 : 520.0);
    double cardWidth = std::min(ceilSingle(0.94 * available), isLarge ? 576.0 : 400.0);
    if (isLarge) cardWidth = std::min(cardWidth, ceilSingle(0.74 * cardHeight));
    const double top = ceilSingle((windowSize.height() - cardHeight) * 0.5);
    const double margin = std::max(34.0, std::min(floorSingle(0.025 * available), 60.0));
    CalendarPlace place{};
    place.isHidden = windowSize.width() < CalendarPlace::narrowestWindow;
    place.width = calendarWidth(available, windowSize.width(), isLarge);
    place.height = std::max(1.0, ceilSingle(windowSize.height() - top - 22.5 - CalendarPlace::bottomMargin));
    place.xOffset = available >= wideWidth ? ceilSingle(margin * 0.5 + cardWidth * 0.5) : 0;
    return place;
}

CardMeasures cardMeasures(std::uint64_t windowLayoutMode, double windowWidth) {
    switch (windowLayoutMode) {
        case 0:
            return {26, 120, 25, 50};
        case 1:
            return {36, 130, 30, 50};
        case 2:
            return {42, 160, 35, 60};
        case 3:
            if (windowWidth < 1200) return {42, 180, 40, 64};
            if (windowWidth < 1400) return {46, 200, 40, 70};
            return {51, 240, 45, 76};
        default:
            return {36, 120, 30, 50};
    }
}

int titleLineLimit(double cardHeight, HasNotes hasNotes) {
    return (cardHeight < 460 ? 3 : 4) + (hasNotes == HasNotes::Yes ? 0 : 1);
}

double titleHeight(double textHeight, double templateHeight) {
    return std::max(1.0, std::min(textHeight, templateHeight));
}

bool notesFit(const TextHeights& heights, double cardHeight, double footerHeight) {
    return heights.notes <= 0 ||
           heights.notes <= ceilSingle(cardHeight - 56 - heights.title - heights.date - footerHeight);
}

double bannerAlpha(const TextHeights& heights, double cardHeight, double footerHeight, double bannerHeight) {
    const double textBottom = ceilSingle(heights.date + heights.title + heights.notes + 56);
    return textBottom > cardHeight - footerHeight - 0.7 * bannerHeight ? 0.1 : 1;
}

}  // namespace zun
