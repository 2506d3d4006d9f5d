#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <set>
#include <sstream>

#include "apps/Programs.h"

namespace zun {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

std::size_t lineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(CommandLineProgram, EndsWithTheStatusThatScriptsReckonWith) {
    const ProgramsHome home;
    const struct {
        std::vector<std::string> words;
        int status;
    } cases[] = {
        {{"add", "Milk"}, 0},
        {{"count"}, 0},
        {{"--help"}, 0},
        {{"show", "nobody"}, 1},
        {{"add", "Milk", "--date", "yesterdayish"}, 1},
        {{"skip"}, 1},
        {{"open", "zun.create://Milk"}, 1},
        {{"open", "zun.create://?silent=0"}, 1},
        {{"add"}, 2},
        {{"dance"}, 2},
        {{"add", "Milk", "--repeat", "daily"}, 2},
        {{}, 2},
    };
    for (const auto& c : cases) {
        const auto ended = home.zunctl(c.words);
        const auto name = testing::PrintToString(c.words);
        EXPECT_EQ(ended.status, c.status) << name << ended.err;
        EXPECT_EQ(ended.err.empty(), c.status == 0) << name << ended.err;
        if (c.status == 1) {
            EXPECT_EQ(lineCount(ended.err), 1u) << name << ended.err;
        }
    }
}

TEST(CommandLineProgram, ReadsLocalTimesInTheZoneOfItsEnvironment) {
    ProgramsHome home;
    const auto fireDate = [&](const char* zone) {
        home.variables["TZ"] = zone;
        return home.zunctl({"--json", "add", "Call", "--date", "2026-07-01T09:00"}).out;
    };
    EXPECT_THAT(fireDate("Europe/Berlin"), HasSubstr(R"("fire_date":"2026-07-01T07:00:00Z")"));
    EXPECT_THAT(fireDate("America/New_York"), HasSubstr(R"("fire_date":"2026-07-01T13:00:00Z")"));
    EXPECT_THAT(fireDate(":UTC"), HasSubstr(R"("fire_date":"2026-07-01T09:00:00Z")"));
}

TEST(CommandLineProgram, TwoHomesKnowNothingOfEachOther) {
    const ProgramsHome one, other;
    EXPECT_NE(one.busName(), other.busName());
    one.zunctl({"add", "Milk"});
    EXPECT_EQ(one.zunctl({"--json", "count"}).out, "{\"active\":0,\"total\":1}\n");
    EXPECT_EQ(other.zunctl({"--json", "count"}).out, "{\"active\":0,\"total\":0}\n");
    EXPECT_EQ(other.zunctl({"--home", one.folder(), "--json", "count"}).out, "{\"active\":0,\"total\":1}\n");
}

TEST(CommandLineProgram, ManyWritersAtOnceLoseNothing) {
    const ProgramsHome home;
    std::vector<std::unique_ptr<Program>> writers;
    for (int i = 0; i < 24; ++i)
        writers.push_back(home.start({"add", "Reminder " + std::to_string(i)}));
    std::set<std::string> identifiers;
    for (const auto& writer : writers) {
        const auto ended = writer->end();
        EXPECT_EQ(ended.status, 0) << ended.err;
        identifiers.insert(ended.out);
    }
    EXPECT_EQ(identifiers.size(), 24u);
    const auto all = home.zunctl({"export"}).out;
    EXPECT_EQ(lineCount(all), 24u);
    for (const auto& identifier : identifiers)
        EXPECT_THAT(all, HasSubstr(identifier.substr(0, identifier.find('\n'))));
    EXPECT_EQ(home.zunctl({"doctor"}).status, 0);
}

TEST(CommandLineProgram, AnExportComesBackWithoutLoss) {
    const ProgramsHome home, copy;
    home.zunctl({"add", "Ünïcode \U0001F469\u200D\U0001F680 \u202Ertl", "--notes", "two\nlines", "--date",
                 "2026-01-05T09:00", "--on", "mon,fri", "--every", "2", "--until", "9999-12-31", "--early", "1d"});
    home.zunctl({"add", std::string(100'000, 'x'), "--checklist", "Milk\n[x] Bread"});
    const auto exported = home.zunctl({"export"}).out;
    const auto file = home.folder() / "export.jsonl";
    std::ofstream(file) << exported << "{not JSON\n";
    const auto imported = copy.zunctl({"import", file});
    EXPECT_EQ(imported.status, 1);
    EXPECT_THAT(imported.err, HasSubstr("3"));
    EXPECT_EQ(copy.zunctl({"export"}).out, exported);
}

}  // namespace
}  // namespace zun
