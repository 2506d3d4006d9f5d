#include "platform/foundation/NSUserDefaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/foundation/Log.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class UserDefaults : public testing::Test {
  protected:
    std::filesystem::path file() const { return folder.path() / "deep" / "suite.json"; }
    NSUserDefaults open() const { return {folder.path() / "deep", "suite"}; }

    std::string text() const {
        std::ifstream in(file());
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void writeText(const std::string& content) const {
        std::filesystem::create_directories(file().parent_path());
        std::ofstream(file()) << content;
    }

    TemporaryFolder folder;
    TestEnvironment environment;
};

TEST_F(UserDefaults, EveryTypeComesBackFromTheFileAndAnotherTypeReadsAsUnset) {
    const Bytes bytes = {0, 1, 0xfe, 0xff};
    const auto date = environment.date("1999-12-31T23:59:59.123456Z");
    auto defaults = open();
    EXPECT_TRUE(defaults.setValue("flag", true));
    EXPECT_TRUE(defaults.setValue("number", std::int64_t{5}));
    EXPECT_TRUE(defaults.setValue("text", std::string("\"Grüße\"\n\u2603")));
    EXPECT_TRUE(defaults.setValue("date", date));
    EXPECT_TRUE(defaults.setValue("bytes", bytes));
    EXPECT_TRUE(defaults.setValue("no bytes", Bytes()));
    EXPECT_TRUE(defaults.setValue("negative", std::int64_t{-5}));

    const auto again = open();
    EXPECT_TRUE(again.boolForKey("flag"));
    EXPECT_EQ(again.unsignedForKey("number"), 5u);
    EXPECT_EQ(again.stringForKey("text"), "\"Grüße\"\n\u2603");
    EXPECT_EQ(again.dateForKey("date"), date);
    EXPECT_EQ(again.dataForKey("bytes"), bytes);
    EXPECT_EQ(again.dataForKey("no bytes"), Bytes());
    EXPECT_EQ(again.unsignedForKey("negative"), 0u);

    EXPECT_FALSE(again.boolForKey("number"));
    EXPECT_EQ(again.unsignedForKey("text"), 0u);
    EXPECT_FALSE(again.stringForKey("date").has_value());
    EXPECT_FALSE(again.dataForKey("unset").has_value());

    EXPECT_TRUE(defaults.setValue("text", std::nullopt));
    EXPECT_FALSE(open().stringForKey("text").has_value());
}

TEST_F(UserDefaults, WhatStandsInTheFileAndIsNotUnderstoodIsKept) {
    writeText(
        R"({"list": [1, {"deep": null}], "nothing": null, "half": {"date": "soon"}, "huge": 18446744073709551615})");
    auto defaults = open();
    EXPECT_FALSE(defaults.dateForKey("half").has_value());
    EXPECT_TRUE(defaults.setValue("flag", true));
    for (const auto* kept : {R"("list": [1,{"deep":null}])", R"("nothing": null)", R"("half": {"date":"soon"})",
                             R"("huge": 18446744073709551615)", R"("flag": true)"}) {
        EXPECT_THAT(text(), HasSubstr(kept));
    }
}

TEST_F(UserDefaults, SettingWhatIsStoredWritesNothing) {
    auto defaults = open();
    defaults.setValue("number", std::int64_t{1});
    const auto before = std::filesystem::last_write_time(file());
    std::filesystem::last_write_time(file(), before - std::chrono::hours(1));
    EXPECT_TRUE(defaults.setValue("number", std::int64_t{1}));
    EXPECT_TRUE(defaults.setValue("unset", std::nullopt));
    EXPECT_EQ(std::filesystem::last_write_time(file()), before - std::chrono::hours(1));
}

TEST_F(UserDefaults, ADamagedFileIsSetAsideUnderANewNameAndNamedInTheLog) {
    std::vector<std::string> log;
    const ScopedLogSink sink([&](std::string_view line) { log.emplace_back(line); });
    for (int round = 1; round <= 2; ++round) {
        writeText("{\"cut off\": tr");
        auto defaults = open();
        const auto place = file().string() + ".damaged-" + std::to_string(round);
        EXPECT_TRUE(std::filesystem::exists(place));
        ASSERT_FALSE(log.empty());
        EXPECT_THAT(log.back(), HasSubstr(place));
        EXPECT_FALSE(std::filesystem::exists(file()));
        EXPECT_TRUE(defaults.setValue("flag", true));
    }
    // Damage that happens while the program runs costs nothing that it still knows.
    auto defaults = open();
    writeText("[1, 2]");
    EXPECT_FALSE(defaults.reload());
    EXPECT_TRUE(defaults.boolForKey("flag"));
    EXPECT_TRUE(defaults.setValue("other", true));
    EXPECT_TRUE(open().boolForKey("flag"));
    EXPECT_TRUE(std::filesystem::exists(file().string() + ".damaged-3"));
}

TEST_F(UserDefaults, AWriteThatFailsSaysSoAndChangesNothing) {
    std::vector<std::string> log;
    const ScopedLogSink sink([&](std::string_view line) { log.emplace_back(line); });
    auto defaults = open();
    defaults.setValue("flag", true);
    // A folder in the place of the new file cannot be written to, whoever runs the test.
    std::filesystem::create_directory(file().string() + ".new");
    const auto before = text();
    EXPECT_FALSE(defaults.setValue("flag", false));
    EXPECT_TRUE(defaults.boolForKey("flag"));
    EXPECT_EQ(text(), before);
    EXPECT_THAT(log, ElementsAre(HasSubstr("could not be written")));
}

TEST_F(UserDefaults, ProcessesAndThreadsKeepEachOthersKeys) {
    constexpr int writers = 3;
    constexpr int keys = 20;
    const auto write = [&](const std::string& name) {
        auto defaults = open();
        for (int i = 0; i < keys; ++i) {
            if (!defaults.setValue(name + std::to_string(i), std::int64_t{i})) return false;
        }
        return true;
    };
    std::vector<pid_t> children;
    for (int w = 0; w < writers; ++w) {
        const auto child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) _exit(write("process" + std::to_string(w)) ? 0 : 1);
        children.push_back(child);
    }
    auto defaults = open();
    {
        std::thread thread([&] { EXPECT_TRUE(write("thread")); });
        for (int i = 0; i < keys; ++i)
            EXPECT_TRUE(defaults.setValue("own" + std::to_string(i), std::int64_t{i}));
        thread.join();
    }
    for (const auto child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    defaults.reload();
    EXPECT_FALSE(defaults.reload());
    for (int i = 0; i < keys; ++i) {
        for (const auto* name : {"process0", "process1", "process2", "thread", "own"}) {
            EXPECT_EQ(defaults.unsignedForKey(name + std::to_string(i)), static_cast<std::uint64_t>(i)) << name << i;
        }
    }
}

}  // namespace
}  // namespace zun
