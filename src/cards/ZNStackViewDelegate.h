#pragma once

// What a stack asks of its controller. Must outlive the stack or be taken away from it. Main thread.

#include <memory>

#include "ZunDataModel/ZNReminderObject.h"

namespace zun {

class ZNStackViewItem;

class ZNStackViewDelegate {
  public:
    virtual ~ZNStackViewDelegate() = default;
    [[nodiscard]] virtual int numberOfItemsInStack() const = 0;
    // A new item whose own delegate is set; the stack owns it from then on.
    [[nodiscard]] virtual std::unique_ptr<ZNStackViewItem> viewForIndex(int index) = 0;
    // Null past the end.
    [[nodiscard]] virtual ReminderPtr reminderForObjectAtIndex(int index) const = 0;
    [[nodiscard]] virtual bool shouldRespondToScrollAndGestures() const = 0;
    [[nodiscard]] virtual bool shouldSkipLeft() const = 0;
};

}  // namespace zun
