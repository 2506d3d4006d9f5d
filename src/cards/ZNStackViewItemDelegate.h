#pragma once

// What a card's buttons and swipes ask for. Must outlive the card. Main thread.

#include <QPoint>

namespace zun {

class ZNButton;
class ZNStackViewItem;

class ZNStackViewItemDelegate {
  public:
    virtual ~ZNStackViewItemDelegate() = default;
    virtual void shouldSkipTopCard() = 0;
    virtual void shouldSnoozeTopCard() = 0;
    virtual void shouldCompleteTopCard() = 0;
    virtual void shouldEditTopCard() = 0;
    // A right click on the snooze button at this place on the screen.
    virtual void shouldShowSnoozeForCell(ZNStackViewItem& cell, ZNButton& withSnoozeButton,
                                         QPoint withEventPosition) = 0;
};

}  // namespace zun
