#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "apps/AlertPrograms.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr const char* serverName = "org.freedesktop.Notifications";
constexpr const char* serverPath = "/org/freedesktop/Notifications";
constexpr const char* dunstInterface = "org.dunstproject.cmd0";

// A real notification daemon on the display. Its context menu is a program that picks the entry with this word.
class Dunst {
  public:
    Dunst() {
        const auto pick = _folder.path() / "pick";
        std::ofstream(pick) << "#!/bin/sh\ngrep -m1 Snooze\n";
        std::filesystem::permissions(pick, std::filesystem::perms::owner_all);
        const auto configuration = _folder.path() / "dunstrc";
        std::ofstream(configuration) << "[global]\ndmenu = " << pick.native() << "\n";
        _program = std::make_unique<Program>("/usr/bin/dunst", std::vector<std::string>{"-config", configuration},
                                             std::map<std::string, std::string>{});
        waitForName(serverName, true);
        _connection = sdbus::createSessionBusConnection();
        _proxy = sdbus::createProxy(*_connection, serverName, serverPath);
    }
    std::uint32_t displayed() { return _proxy->getProperty("displayedLength").onInterface(dunstInterface); }
    std::uint32_t history() { return _proxy->getProperty("historyLength").onInterface(dunstInterface); }
    void pickSnooze() { _proxy->callMethod("ContextMenuCall").onInterface(dunstInterface); }
    void click() {
        _proxy->callMethod("NotificationAction").onInterface(dunstInterface).withArguments(std::uint32_t{0});
    }

  private:
    TemporaryFolder _folder;
    std::unique_ptr<Program> _program;
    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IProxy> _proxy;
};

// Whether the programs outside come to hold it, asked as often as an answer takes.
bool comesToHold(const std::function<bool()>& condition) {
    for (const auto latest = std::chrono::steady_clock::now() + patience; std::chrono::steady_clock::now() < latest;
         std::this_thread::yield()) {
        if (condition()) return true;
    }
    return false;
}

// The titles of the application's windows on the display.
std::string visibleWindows() {
    Program search("/usr/bin/xdotool", {"search", "--onlyvisible", "--class", "^zun$", "getwindowname", "%@"}, {});
    return search.end().out;
}

// The application that the service started.
void endApplication(const std::string& busName) {
    const auto connection = sdbus::createSessionBusConnection();
    std::uint32_t pid = 0;
    sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("GetConnectionUnixProcessID")
        .onInterface("org.freedesktop.DBus")
        .withArguments(busName)
        .storeResultsTo(pid);
    kill(static_cast<pid_t>(pid), SIGKILL);
    waitForName(busName, false);
}

TEST(AlertDesktop, AnAlertComesWhileTheApplicationIsClosedSnoozesAndOpensIt) {
    Dunst dunst;
    AlertHome home;
    home.startService();
    const auto add = [&](const char* title) {
        const auto at = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now() + 2s);
        char date[32];
        std::strftime(date, sizeof date, "%FT%TZ", std::gmtime(&at));
        const auto ended = home.programs.zunctl({"add", title, "--date", date});
        return ended.out.substr(0, ended.out.find('\n'));
    };
    const auto isSnoozed = [&](const std::string& reminderID) {
        const auto out = home.programs.zunctl({"--json", "show", reminderID}).out;
        EXPECT_THAT(out, HasSubstr(R"("isSnoozed":)"));
        return out.find(R"("isSnoozed":true)") != std::string::npos;
    };
    const auto first = add("Call");
    ASSERT_TRUE(home.waitForDelivered(1));
    EXPECT_EQ(dunst.displayed(), 1u);
    EXPECT_FALSE(isSnoozed(first));
    dunst.pickSnooze();
    EXPECT_TRUE(comesToHold([&] { return isSnoozed(first); }));
    EXPECT_TRUE(comesToHold([&] { return dunst.displayed() == 0; }));
    ASSERT_TRUE(waitForName(home.programs.busName(), true));
    endApplication(home.programs.busName());

    const auto second = add("Write");
    ASSERT_TRUE(home.waitForDelivered(1));
    EXPECT_EQ(dunst.displayed(), 1u);
    EXPECT_EQ(visibleWindows(), "");
    dunst.click();
    EXPECT_TRUE(comesToHold([] { return visibleWindows() == "1 reminder\n"; })) << visibleWindows();
    EXPECT_FALSE(isSnoozed(second));
    EXPECT_TRUE(comesToHold([&] { return dunst.displayed() == 0; }));
    endApplication(home.programs.busName());
}

TEST(AlertDesktop, NaggingLeavesOneOnTheScreen) {
    Dunst dunst;
    AlertHome home;
    home.startService();
    for (int nag = 0; nag < 4; ++nag)
        home.center.scheduleNotification(home.alert("nagging", 100ms + 200ms * nag));
    home.schedule("another", 100ms);
    ASSERT_TRUE(home.waitForDelivered(5));
    EXPECT_EQ(dunst.displayed(), 2u);
    EXPECT_EQ(dunst.history(), 0u);

    // A service that died puts them back in their places, and closes what is removed.
    home.killService();
    home.startService();
    home.schedule("nagging", 0ms);
    ASSERT_TRUE(home.waitForDelivered(6));
    EXPECT_EQ(dunst.displayed(), 2u);
    for (const auto& one : home.center.deliveredNotifications())
        home.center.removeDeliveredNotification(one);
    home.center.synchronize();
    EXPECT_TRUE(comesToHold([&] { return dunst.displayed() == 0; }));
}

}  // namespace
}  // namespace zun
