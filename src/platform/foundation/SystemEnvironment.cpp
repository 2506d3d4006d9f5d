#include "platform/foundation/SystemEnvironment.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <optional>

#include "platform/foundation/LocaleVariables.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value) return std::nullopt;
    return value;
}

std::shared_ptr<const NSTimeZone> currentZone() {
    // Set but empty means UTC, so this one is not for variable().
    if (const char* tz = std::getenv("TZ")) return NSTimeZone::fromVariable(tz);
    return NSTimeZone::fromVariable("/etc/localtime");
}

void fillWithRandom(std::array<std::uint8_t, 16>& bytes) {
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const auto got = ::getrandom(bytes.data() + filled, bytes.size() - filled, 0);
        if (got > 0) {
            filled += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            // An identifier that another device may hold too would destroy a record there.
            NSLog("The system gives no random numbers.");
            std::abort();
        }
    }
}

}  // namespace

SystemEnvironment::SystemEnvironment() {
    refresh();
}

NSDate SystemEnvironment::now() const {
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

BootTime SystemEnvironment::bootTime() const {
    BootTime result;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> result.boot;
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    result.sinceBoot = std::chrono::floor<std::chrono::microseconds>(std::chrono::seconds(time.tv_sec) +
                                                                     std::chrono::nanoseconds(time.tv_nsec));
    return result;
}

std::shared_ptr<const NSTimeZone> SystemEnvironment::timeZone() const {
    const std::lock_guard lock(_mutex);
    return _timeZone;
}

NSLocale SystemEnvironment::locale() const {
    const std::lock_guard lock(_mutex);
    return _locale;
}

std::string SystemEnvironment::newIdentifier() const {
    std::array<std::uint8_t, 16> bytes{};
    fillWithRandom(bytes);
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0f) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3f) | 0x80);
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += fmt::format("{:02X}", bytes[i]);
    }
    return text;
}

bool SystemEnvironment::refresh() {
    auto zone = currentZone();
    auto locale = localeFromVariables(variable);
    const std::lock_guard lock(_mutex);
    const bool changed = zone != _timeZone || locale != _locale;
    _timeZone = std::move(zone);
    _locale = std::move(locale);
    return changed;
}

}  // namespace zun
