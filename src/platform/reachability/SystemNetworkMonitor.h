#pragma once

// The networks of this machine: the kernel's routes, of which it tells every change, and, where NetworkManager runs,
// whether the network in use is metered. A machine is online while it has a default route, whoever made it.
//
// Any thread; see NetworkMonitor. Where the kernel or the bus does not answer, its part is left out.

#include <atomic>
#include <memory>
#include <string_view>
#include <thread>

#include "platform/reachability/NetworkMonitor.h"

namespace sdbus {
class IConnection;
class IProxy;
}  // namespace sdbus

namespace zun {

class SystemNetworkMonitor final : public NetworkMonitor {
  public:
    // The bus on which NetworkManager is looked for; null for none.
    explicit SystemNetworkMonitor(std::unique_ptr<sdbus::IConnection> bus);
    // With the system's bus, if there is one.
    static std::unique_ptr<SystemNetworkMonitor> onSystemBus();
    ~SystemNetworkMonitor() override;
    SystemNetworkMonitor(const SystemNetworkMonitor&) = delete;
    SystemNetworkMonitor& operator=(const SystemNetworkMonitor&) = delete;

    [[nodiscard]] NetworkState currentState() const override;
    void start(std::function<void()> changed) override;
    void stop() override;

  private:
    void followManager();
    void followRoutes(int socket);

    std::unique_ptr<sdbus::IConnection> _bus;
    std::unique_ptr<sdbus::IProxy> _manager;
    std::function<void()> _changed;
    std::atomic<bool> _isMetered = false;
    int _stop = -1;  // an eventfd
    std::thread _routes;
};

// The texts are the kernel's tables /proc/net/route and /proc/net/ipv6_route.
[[nodiscard]] bool hasDefaultRoute(std::string_view routes, std::string_view routes6);

}  // namespace zun
