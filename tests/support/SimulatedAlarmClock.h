#pragma once

#include <memory>

#include "platform/foundation/Dispatch.h"
#include "platform/usernotifications/AlarmClock.h"
#include "support/TestEnvironment.h"

namespace zun {

// Rings by the test's clock: its virtual time, and the jumps that a test makes.
class SimulatedAlarmClock final : public AlarmClock {
  public:
    SimulatedAlarmClock(Dispatch& dispatch, TestEnvironment& environment)
        : _main(dispatch.main()), _environment(environment) {}

    void setEvents(Events events) override { *_events = std::move(events); }
    void setAlarm(OptionalDate date) override {
        _alarm = date;
        ++*_generation;
        if (!date) return;
        const auto delay = std::max(*date - _environment.now(), std::chrono::microseconds{0});
        _main->asyncAfter(delay, [events = _events, generation = _generation, mine = *_generation] {
            if (*generation == mine && events->rang) events->rang();
        });
    }
    OptionalDate alarm() const { return _alarm; }

    // Somebody sets the clock.
    void setClock(NSDate now) {
        _environment.setNow(now);
        setAlarm(_alarm);
        _main->async([events = _events] {
            if (events->clockChanged) events->clockChanged();
        });
    }
    // The machine sleeps: the wall's clock goes on, nothing else does. The kernel tells on resume.
    void suspend(std::chrono::microseconds duration) { setClock(_environment.now() + duration); }

  private:
    DispatchQueuePtr _main;
    TestEnvironment& _environment;
    std::shared_ptr<Events> _events = std::make_shared<Events>();
    std::shared_ptr<std::uint64_t> _generation = std::make_shared<std::uint64_t>(0);
    OptionalDate _alarm;
};

}  // namespace zun
