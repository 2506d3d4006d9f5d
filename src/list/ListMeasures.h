#pragma once

// The measures of the list for one width of the window, in logical pixels.

#include <QRectF>

namespace zun {

// How wide the column of the list is in a window: all of it, up to what can be read well.
[[nodiscard]] int widthForListContainer(double windowWidth);

struct ListMeasures {
    int containerWidth = 0;
    int cellWidth = 0;  // 0.86 of it
    int cellLeft = 0;   // centred in it
    int textWidth = 0;
    int preferredSize = 1;  // for the size styles of fonts
    bool isMirrored = false;

    [[nodiscard]] static ListMeasures forWindowWidth(double width);
    bool operator==(const ListMeasures&) const = default;

    // A rectangle told from the leading edge of something this wide, in painter's coordinates.
    [[nodiscard]] QRectF placed(const QRectF& rect, double within) const {
        return isMirrored ? QRectF(within - rect.right(), rect.top(), rect.width(), rect.height()) : rect;
    }

    static constexpr int cellTop = 4;           // below the row's top
    static constexpr int spaceAroundCell = 12;  // the row is so much higher than its cell
    static constexpr int selectionMargin = 4;
    static constexpr int firstHeaderHeight = 50;
    static constexpr int headerHeight = 60;
    static constexpr int restingInset = 20;  // below the last row
    static constexpr int bulkBarInset = 70;  // the same where the bar lies over it
};

}  // namespace zun
