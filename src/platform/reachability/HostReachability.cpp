#include "platform/reachability/HostReachability.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace zun {
namespace {

bool isLocal4(std::uint32_t address) {
    const auto isIn = [address](std::uint32_t network, int bits) {
        return address >> (32 - bits) == network >> (32 - bits);
    };
    return isIn(0x7F000000, 8) || isIn(0x0A000000, 8) || isIn(0xAC100000, 12) || isIn(0xC0A80000, 16) ||
           isIn(0xA9FE0000, 16) || isIn(0x64400000, 10);  // the last is what private overlay networks use
}

bool isLocal6(const in6_addr& address) {
    if (IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_LINKLOCAL(&address)) return true;
    if (IN6_IS_ADDR_V4MAPPED(&address)) {
        const auto* bytes = address.s6_addr + 12;
        return isLocal4(std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 | std::uint32_t(bytes[2]) << 8 |
                        bytes[3]);
    }
    return (address.s6_addr[0] & 0xFE) == 0xFC;
}

}  // namespace

bool isLocalHost(std::string_view host) {
    std::string name(host);
    if (name.starts_with('[') && name.ends_with(']')) name = name.substr(1, name.size() - 2);
    in_addr four{};
    if (inet_pton(AF_INET, name.c_str(), &four) == 1) return isLocal4(ntohl(four.s_addr));
    in6_addr six{};
    if (inet_pton(AF_INET6, name.substr(0, name.find('%')).c_str(), &six) == 1) return isLocal6(six);
    if (name.ends_with('.')) name.pop_back();
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char each) { return std::tolower(each); });
    if (name.empty()) return false;
    // A name of one word is one of the local network.
    if (name.find('.') == std::string::npos) return true;
    for (const std::string_view ending : {".localhost", ".local", ".lan", ".home.arpa", ".internal"})
        if (name.ends_with(ending)) return true;
    return false;
}

std::unique_ptr<HostReachability> HostReachability::reachabilityWithHostname(std::string host, NetworkMonitor& monitor,
                                                                             Dispatch& dispatch) {
    return std::unique_ptr<HostReachability>(new HostReachability(std::move(host), monitor, dispatch));
}

HostReachability::HostReachability(std::string host, NetworkMonitor& monitor, Dispatch& dispatch)
    : _monitor(monitor),
      _queue(dispatch.makeSerialQueue("reachability", QualityOfService::Utility)),
      _gate(std::make_shared<BlockGate>()),
      _host(std::move(host)) {}

HostReachability::~HostReachability() {
    // Nothing that the monitor reports posts any more after this, and what is posted does not run.
    _monitor.stop();
    _gate->close();
}

void HostReachability::startNotifier() {
    {
        const std::scoped_lock lock(_mutex);
        if (std::exchange(_isStarted, true)) return;
    }
    _monitor.start([this] { lookAgain(); });
    lookAgain();
}

void HostReachability::setHostname(std::string host) {
    {
        const std::scoped_lock lock(_mutex);
        _host = std::move(host);
        if (!_isStarted) return;
    }
    lookAgain();
}

void HostReachability::lookAgain() {
    _queue->async([this, gate = _gate] { gate->pass([this] { look(); }); });
}

void HostReachability::look() {
    bool isLocal = false;
    {
        const std::scoped_lock lock(_mutex);
        isLocal = isLocalHost(_host);
    }
    const auto network = isLocal ? NetworkState{true, false} : _monitor.currentState();
    _status = !network.isOnline   ? NetworkStatus::NotReachable
              : network.isMetered ? NetworkStatus::ReachableViaWWAN
                                  : NetworkStatus::ReachableViaWiFi;
    if (std::exchange(_told, _status.load()) == _status.load()) return;
    const auto& block = _status == NetworkStatus::NotReachable ? _unreachable : _reachable;
    if (block) block();
}

}  // namespace zun
