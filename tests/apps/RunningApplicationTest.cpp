#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include "apps/Programs.h"

namespace zun {
namespace {

using testing::HasSubstr;

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(RunningApplication, TakesLinksThatWantALastLookAndKeepsThem) {
    const ProgramsHome home, other;
    const auto application = home.startApplication();
    const auto kept = home.folder() / "state" / "kept-reminders.jsonl";

    EXPECT_EQ(other.zunctl({"open", "zun.create://Elsewhere"}).status, 1) << "its application does not run";
    const auto ended = home.zunctl({"open", "zun.create://Pay%20rent?n=In%20cash"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(contents(kept), HasSubstr(R"("title":"Pay rent","notes":"In cash")"));

    // A second instance hands its links to the first and ends.
    Program second("zun", {"zun.create://From%20a%20browser"}, {{"ZUN_HOME", home.folder()}});
    EXPECT_EQ(second.end().status, 0);
    EXPECT_THAT(contents(kept), HasSubstr("From a browser"));
    EXPECT_EQ(home.zunctl({"--json", "count"}).out, "{\"active\":0,\"total\":0}\n");
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

TEST(RunningApplication, WrongUsageSaysSo) {
    Program wrong("zun", {"--dance"}, {});
    const auto ended = wrong.end();
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.err, HasSubstr("dance"));
}

}  // namespace
}  // namespace zun
