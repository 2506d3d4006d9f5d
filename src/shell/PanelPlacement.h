#pragma once

// Where the panel stands: plain arithmetic in logical pixels of the desktop.

#include <QRect>
#include <optional>

namespace zun {

struct PanelPlacement {
    enum class Arrow { None, Up, Down };

    static constexpr QSize size{400, 500};
    static constexpr int gap = 5;          // between the item and the arrow's tip
    static constexpr int screenEdge = 10;  // kept free at the sides
    static constexpr int arrowHeight = 10;
    static constexpr int cornerRadius = 5;

    QRect frame;
    Arrow arrow = Arrow::None;
    int arrowX = 0;  // of its tip, in the panel

    bool operator==(const PanelPlacement&) const = default;
};

// Under the item, or above it if the item is in the lower half of the screen. Without an item, at the top of what the
// screen has free, in its middle. The panel never leaves the free area where it fits into it.
[[nodiscard]] PanelPlacement placePanel(const std::optional<QRect>& item, const QRect& screen, const QRect& available);

// Where the item must be that was just clicked, when the desktop does not say: under the pointer, if the pointer is on
// something of the desktop's own, as bars are.
[[nodiscard]] std::optional<QRect> itemUnderPointer(const QPoint& pointer, const QRect& screen, const QRect& available);

}  // namespace zun
