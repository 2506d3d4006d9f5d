#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "platform/foundation/Dispatch.h"
#include "platform/usernotifications/AlarmClock.h"

namespace zun {

// An absolute timer of the kernel on the real-time clock, which goes on through a suspend and is cancelled, with a
// word, when the clock is set. Owns a thread that sleeps in between; events come on the main queue.
class TimerAlarmClock final : public AlarmClock {
  public:
    explicit TimerAlarmClock(Dispatch& dispatch);
    ~TimerAlarmClock() override;
    TimerAlarmClock(const TimerAlarmClock&) = delete;
    TimerAlarmClock& operator=(const TimerAlarmClock&) = delete;

    void setEvents(Events events) override { *_events = std::move(events); }
    void setAlarm(OptionalDate date) override;

  private:
    void wait();
    void arm();

    DispatchQueuePtr _main;
    std::shared_ptr<Events> _events =
        std::make_shared<Events>();    // main queue only; blocks there may outlive the clock
    std::atomic<std::int64_t> _alarm;  // microseconds of NSDate
    int _timer = -1;
    int _end = -1;  // an eventfd that becomes readable when the thread has to end
    std::thread _thread;
};

}  // namespace zun
