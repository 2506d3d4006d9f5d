#include "platform/reachability/SystemNetworkMonitor.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace zun {
namespace {

constexpr const char* managerName = "org.freedesktop.NetworkManager";
constexpr const char* managerPath = "/org/freedesktop/NetworkManager";
constexpr auto longestAnswer = std::chrono::seconds(2);   // of the manager
constexpr std::uint32_t isUp = 0x1, isRejecting = 0x200;  // flags of a route

std::string textOf(const char* file) {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::vector<std::string_view> columnsOf(std::string_view line) {
    std::vector<std::string_view> columns;
    while (true) {
        const auto start = line.find_first_not_of(" \t");
        if (start == std::string_view::npos) return columns;
        const auto end = std::min(line.find_first_of(" \t", start), line.size());
        columns.push_back(line.substr(start, end - start));
        line.remove_prefix(end);
    }
}

bool isUsable(std::string_view flags) {
    std::uint32_t number = 0;
    std::from_chars(flags.data(), flags.data() + flags.size(), number, 16);
    return (number & isUp) != 0 && (number & isRejecting) == 0;
}

template <class IsDefault>
bool hasLine(std::string_view table, IsDefault isDefault) {
    while (!table.empty()) {
        const auto end = std::min(table.find('\n'), table.size());
        if (isDefault(columnsOf(table.substr(0, end)))) return true;
        table.remove_prefix(std::min(end + 1, table.size()));
    }
    return false;
}

// NetworkManager's numbers: yes, and a guess that it is.
bool isMetered(std::uint32_t metered) {
    return metered == 1 || metered == 3;
}

}  // namespace

bool hasDefaultRoute(std::string_view routes, std::string_view routes6) {
    const auto isDefault = [](const std::vector<std::string_view>& columns) {
        return columns.size() > 7 && columns[0] != "lo" && columns[1] == "00000000" && columns[7] == "00000000" &&
               isUsable(columns[3]);
    };
    const auto isDefault6 = [](const std::vector<std::string_view>& columns) {
        return columns.size() > 9 && columns[9] != "lo" && columns[1] == "00" && isUsable(columns[8]);
    };
    return hasLine(routes, isDefault) || hasLine(routes6, isDefault6);
}

SystemNetworkMonitor::SystemNetworkMonitor(Connect connect) : _connect(std::move(connect)) {}

std::unique_ptr<SystemNetworkMonitor> SystemNetworkMonitor::onSystemBus() {
    return std::make_unique<SystemNetworkMonitor>([] { return sdbus::createSystemBusConnection(); });
}

SystemNetworkMonitor::~SystemNetworkMonitor() {
    stop();
}

NetworkState SystemNetworkMonitor::currentState() const {
    return {hasDefaultRoute(textOf("/proc/net/route"), textOf("/proc/net/ipv6_route")), _isMetered};
}

void SystemNetworkMonitor::take(std::uint32_t metered) {
    if (_isMetered.exchange(isMetered(metered)) != isMetered(metered)) _changed();
}

void SystemNetworkMonitor::followManager() {
    using Properties = std::map<std::string, sdbus::Variant>;
    try {
        _bus = _connect();
        if (!_bus) return;
        _bus->setMethodCallTimeout(longestAnswer);
        _manager = sdbus::createProxy(*_bus, managerName, managerPath);
        _manager->uponSignal("PropertiesChanged")
            .onInterface("org.freedesktop.DBus.Properties")
            .call([this](const std::string& interface, const Properties& changed, const std::vector<std::string>&) {
                const auto metered = changed.find("Metered");
                if (interface == managerName && metered != changed.end()) take(metered->second.get<std::uint32_t>());
            });
        _manager->finishRegistration();
        // Before the bus has a thread of its own, which then may not share its answers.
        const sdbus::Variant metered = _manager->getProperty("Metered").onInterface(managerName);
        take(metered.get<std::uint32_t>());
    } catch (const sdbus::Error&) {
        // No bus, no manager, or one that says nothing yet.
    }
    if (_bus) _bus->enterEventLoopAsync();
}

void SystemNetworkMonitor::start(std::function<void()> changed) {
    _changed = std::move(changed);
    int socket = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (socket >= 0 && bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        close(std::exchange(socket, -1));
    _stop = eventfd(0, EFD_CLOEXEC);
    _thread = std::thread([this, socket] { run(socket); });
}

void SystemNetworkMonitor::stop() {
    if (!_thread.joinable()) return;
    const std::uint64_t one = 1;
    (void)!write(_stop, &one, sizeof one);
    _thread.join();
    close(_stop);
}

void SystemNetworkMonitor::run(int routes) {
    followManager();
    followRoutes(routes);
    if (_bus) _bus->leaveEventLoop();
    _manager.reset();
    _bus.reset();
}

// Without a socket, which poll() then passes over, until the end.
void SystemNetworkMonitor::followRoutes(int socket) {
    pollfd waits[] = {{socket, POLLIN, 0}, {_stop, POLLIN, 0}};
    while (poll(waits, 2, -1) >= 0 || errno == EINTR) {
        if (waits[1].revents != 0) break;
        char messages[8192];
        bool hasNews = false;
        // What has changed does not matter, nor whether some of it was lost.
        while (recv(socket, messages, sizeof messages, 0) > 0 || errno == ENOBUFS)
            hasNews = true, errno = 0;
        if (hasNews) _changed();
    }
    if (socket >= 0) close(socket);
}

}  // namespace zun
