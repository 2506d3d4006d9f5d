#pragma once

// What every card and stack is made with. A plain bundle of references to objects of the program, all of which outlive
// the cards.

#include <QSizeF>
#include <functional>

#include "cards/CardTexts.h"
#include "platform/foundation/Dispatch.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "settings/ZNSettingsObject.h"
#include "toolkit/Pictures.h"
#include "toolkit/ZNAnimationGroup.h"

namespace zun {

struct CardContext {
    Dispatch& dispatch;
    NSNotificationCenter& notifications;
    ZNSettingsObject& settings;
    Pictures& pictures;
    ZNAnimationTimeline& animations;
    const CardTexts& texts;
    // The client area of the window in logical pixels; 0 by 0 while there is none.
    std::function<QSizeF()> windowSize;
};

}  // namespace zun
