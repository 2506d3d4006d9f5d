#include "platform/reachability/HostReachability.h"

#include <gmock/gmock.h>

#include "platform/foundation/SimulatedDispatch.h"
#include "support/FakeNetworkMonitor.h"

namespace zun {
namespace {

using testing::ElementsAre;

constexpr NetworkState offline{false, false}, online{true, false}, metered{true, true};

class HostReachabilityTest : public testing::Test {
  protected:
    std::unique_ptr<HostReachability> watch(const std::string& host) {
        auto watcher = HostReachability::reachabilityWithHostname(host, monitor, dispatch);
        watcher->setReachableBlock([this, watcher = watcher.get()] {
            told.push_back(static_cast<int>(watcher->currentReachabilityStatus()));
        });
        watcher->setUnreachableBlock([this] { told.push_back(0); });
        return watcher;
    }
    void become(NetworkState state) {
        monitor.setState(state);
        dispatch.runUntilIdle();
    }

    SimulatedDispatch dispatch{1};
    FakeNetworkMonitor monitor{offline};
    std::vector<int> told;
};

TEST_F(HostReachabilityTest, TellsTheFirstFindingAndEachChange) {
    const auto watcher = watch("cloud.example.org");
    become(online);
    EXPECT_THAT(told, ElementsAre());
    become(offline);
    watcher->startNotifier();
    dispatch.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(0));
    become(online);
    become(online);
    become(metered);
    become(offline);
    EXPECT_THAT(told, ElementsAre(0, 2, 1, 0));
}

TEST_F(HostReachabilityTest, AServiceOfTheLocalNetworkIsThereWithoutAWayOut) {
    const auto watcher = watch("cloud.example.org");
    watcher->startNotifier();
    dispatch.runUntilIdle();
    watcher->setHostname("192.168.1.20");
    become(metered);
    become(offline);
    watcher->setHostname("cloud.example.org");
    dispatch.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(0, 2, 0));
}

TEST_F(HostReachabilityTest, NothingRunsOnceItIsDestroyed) {
    auto watcher = watch("cloud.example.org");
    watcher->startNotifier();
    watcher.reset();
    become(online);
    EXPECT_THAT(told, ElementsAre());
}

TEST(LocalHosts, AreThoseThatNeedNoWayOut) {
    for (const auto* host : {"localhost", "LOCALHOST.", "127.0.0.1", "127.9.9.9", "[::1]", "::1", "10.0.0.1",
                             "172.16.0.1", "172.31.255.1", "192.168.0.1", "169.254.3.4", "fe80::1%eth0", "fd12::1",
                             "::ffff:10.1.2.3", "nas", "nas.local", "Nas.Home.Arpa"})
        EXPECT_TRUE(isLocalHost(host)) << host;
    for (const auto* host : {"", "cloud.example.org", "8.8.8.8", "172.15.0.1", "172.32.0.1", "192.169.0.1",
                             "2001:db8::1", "::ffff:8.8.8.8", "localhost.example.org"})
        EXPECT_FALSE(isLocalHost(host)) << host;
}

}  // namespace
}  // namespace zun
