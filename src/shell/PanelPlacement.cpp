#include "shell/PanelPlacement.h"

#include <algorithm>

namespace zun {
namespace {

constexpr int guessedItemSide = 24;

// Into the bounds, at their start if it does not fit.
int within(int position, int length, int low, int high) {
    return std::max(std::min(position, high - length), low);
}

}  // namespace

PanelPlacement placePanel(const std::optional<QRect>& item, const QRect& screen, const QRect& available) {
    using Arrow = PanelPlacement::Arrow;
    PanelPlacement placement;
    const QSize size(PanelPlacement::size.width(), std::min(PanelPlacement::size.height(), available.height()));
    const int low = available.left() + PanelPlacement::screenEdge;
    const int high = available.left() + available.width() - PanelPlacement::screenEdge;
    if (!item) {
        const int x = available.left() + (available.width() - size.width()) / 2;
        const int y = available.top() + PanelPlacement::gap;
        placement.frame = {QPoint(x, within(y, size.height(), available.top(), available.bottom() + 1)), size};
        return placement;
    }
    const int centre = item->left() + item->width() / 2;
    placement.arrow = item->center().y() > screen.center().y() ? Arrow::Down : Arrow::Up;
    const int wanted = placement.arrow == Arrow::Up ? item->top() + item->height() + PanelPlacement::gap
                                                    : item->top() - PanelPlacement::gap - size.height();
    const int x = within(centre - size.width() / 2, size.width(), low, high);
    const int y = within(wanted, size.height(), available.top(), available.top() + available.height());
    placement.frame = {QPoint(x, y), size};
    const int nearest = PanelPlacement::cornerRadius + PanelPlacement::arrowHeight;
    placement.arrowX = std::clamp(centre - x, nearest, size.width() - nearest);
    return placement;
}

std::optional<QRect> itemUnderPointer(const QPoint& pointer, const QRect& screen, const QRect& available) {
    if (!screen.contains(pointer) || available.contains(pointer)) return std::nullopt;
    QRect item(0, 0, guessedItemSide, guessedItemSide);
    item.moveCenter(pointer);
    // The bar's edge is the item's.
    if (pointer.y() < available.top()) item.setBottom(available.top() - 1);
    if (pointer.y() > available.bottom()) item.setTop(available.bottom() + 1);
    return item & screen;
}

}  // namespace zun
