#include "apps/zun/EndingSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <utility>

namespace zun {
namespace {

constexpr std::array endingSignals = {SIGTERM, SIGINT, SIGHUP};

// What a handler may use is little; a number that is written wakes the event loop.
volatile std::sig_atomic_t bell = -1;

extern "C" void ring(int) {
    const int before = errno;
    const std::uint64_t once = 1;
    if (::write(bell, &once, sizeof once) < 0) {
        // Only if it has rung too often to count, and then it is heard.
    }
    errno = before;
}

}  // namespace

EndingSignals::EndingSignals(std::function<void()> quit) {
    bell = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (bell < 0) return;
    _notifier = std::make_unique<QSocketNotifier>(bell, QSocketNotifier::Read);
    QObject::connect(_notifier.get(), &QSocketNotifier::activated, [quit = std::move(quit)] {
        std::uint64_t times = 0;
        if (::read(bell, &times, sizeof times) > 0) quit();
    });
    for (const int number : endingSignals) {
        struct sigaction before = {};
        if (sigaction(number, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
        struct sigaction action = {};
        action.sa_handler = ring;
        action.sa_flags = SA_RESTART | SA_RESETHAND;
        sigemptyset(&action.sa_mask);
        sigaction(number, &action, nullptr);
    }
}

EndingSignals::~EndingSignals() {
    if (bell < 0) return;
    for (const int number : endingSignals) {
        struct sigaction now = {};
        if (sigaction(number, nullptr, &now) == 0 && now.sa_handler == ring) std::signal(number, SIG_DFL);
    }
    _notifier.reset();
    ::close(bell);
    bell = -1;
}

}  // namespace zun
