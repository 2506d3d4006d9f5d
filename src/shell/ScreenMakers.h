#pragma once

// How the root of the interface makes the screens that come and go. A screen without a maker is not there: its commands
// stay disabled, and what asks for it is answered by a message. Each maker gives its product to the parent.

#include <functional>

#include "ZunDataModel/ZNReminderObject.h"
#include "cards/ZNBaseViewController.h"

namespace zun {

// What the root asks of the list.
class ListScreen : public ZNView {
  public:
    using ZNView::ZNView;
    virtual void fetchData() = 0;
};

struct ScreenMakers {
    using MakeForReminder = std::function<ZNBaseViewController*(const ReminderPtr& reminder, QWidget* parent)>;
    MakeForReminder editor, checklist, share;
    std::function<ZNBaseViewController*(QWidget* parent)> tour;
    std::function<ListScreen*(QWidget* parent)> list;
};

}  // namespace zun
