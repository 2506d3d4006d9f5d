#include "apps/zunctl/ApplicationCaller.h"

#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <map>
#include <vector>

namespace zun {
namespace {

// A pass ends after a minute at the latest, another may have to end before it, and before that the keyring may be
// waited for, again for a minute.
constexpr auto longestSync = std::chrono::minutes(4);
constexpr const char* syncInterface = "com.zunlabs.Zun.Sync";

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

std::optional<SyncOutcome> ApplicationCaller::sync(const std::function<void()>& keyringAsks) const {
    try {
        const auto connection = sdbus::createSessionBusConnection();
        if (!isRunning(*connection, _busName)) return std::nullopt;
        connection->enterEventLoopAsync();
        std::promise<std::optional<SyncOutcome>> answer;
        const auto application = sdbus::createProxy(*connection, _busName, pathOf(_busName) + "/Sync");
        application->uponSignal("KeyringAsks").onInterface(syncInterface).call(keyringAsks);
        application->finishRegistration();
        // Not a call that waits: until its answer it would keep the signal from being heard.
        application->callMethodAsync("SyncNow")
            .onInterface(syncInterface)
            .withTimeout(longestSync)
            .uponReplyInvoke([&answer](const sdbus::Error* failure, std::uint32_t ending, std::int32_t code,
                                       const std::string& description, std::uint32_t sent, std::uint32_t received) {
                if (failure) return answer.set_value(std::nullopt);
                SyncOutcome outcome;
                outcome.ending = static_cast<SyncOutcome::Ending>(ending);
                if (code != 0) outcome.error = CKError{static_cast<CKErrorCode>(code), description, {}};
                outcome.traffic = {sent, received};
                answer.set_value(outcome);
            });
        auto outcome = answer.get_future().get();
        // One that is still there may be at it still, so that it is not done here instead. The error is the same for
        // one that has gone.
        if (!outcome && isRunning(*connection, _busName)) {
            outcome.emplace();
            outcome->ending = SyncOutcome::Ending::Hindered;
            outcome->hindrance = "the running application does not answer";
        }
        return outcome;
    } catch (const sdbus::Error&) {
        return std::nullopt;
    }
}

}  // namespace zun
