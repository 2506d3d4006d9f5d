#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <future>

#include "apps/AlertPrograms.h"
#include "platform/foundation/Home.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using Habits = NotificationServerStandIn::Habits;

// As far ahead as an alert has to be so that everything before it is done.
constexpr auto soon = 150ms;

TEST(AlertProgram, ShowsAnAlertAsTheServerWantsIt) {
    const struct {
        const char* name;
        Habits habits;
        std::vector<std::string> actions;
        std::string body;
    } cases[] = {
        {"a server with everything", {}, {"default", "Open", "snooze", "Snooze"}, "Due &lt;now&gt; &amp; here"},
        {"no actions", {.capabilities = {"body", "body-markup"}}, {}, "Due &lt;now&gt; &amp; here"},
        {"no markup",
         {.capabilities = {"actions", "body"}},
         {"default", "Open", "snooze", "Snooze"},
         "Due <now> & here"},
        {"a click that only closes",
         {.name = "Xfce Notify Daemon"},
         {"default", "Open", "open", "Open", "snooze", "Snooze"},
         "Due &lt;now&gt; &amp; here"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        NotificationServerStandIn server(c.habits);
        AlertHome home;
        home.startService();
        home.schedule("Pay <rent>", soon);
        ASSERT_TRUE(server.waitForAlerts(1));
        const auto alert = server.alerts().front();
        EXPECT_EQ(alert.application, "Zun");
        EXPECT_EQ(alert.replaces, 0u);
        EXPECT_EQ(alert.icon, "com.zunlabs.Zun");
        EXPECT_EQ(alert.title, "Pay <rent>");
        EXPECT_EQ(alert.body, c.body);
        EXPECT_EQ(alert.actions, c.actions);
        EXPECT_EQ(alert.timeout, 0);
        EXPECT_EQ(alert.hint("desktop-entry"), "com.zunlabs.Zun");
        EXPECT_EQ(alert.hint("category"), "x-zun.reminder");
        EXPECT_EQ(alert.hint("sound-name"), "message-new-instant");
        EXPECT_EQ(alert.hints.at("urgency").get<std::uint8_t>(), 1);
    }
}

TEST(AlertProgram, ReplacesNagsClosesWhatIsRemovedAndGathersMany) {
    NotificationServerStandIn server;
    AlertHome home;
    home.startService();
    auto silent = home.alert("nagging", soon);
    silent.soundName.clear();
    home.center.scheduleNotification(silent);
    home.schedule("nagging", 2 * soon);
    home.schedule("nagging", 3 * soon);
    ASSERT_TRUE(server.waitForAlerts(2));
    const auto calls = server.calls();
    ASSERT_THAT(calls, SizeIs(3));
    EXPECT_TRUE(calls[0].hints.at("suppress-sound").get<bool>());
    EXPECT_EQ(calls[0].hint("sound-name"), "");
    EXPECT_EQ(calls[1].replaces, calls[0].identifier);
    EXPECT_EQ(calls[2].replaces, calls[0].identifier);
    EXPECT_THAT(server.screen(), ElementsAre("nagging"));

    ASSERT_TRUE(home.waitForDelivered(3));
    auto delivered = home.center.deliveredNotifications();
    home.center.removeDeliveredNotification(delivered[0]);
    home.center.synchronize();
    EXPECT_THAT(server.screen(), ElementsAre("nagging")) << "the newest stands there";
    for (const auto& one : delivered)
        home.center.removeDeliveredNotification(one);
    home.center.synchronize();
    EXPECT_TRUE(server.waitUntil([&] { return server.screen().empty(); }));

    const auto moment = home.alert("", 2 * soon).deliveryDate;
    for (int number = 0; number < 5; ++number) {
        auto one = home.alert("r" + std::to_string(number), 0ms);
        one.deliveryDate = moment;
        home.center.scheduleNotification(one);
    }
    home.center.synchronize();
    ASSERT_TRUE(server.waitForAlerts(3));
    EXPECT_THAT(server.screen(), ElementsAre("5 reminders are due"));
    EXPECT_THAT(server.alerts().back().actions, ElementsAre("default", "Open"));
    EXPECT_TRUE(home.waitForDelivered(5));

    // Dismissed on the screen, they are dismissed in the list.
    server.leave(server.alerts().back().identifier, 2);
    EXPECT_TRUE(home.waitForDelivered(0));
}

TEST(AlertProgram, WaitsForAServerThatIsLateOrUnwell) {
    using Mood = NotificationServerStandIn::Mood;
    for (const auto mood : {Mood::Healthy, Mood::Refuses, Mood::Hangs, Mood::AnswersNonsense}) {
        SCOPED_TRACE(static_cast<int>(mood));
        AlertHome home;
        std::unique_ptr<NotificationServerStandIn> server;
        if (mood != Mood::Healthy) server = std::make_unique<NotificationServerStandIn>(Habits{.mood = mood});
        home.startService();
        home.schedule("a", 0ms);
        if (server) {
            ASSERT_TRUE(server->waitUntil([&] { return server->callCount() > 0; }));
            server->emitNonsense();
        }
        EXPECT_THAT(home.center.scheduledNotifications(), SizeIs(1)) << "it stays due";
        server.reset();
        server = std::make_unique<NotificationServerStandIn>();
        ASSERT_TRUE(server->waitForAlerts(1));
        ASSERT_TRUE(home.waitForDelivered(1));
        home.schedule("b", 0ms);
        ASSERT_TRUE(server->waitForAlerts(2));
        EXPECT_THAT(server->screen(), UnorderedElementsAre("a", "b"));
    }
}

TEST(AlertProgram, PutsTheScreenRightAfterAServerOrItselfCameBack) {
    for (const bool serverEnds : {true, false}) {
        SCOPED_TRACE(serverEnds);
        auto server = std::make_unique<NotificationServerStandIn>(Habits{.dropsWhatItsSenderLeaves = true});
        AlertHome home;
        home.startService();
        home.schedule("a", 0ms);
        ASSERT_TRUE(home.waitForDelivered(1));
        if (serverEnds) {
            server.reset();
            server = std::make_unique<NotificationServerStandIn>();
        } else {
            home.killService();
            ASSERT_TRUE(server->waitUntil([&] { return server->screen().empty(); }));
            home.startService();
        }
        ASSERT_TRUE(server->waitUntil([&] { return !server->screen().empty(); }));
        EXPECT_THAT(server->alerts(), SizeIs(serverEnds ? 0 : 1)) << "without a sound";
        // It answers where it stands now.
        ApplicationStandIn application(home.programs.busName());
        home.schedule("a", 0ms);
        ASSERT_TRUE(home.waitForDelivered(2));
        EXPECT_THAT(server->screen(), ElementsAre("a"));
        server->invoke(server->calls().back().identifier, "default");
        EXPECT_THAT(application.waitFor(1), SizeIs(1));
    }
}

TEST(AlertProgram, HandsAnswersToTheApplication) {
    NotificationServerStandIn server;
    AlertHome home;
    home.startService();
    ApplicationStandIn application(home.programs.busName());
    // The reminders are gone, or were never there; that is the application's affair. The bus would take neither half a
    // character nor one that means nothing.
    std::size_t count = 0;
    for (const auto* action : {"default", "snooze", "open"}) {
        auto alert = home.alert(action, 0ms);
        alert.title = "caf\xC3 \uFDD0 \U0001F469\u200D\U0001F680";
        alert.subtitle = "\xFF";
        home.center.scheduleNotification(alert);
        home.center.synchronize();
        ASSERT_TRUE(home.waitForDelivered(1));
        EXPECT_EQ(server.calls().back().title, "caf\uFFFD \uFFFD \U0001F469\u200D\U0001F680");
        EXPECT_EQ(server.calls().back().body, "\uFFFD");
        const auto identifier = home.center.deliveredNotifications().front().identifier;
        server.invoke(server.calls().back().identifier, action, std::string("token of ") + action);
        const auto actions = application.waitFor(++count);
        ASSERT_THAT(actions, SizeIs(count));
        EXPECT_EQ(actions.back().name, std::string(action) == "snooze" ? "snooze-alert" : "show-alert");
        EXPECT_EQ(actions.back().identifier, identifier);
        EXPECT_EQ(actions.back().reminderID, action);
        EXPECT_EQ(actions.back().token, std::string("token of ") + action);
        ASSERT_TRUE(home.waitForDelivered(0));
    }
    for (int number = 0; number < 4; ++number)
        home.center.scheduleNotification(home.alert("r" + std::to_string(number), -1s));
    home.center.synchronize();
    ASSERT_TRUE(home.waitForDelivered(4));
    server.invoke(server.calls().back().identifier, "default");
    EXPECT_EQ(application.waitFor(4).back().name, "show-stack");
}

// Two copies of the service's folder: one without the application, one with a script in its place.
TEST(AlertProgram, StartsTheApplicationForAnAnswer) {
    const TemporaryFolder folder;
    std::filesystem::copy_file(std::string(std::getenv("ZUN_TEST_PROGRAMS")) + "/zun-alerts",
                               folder.path() / "zun-alerts");
    NotificationServerStandIn server;
    AlertHome home;
    // Found neither beside the service nor on the path.
    home.programs.variables["PATH"] = folder.path();
    home.startService(folder.path() / "zun-alerts");
    home.schedule("a", 0ms);
    home.schedule("b", 0ms);
    ASSERT_TRUE(home.waitForDelivered(2));
    const auto calls = server.alerts();
    server.invoke(calls[0].identifier, "snooze");
    ASSERT_TRUE(home.waitForDelivered(1)) << "nothing came of it but a line in the log";

    const auto started = folder.path() / "started";
    std::ofstream(folder.path() / "zun") << "#!/bin/sh\necho \"$@\" > '" << started.native() << ".new'\n/bin/mv '"
                                         << started.native() << ".new' '" << started.native() << "'\n";
    std::filesystem::permissions(folder.path() / "zun", std::filesystem::perms::owner_all);
    std::promise<void> isStarted;
    const FileWatcher watcher({{folder.path(), "started", [&, isTold = false]() mutable {
                                    if (!std::exchange(isTold, true)) isStarted.set_value();
                                }}});
    server.invoke(calls[1].identifier, "default");
    ASSERT_EQ(isStarted.get_future().wait_for(patience), std::future_status::ready);
    std::string words;
    std::getline(std::ifstream(started), words);
    EXPECT_EQ(words, "--background --home " + home.programs.folder().native());

    ApplicationStandIn application(home.programs.busName());
    const auto actions = application.waitFor(2);
    ASSERT_THAT(actions, SizeIs(2));
    EXPECT_THAT((std::vector{actions[0].name, actions[1].name}), UnorderedElementsAre("snooze-alert", "show-alert"));
}

TEST(AlertProgram, FollowsWhatTheCommandLineChanges) {
    NotificationServerStandIn server;
    AlertHome home;
    home.startService();
    const auto now = std::chrono::ceil<std::chrono::seconds>(std::chrono::system_clock::now());
    const auto add = [&](const char* title, std::chrono::seconds ahead) {
        const auto at = std::chrono::system_clock::to_time_t(now + ahead);
        char date[32];
        std::strftime(date, sizeof date, "%FT%TZ", std::gmtime(&at));
        const auto ended = home.programs.zunctl({"add", title, "--date", date});
        EXPECT_EQ(ended.status, 0) << ended.err;
        return ended.out.substr(0, ended.out.find('\n'));
    };
    const auto deleted = add("deleted", 2s);
    const auto completed = add("completed", 2s);
    const auto kept = add("kept", 2s);
    add("last", 3s);
    EXPECT_EQ(home.programs.zunctl({"delete", deleted}).status, 0);
    EXPECT_EQ(home.programs.zunctl({"complete", completed}).status, 0);
    ASSERT_TRUE(server.waitForAlerts(2));
    const auto alerts = server.alerts();
    EXPECT_EQ(alerts[0].title, "kept");
    EXPECT_EQ(alerts[1].title, "last");
    EXPECT_EQ(home.programs.zunctl({"delete", kept}).status, 0);
    ApplicationStandIn application(home.programs.busName());
    server.invoke(alerts[0].identifier, "snooze");
    EXPECT_EQ(application.waitFor(1).front().reminderID, kept) << "deleted while it stood on the screen";
    EXPECT_TRUE(home.isServing());
}

TEST(AlertProgram, EndsAsItShould) {
    // A second one of a home.
    AlertHome home;
    home.startService();
    Program second("zun-alerts", {"--home", home.programs.folder()}, {});
    const auto ended = second.end();
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.err, HasSubstr("already"));
    EXPECT_TRUE(home.isServing());

    Program busless("zun-alerts", {"--home", home.programs.folder()},
                    {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus"}});
    const auto withoutBus = busless.end();
    EXPECT_EQ(withoutBus.status, 1);
    EXPECT_EQ(std::count(withoutBus.err.begin(), withoutBus.err.end(), '\n'), 1) << withoutBus.err;
    EXPECT_THAT(withoutBus.err, HasSubstr("session bus"));

    Program wrong("zun-alerts", {"--dance"}, {});
    EXPECT_EQ(wrong.end().status, 2);

    // The home is taken away, once the first look at it is over: the second alert comes after that.
    NotificationServerStandIn server;
    for (const std::size_t count : {1, 2}) {
        home.schedule("a", 0ms);
        ASSERT_TRUE(home.waitForDelivered(count));
    }
    // What the service still writes meanwhile goes too.
    const auto data = Home::find(home.programs.folder()).data;
    for (int pass = 0; pass < 100 && std::filesystem::exists(data); ++pass) {
        std::error_code another;
        std::filesystem::remove_all(data, another);
    }
    EXPECT_EQ(home.service().end().status, 0);
}

TEST(AlertProgram, EndsWithItsBus) {
    const TemporaryFolder folder;
    const auto address = "unix:path=" + (folder.path() / "bus").native();
    // Returns when the bus can be used.
    Program bus("/usr/bin/dbus-daemon", {"--session", "--fork", "--print-pid=1", "--address=" + address}, {});
    const auto started = bus.end();
    ASSERT_EQ(started.status, 0) << started.err;

    AlertHome home;
    Program service("zun-alerts", {"--home", home.programs.folder()}, {{"DBUS_SESSION_BUS_ADDRESS", address}});
    const auto alerts = StoredNotificationCenter::storeFolder(Home::find(home.programs.folder()).data);
    const auto connection = sdbus::createSessionBusConnectionWithAddress(address);
    const auto proxy = sdbus::createProxy(*connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    bool isThere = false;
    proxy->uponSignal("NameOwnerChanged")
        .onInterface("org.freedesktop.DBus")
        .call([&](const std::string& name, const std::string&, const std::string&) {
            if (name == Home::find(home.programs.folder()).alertsBusName) connection->leaveEventLoop();
        });
    proxy->finishRegistration();
    proxy->callMethod("NameHasOwner")
        .onInterface("org.freedesktop.DBus")
        .withArguments(Home::find(home.programs.folder()).alertsBusName)
        .storeResultsTo(isThere);
    if (!isThere) connection->enterEventLoop();
    kill(std::stoi(started.out), SIGTERM);
    const auto ended = service.end();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("session bus has gone"));
}

}  // namespace
}  // namespace zun
