#include "settings/ZNSettingsObject.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "platform/foundation/Log.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class FakeLoginItem : public LoginItem {
  public:
    bool setEnabled(bool enabled) override {
        asked.push_back(enabled);
        return works;
    }
    [[nodiscard]] bool isEnabledOnDemand() const override { return onDemand; }

    std::vector<bool> asked;
    bool works = true;
    bool onDemand = false;
};

class FakeAccount : public CloudAccount {
  public:
    void accountStatusWithCompletionHandler(StatusHandler handler) override {
        ++requests;
        handler(AccountStatus::NoAccount);
    }
    int requests = 0;
};

class Settings : public testing::Test {
  protected:
    std::string fileText() const {
        std::ifstream in(defaults.file());
        return {std::istreambuf_iterator<char>(in), {}};
    }

    TemporaryFolder folder;
    ZNUserDefaults defaults{folder.path()};
    FakeLoginItem loginItem;
    FakeAccount account;
};

TEST_F(Settings, AnEmptyStoreReadsAsZeroButForTheTwoHours) {
    ZNSettingsObject settings(defaults, &loginItem, &account);
    EXPECT_EQ(defaults.onGetMorningHour(), 0u);
    EXPECT_EQ(settings.choices(), ZNSettingsObject::Choices());
    EXPECT_EQ(settings.morningHour(), 8u);
    EXPECT_EQ(settings.eveningHour(), 18u);
    EXPECT_FALSE(defaults.onGetLastSyncDate().has_value());
    settings.setMorningHour(0);
    settings.save();
    EXPECT_EQ(ZNSettingsObject(defaults, nullptr, nullptr).morningHour(), 8u) << "midnight cannot be kept";
}

TEST_F(Settings, FirstRunValuesAreStoredAndTakenOverBySaveOrTheNextStart) {
    ZNSettingsObject settings(defaults, &loginItem, &account);
    loginItem.onDemand = true;
    settings.setDefaults();
    EXPECT_FALSE(settings.shouldDeleteCompleted());
    EXPECT_TRUE(defaults.onGetDeleteCompleted());
    EXPECT_TRUE(defaults.onGetWhatsNew());
    EXPECT_TRUE(defaults.onGetShouldShowQuitNotice());
    EXPECT_TRUE(defaults.onGetStartAtLogin());
    EXPECT_EQ(defaults.onGetMorningHour(), 8u);
    EXPECT_FALSE(defaults.onGetDidFinishTour());

    const ZNSettingsObject nextStart(defaults, &loginItem, &account);
    settings.save();
    EXPECT_TRUE(settings.shouldDeleteCompleted());
    EXPECT_EQ(settings.choices(), nextStart.choices());

    settings.setDefaultsIfNecessary();
    EXPECT_TRUE(defaults.onGetDidFinishTour());
    defaults.onSetDeleteCompleted(false);
    settings.setDefaultsIfNecessary();
    EXPECT_FALSE(defaults.onGetDeleteCompleted()) << "the first run comes once";
    EXPECT_TRUE(loginItem.asked.empty()) << "first-run values only record how the login item stands";
}

TEST_F(Settings, ChoicesLiveInMemoryUntilSaveWritesThemAsNumbersAndFlags) {
    ZNSettingsObject settings(defaults, &loginItem, &account);
    std::vector<std::string> changes;
    const auto observation =
        settings.observe({"snoozeType", "shouldUseCloudKit"}, [&](std::string_view key) { changes.emplace_back(key); });
    settings.setSnoozeType(2);
    settings.setSnoozeType(2);
    settings.setShouldUseCloudKit(true);
    settings.setShouldUseReturnKeyToSave(true);
    settings.setEveningHour(20);
    EXPECT_THAT(changes, ElementsAre("snoozeType", "shouldUseCloudKit"));
    EXPECT_EQ(defaults.onGetSnoozeSetting(), 0u);
    settings.save();
    EXPECT_THAT(fileText(), HasSubstr("\"znCloudKitSetting\": 1"));
    EXPECT_EQ(ZNSettingsObject(defaults, nullptr, nullptr).choices(), settings.choices());

    settings.setShouldUseCloudKit(false);
    settings.save();
    EXPECT_THAT(fileText(), HasSubstr("\"znCloudKitSetting\": 0"));
}

TEST_F(Settings, TwoProgramsAgreeWithoutLosingWhatEitherChanged) {
    ZNSettingsObject mine(defaults, nullptr, nullptr);
    ZNUserDefaults otherDefaults(folder.path());
    ZNSettingsObject theirs(otherDefaults, nullptr, nullptr);

    theirs.setMorningHour(6);
    theirs.setSnoozeType(1);
    theirs.save();
    mine.setSnoozeType(2);
    mine.setEveningHour(21);
    mine.reload();
    EXPECT_EQ(mine.morningHour(), 6u);
    EXPECT_EQ(mine.snoozeType(), 2u) << "changed here and not yet saved";
    mine.save();
    theirs.reload();
    EXPECT_EQ(theirs.choices(), mine.choices());
    EXPECT_EQ(theirs.morningHour(), 6u);
    EXPECT_EQ(theirs.eveningHour(), 21u);
    EXPECT_EQ(theirs.snoozeType(), 2u);
}

TEST_F(Settings, TheCloudAccountIsAskedOnlyWhileTheCloudIsWanted) {
    ZNSettingsObject settings(defaults, &loginItem, &account);
    EXPECT_FALSE(settings.onGetCloudKitStatus());
    EXPECT_EQ(account.requests, 0);
    settings.setShouldUseCloudKit(true);
    EXPECT_TRUE(settings.onGetCloudKitStatus());
    EXPECT_TRUE(settings.onGetCloudKitStatus());
    EXPECT_EQ(account.requests, 2);
}

TEST_F(Settings, TheLoginItemFollowsTheChoiceAndItsFailureIsOnlyLogged) {
    ZNSettingsObject settings(defaults, &loginItem, &account);
    std::vector<std::string> log;
    const ScopedLogSink sink([&](std::string_view line) { log.emplace_back(line); });
    settings.onSetStartAtLogin(true);
    EXPECT_TRUE(log.empty());
    loginItem.works = false;
    settings.onSetStartAtLogin(true);
    settings.onSetStartAtLogin(false);
    EXPECT_THAT(loginItem.asked, ElementsAre(true, true, false));
    EXPECT_THAT(log, ElementsAre(HasSubstr("true) failed"), HasSubstr("false) failed")));
    EXPECT_FALSE(settings.startAtLogin());
}

}  // namespace
}  // namespace zun
