#include "platform/usernotifications/TimerAlarmClock.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zun {
namespace {

// What an alarm is set to where none is wanted: the timer also tells when the clock is set, so it always runs.
constexpr NSDate never{std::chrono::sys_days{std::chrono::year{2200} / 1 / 1}};

}  // namespace

TimerAlarmClock::TimerAlarmClock(Dispatch& dispatch)
    : _main(dispatch.main()), _alarm(never.time_since_epoch().count()) {
    _timer = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    _end = eventfd(0, EFD_CLOEXEC);
    arm();
    _thread = std::thread([this] { wait(); });
}

TimerAlarmClock::~TimerAlarmClock() {
    eventfd_write(_end, 1);
    _thread.join();
    close(_timer);
    close(_end);
}

void TimerAlarmClock::setAlarm(OptionalDate date) {
    // The kernel takes no moment before 1970, and a zero would disarm.
    const auto moment = std::clamp(date.value_or(never), NSDate(std::chrono::seconds{1}), never);
    _alarm = moment.time_since_epoch().count();
    arm();
}

void TimerAlarmClock::arm() {
    const std::int64_t at = _alarm;
    itimerspec setting{};
    setting.it_value.tv_sec = at / 1'000'000;
    setting.it_value.tv_nsec = at % 1'000'000 * 1'000;
    timerfd_settime(_timer, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &setting, nullptr);
}

void TimerAlarmClock::wait() {
    for (;;) {
        pollfd waiting[] = {{_timer, POLLIN, 0}, {_end, POLLIN, 0}};
        if (poll(waiting, std::size(waiting), -1) < 0 && errno != EINTR) return;
        if (waiting[1].revents != 0) return;
        std::uint64_t expirations = 0;
        const bool rang = read(_timer, &expirations, sizeof expirations) == sizeof expirations;
        if (rang) {
            _main->async([events = _events] {
                if (events->rang) events->rang();
            });
        } else if (errno == ECANCELED) {
            // Cancelled timers do not go on by themselves.
            arm();
            _main->async([events = _events] {
                if (events->clockChanged) events->clockChanged();
            });
        }
    }
}

}  // namespace zun
