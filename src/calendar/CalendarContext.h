#pragma once

// What the calendar is made with. A plain bundle of references to objects of the program, all of which outlive it.

#include <QSizeF>
#include <functional>

#include "core/ZNReminderManager.h"
#include "platform/foundation/Dispatch.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "settings/ZNSettingsObject.h"
#include "toolkit/Pictures.h"

namespace zun {

struct CalendarContext {
    Dispatch& dispatch;
    NSNotificationCenter& notifications;
    ZNSettingsObject& settings;
    Pictures& pictures;
    ZNReminderManager& manager;
    const Environment& environment;
    const LocalizedStrings& strings;
    // The client area of the window in logical pixels; 0 by 0 while there is none.
    std::function<QSizeF()> windowSize;
};

}  // namespace zun
