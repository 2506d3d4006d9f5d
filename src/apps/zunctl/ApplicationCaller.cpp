#include "apps/zunctl/ApplicationCaller.h"

#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <vector>

namespace zun {
namespace {

// A pass ends after a minute at the latest, and another may have to end before it.
constexpr auto longestSync = std::chrono::minutes(3);

std::string pathOf(const std::string& busName) {
    auto path = "/" + busName;
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

bool isRunning(sdbus::IConnection& connection, const std::string& busName) {
    const auto bus = sdbus::createProxy(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    bool isThere = false;
    bus->callMethod("NameHasOwner").onInterface("org.freedesktop.DBus").withArguments(busName).storeResultsTo(isThere);
    return isThere;
}

}  // namespace

// The library reports failures by exceptions only; none leaves these functions.
bool ApplicationCaller::open(const std::string& url) const {
    try {
        const auto connection = sdbus::createSessionBusConnection();
        if (!isRunning(*connection, _busName)) return false;
        const auto application = sdbus::createProxy(*connection, _busName, pathOf(_busName));
        application->callMethod("Open")
            .onInterface("org.freedesktop.Application")
            .withArguments(std::vector<std::string>{url}, std::map<std::string, sdbus::Variant>{});
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

std::optional<SyncOutcome> ApplicationCaller::sync() const {
    try {
        const auto connection = sdbus::createSessionBusConnection();
        if (!isRunning(*connection, _busName)) return std::nullopt;
        const auto application = sdbus::createProxy(*connection, _busName, pathOf(_busName) + "/Sync");
        std::uint32_t ending = 0;
        std::int32_t code = 0;
        std::string description;
        std::uint32_t sent = 0;
        std::uint32_t received = 0;
        application->callMethod("SyncNow")
            .onInterface("com.zunlabs.Zun.Sync")
            .withTimeout(longestSync)
            .storeResultsTo(ending, code, description, sent, received);
        SyncOutcome outcome;
        outcome.ending = static_cast<SyncOutcome::Ending>(ending);
        if (code != 0) outcome.error = CKError{static_cast<CKErrorCode>(code), description, {}};
        outcome.traffic = {sent, received};
        return outcome;
    } catch (const sdbus::Error&) {
        return std::nullopt;
    }
}

}  // namespace zun
