#include "support/TestEnvironment.h"

#include <fmt/format.h>

#include <cstdlib>
#include <utility>

#include "platform/foundation/ISO8601.h"
#include "platform/foundation/Log.h"

namespace zun {

TestEnvironment::TestEnvironment(std::string_view now, const Dispatch* dispatch)
    : _dispatch(dispatch), _timeZone(NSTimeZone::utc()) {
    setNow(now);
}

std::chrono::microseconds TestEnvironment::uptime() const {
    return _dispatch ? _dispatch->uptime() : std::chrono::microseconds{0};
}

NSDate TestEnvironment::now() const {
    const std::lock_guard lock(_mutex);
    return _nowAtStart + (uptime() - _start);
}

std::shared_ptr<const NSTimeZone> TestEnvironment::timeZone() const {
    const std::lock_guard lock(_mutex);
    return _timeZone;
}

NSLocale TestEnvironment::locale() const {
    const std::lock_guard lock(_mutex);
    return _locale;
}

std::string TestEnvironment::newIdentifier() const {
    const std::lock_guard lock(_mutex);
    if (_givenIdentifiers.empty()) return fmt::format("id-{}", ++_lastIdentifier);
    auto identifier = std::move(_givenIdentifiers.front());
    _givenIdentifiers.pop_front();
    return identifier;
}

void TestEnvironment::setNow(NSDate now) {
    const std::lock_guard lock(_mutex);
    _nowAtStart = now;
    _start = uptime();
}

void TestEnvironment::setNow(std::string_view now) {
    setNow(date(now));
}

void TestEnvironment::advance(std::chrono::microseconds duration) {
    const std::lock_guard lock(_mutex);
    _nowAtStart += duration;
    _bootedBefore += duration;
}

BootTime TestEnvironment::bootTime() const {
    const std::lock_guard lock(_mutex);
    return {_boot, _bootedBefore + uptime()};
}

void TestEnvironment::setBootTime(std::string boot, std::chrono::microseconds sinceBoot) {
    const std::lock_guard lock(_mutex);
    _boot = std::move(boot);
    _bootedBefore = sinceBoot - uptime();
}

void TestEnvironment::setTimeZone(std::string_view name) {
    auto zone = NSTimeZone::named(name);
    if (!zone) {
        NSLog(fmt::format("TestEnvironment: no time zone named {}", name));
        std::abort();
    }
    const std::lock_guard lock(_mutex);
    _timeZone = std::move(zone);
}

void TestEnvironment::setLocale(NSLocale locale) {
    const std::lock_guard lock(_mutex);
    _locale = std::move(locale);
}

void TestEnvironment::giveIdentifier(std::string identifier) {
    const std::lock_guard lock(_mutex);
    _givenIdentifiers.push_back(std::move(identifier));
}

NSDate TestEnvironment::date(std::string_view text) const {
    const auto date = dateFromISO8601(text, *timeZone());
    if (!date) {
        NSLog(fmt::format("TestEnvironment: not a date: {}", text));
        std::abort();
    }
    return *date;
}

}  // namespace zun
