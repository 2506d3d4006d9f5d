#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>

#include "apps/Programs.h"

namespace zun {
namespace {

using testing::HasSubstr;

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// Asks again and again; each question goes to another process, which takes its time to answer.
bool comesTrue(const std::function<bool()>& condition) {
    constexpr int mostQuestions = 5'000;
    for (int asked = 0; asked < mostQuestions; ++asked)
        if (condition()) return true;
    return false;
}

TEST(RunningApplication, TakesLinksThatWantALastLookAndKeepsThem) {
    const ProgramsHome home, other;
    const auto application = home.startApplication();
    const auto drafts = home.folder() / "state" / "drafts.jsonl";

    EXPECT_EQ(other.zunctl({"open", "zun.create://Elsewhere"}).status, 1) << "its application does not run";
    const auto ended = home.zunctl({"open", "zun.create://Pay%20rent?n=In%20cash"});
    EXPECT_EQ(ended.status, 0) << ended.err;

    // A second instance hands its links to the first and ends. The editor is taken.
    Program second("zun", {"zun.create://From%20a%20browser"}, {{"ZUN_HOME", home.folder()}});
    EXPECT_EQ(second.end().status, 0);
    EXPECT_EQ(home.zunctl({"--json", "count"}).out, "{\"active\":0,\"total\":0}\n");

    // Asked to end, it ends in order; what the editor shows is kept, and so is what waits for it.
    application->sendSignal(SIGTERM);
    EXPECT_EQ(application->end().status, 0);
    EXPECT_THAT(contents(drafts), HasSubstr(R"("title":"Pay rent","notes":"In cash")"));
    EXPECT_THAT(contents(drafts), HasSubstr("From a browser"));
}

TEST(RunningApplication, ChangesOfTheCommandLineReachItWhileItRunsAndOutliveItsKilling) {
    const ProgramsHome home;
    auto application = home.startApplication();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(home.zunctl({"add", "Reminder", "--date", "2026-01-05T09:00"}).status, 0);
    EXPECT_EQ(home.zunctl({"skip"}).status, 0);
    const auto deck = home.zunctl({"--json", "list"}).out;

    application->sendSignal(SIGKILL);
    EXPECT_EQ(application->end().status, 128 + SIGKILL);
    application = home.startApplication();
    EXPECT_EQ(home.zunctl({"--json", "list"}).out, deck);
    EXPECT_EQ(home.zunctl({"doctor"}).status, 0);
}

TEST(RunningApplication, IsOneAndTakesWhatTheDesktopAndTheAlertsAskFor) {
    const ProgramsHome home;
    const auto added = home.zunctl({"add", "Call", "--date", "2026-01-05T09:00"}).out;
    const auto reminderID = added.substr(0, added.find('\n'));
    const auto application = home.startApplication({"--background"});

    // A start at login changes nothing where it runs; a start by the user brings its window forward.
    for (const auto& words : {std::vector<std::string>{"--gapplication-service"}, {"--background"}, {}}) {
        Program second("zun", words, {{"ZUN_HOME", home.folder()}});
        EXPECT_EQ(second.end().status, 0);
    }
    EXPECT_TRUE(comesTrue([&] { return home.launcherCount() == 1; }));
    for (const auto* action : {"show-stack", "new-reminder", "no-such-action"})
        EXPECT_TRUE(home.activateThroughBus(action)) << action;
    EXPECT_TRUE(home.activateThroughBus("show-alert", reminderID));
    EXPECT_TRUE(home.activateThroughBus("snooze-alert", "nobody"));
    EXPECT_EQ(home.zunctl({"--json", "count"}).out, "{\"active\":1,\"total\":1}\n");
    EXPECT_TRUE(home.activateThroughBus("snooze-alert", reminderID));
    // The call is answered once the application has taken it on; the write follows on its own queue.
    EXPECT_TRUE(comesTrue([&] {
        return home.zunctl({"--json", "count"}).out == "{\"active\":0,\"total\":1}\n";
    })) << "it comes back later";
}

// Where the bus knows of no alert service, the application starts the program that lies beside it.
TEST(RunningApplication, SeesToItThatAlertsAreDelivered) {
    const ProgramsHome home;
    TemporaryFolder path;
    const auto mark = path.path() / "mark";
    ASSERT_EQ(::mkfifo(mark.c_str(), 0600), 0);
    std::ofstream(path.path() / "zun-alerts") << "#!/bin/sh\necho \"$@\" > " << mark << "\n";
    std::filesystem::permissions(path.path() / "zun-alerts", std::filesystem::perms::owner_all);
    // A link would lead it back to where its neighbours are the real ones.
    std::filesystem::copy_file(std::string(std::getenv("ZUN_TEST_PROGRAMS")) + "/zun", path.path() / "zun");
    const Program application(path.path() / "zun", {"--home", home.folder()}, {});
    EXPECT_EQ(contents(mark), "--home " + home.folder().native() + "\n");
}

TEST(RunningApplication, WrongUsageSaysSo) {
    Program wrong("zun", {"--dance"}, {});
    const auto ended = wrong.end();
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.err, HasSubstr("dance"));
}

}  // namespace
}  // namespace zun
