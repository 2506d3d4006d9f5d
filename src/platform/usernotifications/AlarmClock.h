#pragma once

// Rings at a moment of the wall clock, however the clock is set meanwhile. Main queue only; nothing blocks.

#include <functional>

#include "platform/foundation/NSDate.h"

namespace zun {

class AlarmClock {
  public:
    struct Events {
        std::function<void()> rang;
        // The clock was set, or the machine woke up: moments may have passed unseen.
        std::function<void()> clockChanged;
    };

    virtual ~AlarmClock() = default;
    virtual void setEvents(Events events) = 0;
    // Replaces the alarm before. One that lies in the past rings at once. None for an absent date.
    virtual void setAlarm(OptionalDate date) = 0;
};

}  // namespace zun
