#include "platform/reachability/SystemNetworkMonitor.h"

#include <gtest/gtest.h>
#include <sdbus-c++/sdbus-c++.h>

#include <future>

namespace zun {
namespace {

constexpr std::string_view heading =
    "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";
constexpr std::string_view lan = "eth0\t000200C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0  \n";
constexpr std::string_view wayOut = "eth0\t00000000\t010200C0\t0003\t0\t0\t0\t00000000\t0\t0\t0  \n";
constexpr std::string_view refusing = "eth0\t00000000\t00000000\t0201\t0\t0\t0\t00000000\t0\t0\t0\n";
constexpr std::string_view nowhere6 =
    "00000000000000000000000000000000 00 00000000000000000000000000000000 00 00000000000000000000000000000000 "
    "ffffffff 00000001 00000000 00200200       lo\n";
constexpr std::string_view wayOut6 =
    "00000000000000000000000000000000 00 00000000000000000000000000000000 00 fd000000000000000000000000000001 "
    "00000400 00000003 00000000 00000003     eth0\n";

TEST(SystemNetworkMonitor, FindsTheWayOutInTheKernelsTables) {
    const auto join = [](auto... parts) { return (std::string() + ... + std::string(parts)); };
    EXPECT_FALSE(hasDefaultRoute("", ""));
    EXPECT_FALSE(hasDefaultRoute(join(heading, lan), nowhere6));
    EXPECT_FALSE(hasDefaultRoute(join(heading, refusing), ""));
    EXPECT_TRUE(hasDefaultRoute(join(heading, lan, wayOut), ""));
    EXPECT_TRUE(hasDefaultRoute(join(heading, lan), join(nowhere6, wayOut6)));
}

TEST(SystemNetworkMonitor, LearnsFromTheManagerThatANetworkIsMetered) {
    const std::string name = "org.freedesktop.NetworkManager";
    auto bus = sdbus::createSessionBusConnection(name);
    const auto manager = sdbus::createObject(*bus, "/org/freedesktop/NetworkManager");
    std::atomic<std::uint32_t> metered = 2;
    manager->registerProperty("Metered").onInterface(name).withGetter([&] { return metered.load(); });
    manager->finishRegistration();
    bus->enterEventLoopAsync();

    SystemNetworkMonitor monitor([] { return sdbus::createSessionBusConnection(); });
    EXPECT_FALSE(monitor.currentState().isMetered);
    std::promise<void> heard;
    std::atomic<bool> isHeard = false;
    monitor.start([&] {
        if (monitor.currentState().isMetered && !isHeard.exchange(true)) heard.set_value();
    });
    metered = 3;
    manager->emitPropertiesChangedSignal(name, {"Metered"});
    heard.get_future().wait();
    EXPECT_TRUE(monitor.currentState().isMetered);
    monitor.stop();
    bus->leaveEventLoop();
}

}  // namespace
}  // namespace zun
