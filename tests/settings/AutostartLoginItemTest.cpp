#include "platform/loginitem/AutostartLoginItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "platform/foundation/Log.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

const std::string entryName = "com.zunlabs.Zun.desktop";
const std::string systemEntry = "[Desktop Entry]\nType=Application\nName=Zun\nExec=zun --background\n";

class Autostart : public testing::Test {
  protected:
    static std::string text(const fs::path& file) {
        std::ostringstream out;
        out << std::ifstream(file).rdbuf();
        return out.str();
    }
    static void put(const fs::path& file, std::string_view content) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << content;
    }
    AutostartLoginItem item(std::vector<std::string> command = {"zun", "--background"}) const {
        return {{own.parent_path(), {folder.path() / "near", system.parent_path()}}, "com.zunlabs.Zun", command};
    }

    TemporaryFolder folder;
    const fs::path own = folder.path() / "user" / "autostart" / entryName;
    const fs::path system = folder.path() / "far" / entryName;
};

TEST_F(Autostart, SwitchingOnAndOffLeavesNothingBehind) {
    auto it = item();
    EXPECT_FALSE(it.isEnabledOnDemand());
    EXPECT_TRUE(it.setEnabled(false));
    EXPECT_FALSE(fs::exists(own));

    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_TRUE(it.isEnabledOnDemand());
    const auto content = text(own);
    EXPECT_TRUE(content.starts_with("[Desktop Entry]\nType=Application\nName=Zun\n")) << content;
    EXPECT_THAT(content, HasSubstr("\nExec=zun --background\n"));
    EXPECT_THAT(content, HasSubstr("\nX-GNOME-Autostart-enabled=true\n"));
    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_EQ(text(own), content);

    EXPECT_TRUE(it.setEnabled(false));
    EXPECT_FALSE(it.isEnabledOnDemand());
    EXPECT_TRUE(fs::is_empty(own.parent_path())) << "neither the entry nor what it was written into";
}

TEST_F(Autostart, AnEntryOfTheSystemIsOverriddenAndComesBack) {
    put(system, systemEntry);
    auto it = item();
    EXPECT_TRUE(it.isEnabledOnDemand());
    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_FALSE(fs::exists(own)) << "the system's does it";
    EXPECT_TRUE(it.setEnabled(false));
    EXPECT_FALSE(it.isEnabledOnDemand());
    EXPECT_THAT(text(own), HasSubstr("\nHidden=true\n"));
    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_TRUE(it.isEnabledOnDemand());
    EXPECT_FALSE(fs::exists(own));

    put(folder.path() / "near" / entryName, systemEntry + "X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(it.isEnabledOnDemand()) << "the nearer one counts";
    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_TRUE(it.isEnabledOnDemand());
}

TEST_F(Autostart, WhatSomebodyWroteIntoTheEntryStays) {
    const std::string edited =
        "# mine\n[Desktop Entry]\nName=Zun\nName[de]=Zun!\n  Exec = env LANG=de zun --background\n"
        "X-KDE-autostart-after=panel\nHidden=true\nHidden=true\n\n[Desktop Action x]\nExec=other\nHidden=false\n";
    put(own, edited);
    auto it = item();
    EXPECT_FALSE(it.isEnabledOnDemand());
    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_TRUE(it.isEnabledOnDemand());
    for (const auto* line : {"# mine\n", "Name[de]=Zun!\n", "Exec = env LANG=de zun --background\n",
                             "X-KDE-autostart-after=panel\n", "\n\n[Desktop Action x]\nExec=other\nHidden=false\n"})
        EXPECT_THAT(text(own), HasSubstr(line));
    EXPECT_TRUE(it.setEnabled(false));
    EXPECT_FALSE(it.isEnabledOnDemand());
    EXPECT_THAT(text(own), HasSubstr("Exec = env LANG=de zun --background\n"));

    // A link into a folder of settings under version control is written through.
    const auto kept = folder.path() / "kept.desktop";
    fs::rename(own, kept);
    fs::create_symlink(kept, own);
    EXPECT_TRUE(it.setEnabled(true));
    EXPECT_TRUE(fs::is_symlink(own));
    EXPECT_TRUE(it.isEnabledOnDemand());
}

TEST_F(Autostart, AProgramThatMovedIsFoundAgainAndItsPathIsQuoted) {
    EXPECT_TRUE(item({"/old/bin/zun", "--background"}).setEnabled(true));
    EXPECT_TRUE(item({"/a b/100%/$x\\zun", "--home", "/ü", "--background"}).setEnabled(true));
    EXPECT_THAT(text(own), HasSubstr("\nExec=\"/a b/100%%/\\\\$x\\\\\\\\zun\" --home /ü --background\n"));
    EXPECT_TRUE(item().setEnabled(false));
    EXPECT_FALSE(fs::exists(own)) << "nobody has edited it";
}

TEST_F(Autostart, WhatIsNoEntryStartsNothingAndIsReplaced) {
    struct Case {
        std::string name, content;
        bool started;
    };
    const Case cases[] = {
        {"empty", "", false},
        {"no group", "Exec=zun\n", false},
        {"group too late", "[Other]\n[Desktop Entry]\nExec=zun\n", false},
        {"no command", "[Desktop Entry]\nName=Zun\n", false},
        {"Windows line ends", "[Desktop Entry]\r\nExec=zun\r\nHidden=false\r\n", true},
        {"switched off by the desktop", systemEntry + "X-GNOME-Autostart-enabled=false", false},
        {"hidden in another group only", systemEntry + "[Desktop Action x]\nHidden=true\n", true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        put(own, each.content);
        EXPECT_EQ(item().isEnabledOnDemand(), each.started);
        EXPECT_TRUE(item().setEnabled(true));
        EXPECT_TRUE(item().isEnabledOnDemand());
        EXPECT_TRUE(item().setEnabled(false));
        EXPECT_FALSE(item().isEnabledOnDemand());
    }
}

TEST_F(Autostart, FailuresAreReportedAndChangeNothing) {
    std::vector<std::string> log;
    const ScopedLogSink sink([&](std::string_view line) { log.emplace_back(line); });
    put(folder.path() / "user", "a file where the folder should be");
    EXPECT_FALSE(item().setEnabled(true));
    EXPECT_FALSE(item().isEnabledOnDemand());
    EXPECT_EQ(log.size(), 1u);
    fs::remove(folder.path() / "user");

    fs::create_directories(own.parent_path());
    ASSERT_EQ(::mkfifo(own.c_str(), 0600), 0);
    EXPECT_FALSE(item().setEnabled(true)) << "and does not wait for a writer";
    EXPECT_FALSE(item().isEnabledOnDemand());
    fs::remove(own);
    put(own, systemEntry + std::string(1 << 17, '#'));
    EXPECT_FALSE(item().setEnabled(false));
    EXPECT_GT(fs::file_size(own), 1u << 17);
}

}  // namespace
}  // namespace zun
