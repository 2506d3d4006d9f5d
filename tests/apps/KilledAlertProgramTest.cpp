#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "apps/AlertPrograms.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

// Alerts come due all the while, and the service is killed and started again at moments of no meaning.
TEST(KilledAlertProgram, LosesNoAlertAndShowsAtMostTheOneUnderWayAgain) {
    constexpr int alerts = 30, kills = 12;
    NotificationServerStandIn server;
    AlertHome home;
    std::vector<std::string> expected;
    for (int number = 0; number < alerts; ++number) {
        expected.push_back("r" + std::to_string(100 + number));
        home.center.scheduleNotification(home.alert(expected.back(), 500ms + 130ms * number));
    }
    home.center.synchronize();
    std::mt19937 random(5);
    for (int number = 0; number < kills; ++number) {
        home.startService();
        // Right after a call, before or while it hears and records the answer, or after some more of them.
        const auto calls = server.callCount() + 1 + random() % 3;
        server.waitUntil([&] { return server.callCount() >= calls; });
        home.killService();
    }
    home.startService();
    ASSERT_TRUE(home.waitForDelivered(alerts))
        << testing::PrintToString(home.delivered()) << home.center.scheduledNotifications().size() << " are left, "
        << server.callCount() << " calls, it said: " << (home.service().sendSignal(SIGTERM), home.service().end().err);
    auto delivered = home.delivered();
    std::ranges::sort(delivered);
    EXPECT_EQ(delivered, expected);

    // With a sound a title comes twice only if its service died before it called again.
    const auto calls = server.calls();
    std::size_t summaries = 0;
    for (std::size_t index = 0; index < calls.size(); ++index) {
        if (calls[index].isSilent()) continue;
        if (!calls[index].title.starts_with("r1")) {
            ++summaries;
            continue;
        }
        for (std::size_t later = index + 1; later < calls.size(); ++later) {
            if (calls[later].isSilent() || calls[later].title != calls[index].title) continue;
            EXPECT_NE(calls[later].sender, calls[index].sender) << calls[index].title;
            EXPECT_TRUE(index + 1 == calls.size() || calls[index + 1].sender != calls[index].sender)
                << calls[index].title;
        }
        std::erase(expected, calls[index].title);
    }
    // More than three at once were gathered.
    EXPECT_TRUE(expected.empty() || summaries > 0) << testing::PrintToString(expected);
    auto screen = server.screen();
    std::ranges::sort(screen);
    EXPECT_EQ(std::ranges::adjacent_find(screen), screen.end()) << "each stands there once";
}

}  // namespace
}  // namespace zun
