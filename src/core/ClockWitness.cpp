#include "core/ClockWitness.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <sstream>
#include <string>

#include "platform/foundation/ISO8601.h"
#include "platform/foundation/NSUserDefaults.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

// A time service steps by seconds at most once it runs; people who set a clock set it by more.
constexpr microseconds toleratedDifference = 1min;
// Who was away for longer waits a day for the sweep.
constexpr microseconds longestAbsence = 7 * 24h;
constexpr microseconds caution = 24h;

constexpr std::string_view suiteName = "clock";
constexpr std::string_view lastLookKey = "lastLook";

struct Look {
    NSDate now;
    BootTime bootTime;
    // How long a jump still counts.
    microseconds cautionLeft{0};
};

std::string textOf(const Look& look) {
    return fmt::format("{} {} {} {}", iso8601FromDate(look.now), look.cautionLeft.count(),
                       look.bootTime.sinceBoot.count(), look.bootTime.boot);
}

std::optional<Look> lookFromText(const std::string& text) {
    std::istringstream words(text);
    std::string date;
    Look look;
    microseconds::rep cautionLeft = 0;
    microseconds::rep sinceBoot = 0;
    if (!(words >> date >> cautionLeft >> sinceBoot)) return std::nullopt;
    words >> look.bootTime.boot;  // may be unknown
    const auto now = dateFromISO8601(date, *NSTimeZone::utc());
    if (!now) return std::nullopt;
    look.now = *now;
    look.cautionLeft = microseconds(cautionLeft);
    look.bootTime.sinceBoot = microseconds(sinceBoot);
    return look;
}

bool isSameBoot(const BootTime& last, const BootTime& now) {
    return last.boot == now.boot && last.sinceBoot <= now.sinceBoot;
}

bool hasJumped(const Look& last, const Look& look) {
    const auto byTheClock = look.now - last.now;
    if (!isSameBoot(last.bootTime, look.bootTime))
        return byTheClock < -toleratedDifference || byTheClock > longestAbsence;
    const auto elapsed = look.bootTime.sinceBoot - last.bootTime.sinceBoot;
    return byTheClock < elapsed - toleratedDifference || byTheClock > elapsed + toleratedDifference;
}

microseconds cautionLeftAfter(const std::optional<Look>& last, const Look& look) {
    // A look that cannot be read says nothing for the clock.
    if (!last || hasJumped(*last, look)) return caution;
    // Since a last look in an earlier boot at least the time of this one has passed.
    const auto elapsed = isSameBoot(last->bootTime, look.bootTime) ? look.bootTime.sinceBoot - last->bootTime.sinceBoot
                                                                   : look.bootTime.sinceBoot;
    return std::max(last->cautionLeft - elapsed, microseconds{0});
}

}  // namespace

bool ClockWitness::hasJumpedWithinADay() const {
    NSUserDefaults file(_stateFolder, suiteName);
    Look look{_environment.now(), _environment.bootTime()};
    if (const auto last = file.stringForKey(lastLookKey))
        look.cautionLeft = cautionLeftAfter(lookFromText(*last), look);
    file.setValue(lastLookKey, textOf(look));
    return look.cautionLeft > microseconds{0};
}

}  // namespace zun
