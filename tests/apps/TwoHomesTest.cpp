#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <regex>

#include "apps/Programs.h"
#include "cloudkit/CloudProgram.h"

namespace zun {
namespace {

using testing::HasSubstr;

// A record service and two homes that are signed in at it.
class TwoHomes : public testing::Test {
  protected:
    TwoHomes() {
        service.start({"--registration", "open"});
        const auto made = desk.zunctlReading("the right password\n", account("create"));
        EXPECT_EQ(made.status, 0) << made.err;
        EXPECT_EQ(lap.zunctlReading("the wrong password\n", account("login")).status, 1);
        EXPECT_EQ(lap.zunctl({"sync"}).status, 1) << "nobody is signed in";
        const auto entered = lap.zunctlReading("the right password\n", account("login"));
        EXPECT_EQ(entered.status, 0) << entered.err;
        EXPECT_THAT(entered.out, HasSubstr("Sync is on."));
    }

    struct Service {
        void start(const std::vector<std::string>& words) {
            program = std::make_unique<CloudProgram>(path(), folder.path() / "records", words);
        }
        // Another command of the program, over the same folder.
        Ended run(std::vector<std::string> words) const {
            words.insert(words.end(), {"--data", folder.path() / "records"});
            return Program(path(), words, {}).end();
        }
        static std::string path() { return std::getenv("ZUN_TEST_CLOUD"); }

        TemporaryFolder folder;
        std::unique_ptr<CloudProgram> program;
    };

    [[nodiscard]] std::vector<std::string> account(const std::string& verb) const {
        return {"account", verb, "--service", service.program->URL(), "--name", "anna", "--password-stdin"};
    }
    static std::string add(const ProgramsHome& home, const std::string& title, std::vector<std::string> words = {}) {
        words.insert(words.begin(), {"add", title});
        const auto ended = home.zunctl(words);
        EXPECT_EQ(ended.status, 0) << ended.err;
        return ended.out.substr(0, ended.out.find('\n'));
    }
    static std::string sync(const ProgramsHome& home) {
        const auto ended = home.zunctl({"sync"});
        EXPECT_EQ(ended.status, 0) << ended.err;
        return ended.out;
    }
    // Everything there is, but for what a device notes for itself.
    static std::string everything(const ProgramsHome& home) {
        static const std::regex marks("\"(didPersistToiCloud|hasLocalChanges)\":(true|false),?");
        return std::regex_replace(home.zunctl({"--json", "list", "--all"}).out, marks, "");
    }
    void syncUntilQuiet() const {
        for (int i = 0; i < 4; ++i)
            sync(i % 2 == 0 ? desk : lap);
        EXPECT_EQ(sync(desk), "0 sent, 0 received\n");
        EXPECT_EQ(sync(lap), "0 sent, 0 received\n");
        EXPECT_EQ(everything(desk), everything(lap));
    }

    Service service;
    ProgramsHome desk, lap;
};

TEST_F(TwoHomes, ConvergeAfterEditsOnBothWhileTheServiceWasAway) {
    const auto milk = add(desk, "Milk", {"--date", "2026-01-05T09:00", "--repeat", "weekly"});
    const auto bread = add(desk, "Bread");
    const auto taxes = add(desk, "Taxes");
    EXPECT_EQ(sync(desk), "3 sent, 0 received\n");
    EXPECT_EQ(sync(lap), "0 sent, 3 received\n");
    EXPECT_EQ(everything(desk), everything(lap));

    service.program->kill();
    EXPECT_EQ(desk.zunctl({"edit", taxes, "--title", "Tax return"}).status, 0);
    EXPECT_EQ(desk.zunctl({"complete", milk}).status, 0);
    EXPECT_EQ(lap.zunctl({"edit", taxes, "--notes", "New forms"}).status, 0);
    EXPECT_EQ(lap.zunctl({"delete", bread}).status, 0);
    EXPECT_EQ(lap.zunctl({"skip"}).status, 0);
    const auto failed = desk.zunctl({"sync"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.out, "");
    EXPECT_THAT(failed.err, HasSubstr("cannot be reached"));
    EXPECT_THAT(desk.zunctl({"--json", "sync"}).out, HasSubstr("\"error\":\"The service cannot be reached"));
    EXPECT_THAT(desk.zunctl({"account", "status"}).out, HasSubstr("Last error, "));

    service.program->start();
    syncUntilQuiet();
    EXPECT_THAT(desk.zunctl({"show", taxes}).out, HasSubstr("New forms"));
    EXPECT_EQ(everything(desk).find("Bread"), std::string::npos);

    // The later edit has won whole. The words of the other are kept, and can be brought back on both.
    const auto kept = desk.zunctl({"conflicts"}).out;
    std::smatch line;
    ASSERT_TRUE(std::regex_search(kept, line, std::regex("([0-9]+)  Tax return  \\([^)]+\\)  replaced [^\n]+\n")))
        << kept;
    EXPECT_EQ(desk.zunctl({"conflicts", "--restore", line[1]}).status, 0);
    syncUntilQuiet();
    EXPECT_THAT(everything(lap), HasSubstr("Tax return"));
    EXPECT_THAT(desk.zunctl({"conflicts"}).out, HasSubstr("Taxes")) << "what it took the place of";
    EXPECT_THAT(desk.zunctl({"account", "status"}).out, testing::Not(HasSubstr("Last error")));
}

TEST_F(TwoHomes, NothingIsSentWhileTheSyncIsSwitchedOff) {
    add(desk, "Milk");
    EXPECT_EQ(desk.zunctl({"cloud", "off"}).status, 0);
    const auto refused = desk.zunctl({"--json", "sync"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.out, HasSubstr("\"error\":\"Sync is switched off"));
    EXPECT_THAT(refused.err, HasSubstr("zunctl cloud on"));
    EXPECT_EQ(desk.zunctl({"cloud", "on"}).status, 0);
    EXPECT_EQ(sync(desk), "1 sent, 0 received\n");
}

TEST_F(TwoHomes, WhoChangesTheAccountIsToldWhatBecomesOfTheReminders) {
    add(desk, "Milk");
    sync(desk);
    auto others = account("create");
    *std::find(others.begin(), others.end(), "anna") = "bert";
    const auto changed = desk.zunctlReading("the other password\n", others);
    EXPECT_EQ(changed.status, 0);
    EXPECT_EQ(everything(desk), "[]\n");
    std::smatch backup;
    ASSERT_TRUE(std::regex_search(changed.err, backup, std::regex("1 reminder, .*zunctl import (.*)\n")))
        << changed.err;
    EXPECT_EQ(desk.zunctl({"import", backup[1]}).out, "1 imported\n");
    EXPECT_EQ(sync(desk), "1 sent, 0 received\n");

    // Out and in again: what is here stays.
    EXPECT_EQ(desk.zunctl({"account", "logout"}).status, 0);
    const auto back = desk.zunctlReading("the right password\n", account("login"));
    EXPECT_THAT(back.err, HasSubstr("1 reminder, will go up"));
    EXPECT_THAT(everything(desk), HasSubstr("Milk"));
}

TEST_F(TwoHomes, ADeviceIsSignedOutByTheNextSignInOrByAnother) {
    EXPECT_EQ(desk.zunctlReading("the right password\n", account("login")).status, 0);
    const auto devices = desk.zunctl({"account", "devices"}).out;
    EXPECT_EQ(std::count(devices.begin(), devices.end(), '\n'), 2) << devices;
    std::smatch line;
    ASSERT_TRUE(std::regex_search(devices, line, std::regex("([0-9])  [^\n]+\\)\n"))) << devices;
    EXPECT_EQ(desk.zunctl({"account", "devices", "--revoke", "3"}).status, 1);
    EXPECT_EQ(desk.zunctl({"account", "devices", "--revoke", line[1] == "1" ? "2" : "1"}).status, 1) << "this one";
    EXPECT_EQ(desk.zunctl({"account", "devices", "--revoke", line[1]}).status, 0);
    EXPECT_THAT(lap.zunctl({"sync"}).err, HasSubstr("does not know this device"));
    EXPECT_EQ(desk.zunctl({"sync"}).status, 0);
}

TEST_F(TwoHomes, KeepEverythingWhenTheServiceIsSetBackToABackup) {
    const auto milk = add(desk, "Milk");
    sync(desk);
    const auto backup = (service.folder.path() / "backup").string();
    EXPECT_EQ(service.run({"backup", backup}).status, 0);
    add(desk, "Bread");
    sync(desk);
    sync(lap);
    EXPECT_EQ(desk.zunctl({"edit", milk, "--title", "Oat milk"}).status, 0);
    sync(desk);
    EXPECT_EQ(service.program->stop(), 0);
    EXPECT_EQ(service.run({"restore", backup, "--replace"}).status, 0);
    service.program->start();

    // The first pass of each learns of it.
    (void)desk.zunctl({"sync"});
    (void)lap.zunctl({"sync"});
    syncUntilQuiet();
    EXPECT_THAT(everything(lap), testing::AllOf(HasSubstr("Oat milk"), HasSubstr("Bread")));
}

TEST_F(TwoHomes, NoSyncBeginsThatOthersCouldNotBeKeptOutOf) {
    add(desk, "Milk");
    std::filesystem::create_directories(desk.folder() / "runtime" / "sync.lock");
    const auto refused = desk.zunctl({"sync"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("sync.lock: Is a directory"));
    std::filesystem::remove(desk.folder() / "runtime" / "sync.lock");
    EXPECT_EQ(sync(desk), "1 sent, 0 received\n");
}

TEST_F(TwoHomes, ARunningApplicationHearsOfTheOtherAndSyncsForTheCommandLine) {
    const auto application = lap.startApplication();
    EXPECT_EQ(sync(lap), "0 sent, 0 received\n");
    add(desk, "Milk");
    sync(desk);
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (everything(lap).find("Milk") == std::string::npos)
        ASSERT_LT(std::chrono::steady_clock::now(), latest) << "no push has come";
    EXPECT_EQ(everything(desk), everything(lap));
    // The application sends what a command writes beside it.
    add(lap, "Bread");
    do {
        sync(desk);
        ASSERT_LT(std::chrono::steady_clock::now(), latest) << "it was not sent";
    } while (everything(desk).find("Bread") == std::string::npos);

    EXPECT_EQ(service.run({"account", "disable", "anna"}).status, 0);
    const auto refused = lap.zunctl({"sync"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("does not know this device"));
    EXPECT_EQ(lap.zunctl({"account", "logout"}).status, 0);
    EXPECT_THAT(everything(lap), HasSubstr("Milk")) << "signing out takes nothing away";
}

}  // namespace
}  // namespace zun
