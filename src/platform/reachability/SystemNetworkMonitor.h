#pragma once

// The networks of this machine: the kernel's routes, of which it tells every change, and, where NetworkManager runs,
// whether the network in use is metered. A machine is online while it has a default route, whoever made it.
//
// Any thread; see NetworkMonitor. Where the kernel or the bus does not answer, its part is left out.

#include <atomic>
#include <functional>
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
    // Connects to the bus on which NetworkManager is looked for; may throw or give null. Called on the monitor's thread
    // once it is started, so that nobody waits for it.
    using Connect = std::function<std::unique_ptr<sdbus::IConnection>()>;
    explicit SystemNetworkMonitor(Connect connect);
    static std::unique_ptr<SystemNetworkMonitor> onSystemBus();
    ~SystemNetworkMonitor() override;
    SystemNetworkMonitor(const SystemNetworkMonitor&) = delete;
    SystemNetworkMonitor& operator=(const SystemNetworkMonitor&) = delete;

    [[nodiscard]] NetworkState currentState() const override;
    void start(std::function<void()> changed) override;
    void stop() override;

  private:
    void run(int routes);
    void followManager();
    void followRoutes(int socket);
    void take(std::uint32_t metered);

    const Connect _connect;
    std::function<void()> _changed;
    std::atomic<bool> _isMetered = false;
    int _stop = -1;  // an eventfd
    std::thread _thread;
    // The thread's own.
    std::unique_ptr<sdbus::IConnection> _bus;
    std::unique_ptr<sdbus::IProxy> _manager;
};

// The texts are the kernel's tables /proc/net/route and /proc/net/ipv6_route.
[[nodiscard]] bool hasDefaultRoute(std::string_view routes, std::string_view routes6);

}  // namespace zun
