#include "apps/zunctl/ApplicationCaller.h"

#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <map>
#include <vector>

namespace zun {

bool ApplicationCaller::open(const std::string& url) const {
    // The library reports failures by exceptions only; none leaves this function.
    try {
        const auto connection = sdbus::createSessionBusConnection();
        const auto bus = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
        bool isRunning = false;
        bus->callMethod("NameHasOwner")
            .onInterface("org.freedesktop.DBus")
            .withArguments(_busName)
            .storeResultsTo(isRunning);
        if (!isRunning) return false;

        auto path = "/" + _busName;
        std::replace(path.begin(), path.end(), '.', '/');
        const auto application = sdbus::createProxy(*connection, _busName, path);
        application->callMethod("Open")
            .onInterface("org.freedesktop.Application")
            .withArguments(std::vector<std::string>{url}, std::map<std::string, sdbus::Variant>{});
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
}

}  // namespace zun
