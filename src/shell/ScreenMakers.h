#pragma once

// How the root of the interface makes the screens that come and go. A screen without a maker is not there: its commands
// stay disabled, and what asks for it is answered by a message. Each maker gives its product to the parent. The context
// is that of the root, since each of the window and the panel has its own.

#include <functional>

#include "ZunDataModel/ZNReminderObject.h"
#include "cards/ListScreen.h"

namespace zun {

struct ScreenMakers {
    using MakeForReminder =
        std::function<ZNBaseViewController*(const CardContext& context, const ReminderPtr& reminder, QWidget* parent)>;
    MakeForReminder editor, checklist, share;
    std::function<ZNBaseViewController*(const CardContext& context, QWidget* parent)> tour;
    std::function<ListScreen*(const CardContext& context, QWidget* parent)> list;
};

}  // namespace zun
