#include "shell/ZNSettingsWindowController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <thread>

#include "core/NotificationNames.h"
#include "platform/foundation/NSCurrentLocale.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "shell/HourRows.h"
#include "support/QtApplication.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneQtApplication);

class FakeLoginItem final : public LoginItem {
  public:
    bool setEnabled(bool enabled) override {
        isEnabled = enabled;
        return true;
    }
    [[nodiscard]] bool isEnabledOnDemand() const override { return isEnabled; }
    bool isEnabled = false;
};

// Answers when the test says so.
class FakeAccount final : public CloudAccount {
  public:
    void accountStatusWithCompletionHandler(StatusHandler handler) override { waiting.push_back(std::move(handler)); }
    void answer(AccountStatus status) {
        for (const auto& handler : std::exchange(waiting, {}))
            std::thread(handler, status).join();
    }
    std::vector<StatusHandler> waiting;
};

class SettingsWindow : public testing::Test {
  protected:
    void open(const std::string& language = "en") {
        strings = std::make_unique<LocalizedStrings>(std::vector{language});
        window = std::make_unique<ZNSettingsWindowController>(ZNSettingsWindowController::Collaborators{
            settings, notifications, *strings, environment, dispatch, pictures, account, cache});
        window->show();
        window->activateWindow();
        QCoreApplication::processEvents();
    }
    template <typename Widget>
    Widget* find(const char* name) const {
        auto* widget = window->findChild<Widget*>(name);
        EXPECT_TRUE(widget) << name;
        return widget;
    }
    void click(const char* name) const { QTest::mouseClick(find<QWidget>(name), Qt::LeftButton); }
    // Chooses the row by its list.
    void choose(const char* name, int row) const {
        auto* button = find<QComboBox>(name);
        button->setFocus();
        const auto key = row < button->currentIndex() ? Qt::Key_Up : Qt::Key_Down;
        while (button->currentIndex() != row)
            QTest::keyClick(button, key);
    }
    [[nodiscard]] QStringList rows(const char* name) const {
        QStringList all;
        for (int row = 0; row < find<QComboBox>(name)->count(); ++row)
            all.append(find<QComboBox>(name)->itemText(row));
        return all;
    }
    [[nodiscard]] std::vector<QString> alerts() const {
        std::vector<QString> texts;
        for (const auto* alert : window->findChildren<QMessageBox*>())
            if (alert->isVisible()) texts.push_back(alert->text());
        return texts;
    }
    // What a program that starts now would read.
    [[nodiscard]] ZNSettingsObject::Choices stored() const {
        ZNUserDefaults fresh(folder.path());
        return ZNSettingsObject(fresh, nullptr, nullptr).choices();
    }

    TemporaryFolder folder;
    SimulatedDispatch dispatch{1};
    TestEnvironment environment{"2026-01-14T10:00:00Z", &dispatch};
    NSNotificationCenter notifications;
    ZNUserDefaults defaults{folder.path()};
    FakeLoginItem loginItem;
    ZNSettingsObject settings{defaults, &loginItem, nullptr};
    FakeAccount account;
    StoredSyncCache cache{defaults};
    Pictures pictures;
    std::unique_ptr<LocalizedStrings> strings;
    std::unique_ptr<ZNSettingsWindowController> window;
};

TEST_F(SettingsWindow, EachBoxWritesAndSavesAtOnce) {
    const struct {
        const char* name;
        bool ZNSettingsObject::Choices::*choice;
    } cases[] = {
        {"iCloudButton", &ZNSettingsObject::Choices::shouldUseCloudKit},
        {"showInMenubarButton", &ZNSettingsObject::Choices::showInMenubar},
        {"autoStartButton", &ZNSettingsObject::Choices::startAtLogin},
        {"deleteCompletedButton", &ZNSettingsObject::Choices::shouldDeleteCompleted},
        {"useReturnToSave", &ZNSettingsObject::Choices::shouldUseReturnKeyToSave},
    };
    open();
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        ZNSettingsObject::Choices expected = stored();
        for (const bool on : {true, false}) {
            click(each.name);
            expected.*each.choice = on;
            EXPECT_EQ(stored(), expected) << "and nothing else";
        }
        find<QWidget>(each.name)->setFocus();
        QTest::keyClick(find<QWidget>(each.name), Qt::Key_Space);
        EXPECT_TRUE(stored().*each.choice);
    }
    EXPECT_TRUE(loginItem.isEnabled);
    open();
    for (const auto& each : cases)
        EXPECT_TRUE(find<QCheckBox>(each.name)->isChecked()) << each.name;
}

TEST_F(SettingsWindow, TheModeChangesAfterItIsStoredAndTheWindowStays) {
    open();
    std::vector<bool> storedAtChange;
    const auto observation = notifications.addObserver(ZNAppModeDidChangeNotification, [&](const NSNotification&) {
        storedAtChange.push_back(stored().showInMenubar);
    });
    click("showInMenubarButton");
    click("showInMenubarButton");
    click("deleteCompletedButton");
    EXPECT_THAT(storedAtChange, ElementsAre(true, false));
    EXPECT_TRUE(window->isVisible());
}

TEST_F(SettingsWindow, TabsShowTheirControlsOnly) {
    const std::vector<const char*> general = {"iCloudButton",    "accountButton",         "showInMenubarButton",
                                              "autoStartButton", "deleteCompletedButton", "useReturnToSave",
                                              "clearCacheButton"};
    const std::vector<const char*> defaultsTab = {"snoozeSetting",       "snoozeSettingLabel", "snoozeInstructions",
                                                  "morningSettingLabel", "morningHour",        "eveningSettingLabel",
                                                  "eveningHour"};
    const auto expect = [&](bool showsGeneral) {
        for (const auto* name : general)
            EXPECT_EQ(find<QWidget>(name)->isVisible(), showsGeneral) << name;
        for (const auto* name : defaultsTab)
            EXPECT_EQ(find<QWidget>(name)->isVisible(), !showsGeneral) << name;
        EXPECT_EQ(find<QToolButton>("znGeneralItemIdentifier")->isChecked(), showsGeneral);
        EXPECT_EQ(find<QToolButton>("znDefaultsItemIdentifier")->isChecked(), !showsGeneral);
    };
    open();
    expect(true);
    click("znDefaultsItemIdentifier");
    expect(false);
    find<QWidget>("znDefaultsItemIdentifier")->setFocus();
    QTest::keyClick(find<QWidget>("znDefaultsItemIdentifier"), Qt::Key_Left);
    expect(true);
}

TEST_F(SettingsWindow, SnoozeRowsAreTheirValuesAndOthersChangeNothing) {
    settings.setSnoozeType(7);
    settings.save();
    open();
    window->showDefaultsTab();
    EXPECT_EQ(rows("snoozeSetting"), QStringList({"1 day", "1 hour", "15 minutes"}));
    EXPECT_EQ(find<QComboBox>("snoozeSetting")->currentIndex(), 0);
    EXPECT_EQ(stored().snoozeType, 7u);
    for (const int row : {2, 1, 0}) {
        choose("snoozeSetting", row == 0 ? 0 : row);
        EXPECT_EQ(stored().snoozeType, static_cast<std::uint64_t>(row));
    }
    choose("snoozeSetting", 2);
    settings.setSnoozeType(3);
    EXPECT_EQ(find<QComboBox>("snoozeSetting")->currentIndex(), 2);
    emit find<QComboBox>("snoozeSetting")->activated(2);
    find<QComboBox>("snoozeSetting")->setCurrentIndex(-1);
    emit find<QComboBox>("snoozeSetting")->activated(-1);
    EXPECT_EQ(stored().snoozeType, 2u);
}

TEST_F(SettingsWindow, HoursReadAsTheRegionWritesThem) {
    const struct {
        std::string formats, language;
        std::vector<std::pair<int, std::string>> texts;  // by row
    } cases[] = {
        {"en_US", "en", {{0, "1 AM"}, {10, "11 AM"}, {11, "12 AM"}, {12, "1 PM"}, {22, "11 PM"}, {23, "12 PM"}}},
        {"de_DE", "de", {{0, "1"}, {11, "12"}, {12, "13"}, {23, "24"}}},
        {"ja_JP", "ja", {{7, "8"}, {23, "24"}}},
        {"ko_KR", "ja", {{7, "오전8時"}, {23, "오후12時"}}},
        {"ar_EG", "en", {{11, "12 ص"}, {23, "12 م"}}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.formats);
        environment.setLocale({each.formats, {each.language}});
        const auto texts = hourRows(environment, LocalizedStrings({each.language}));
        ASSERT_EQ(texts.size(), 24u);
        for (const auto& [row, text] : each.texts)
            EXPECT_EQ(texts[static_cast<std::size_t>(row)], text);
    }
}

TEST_F(SettingsWindow, TheLastRowWritesHour24AndARegionKeepsTheHours) {
    open();
    window->showDefaultsTab();
    EXPECT_EQ(find<QComboBox>("morningHour")->currentText(), "8 AM");
    EXPECT_EQ(find<QComboBox>("eveningHour")->currentText(), "6 PM");
    choose("morningHour", 11);
    choose("eveningHour", 23);
    EXPECT_EQ(stored().morningHour, 12u);
    EXPECT_EQ(stored().eveningHour, 24u);
    EXPECT_EQ(find<QComboBox>("morningHour")->currentText(), "12 AM");
    EXPECT_EQ(find<QComboBox>("eveningHour")->currentText(), "12 PM");

    const auto before = stored();
    environment.setLocale({"de_DE", {"en"}});
    // From another thread, as everything that is told may come.
    std::thread([this] { notifications.postNotificationName(NSCurrentLocaleDidChangeNotification); }).join();
    dispatch.runUntilIdle();
    EXPECT_EQ(find<QComboBox>("morningHour")->currentText(), "12");
    EXPECT_EQ(find<QComboBox>("eveningHour")->currentText(), "24");
    EXPECT_EQ(stored(), before);
}

TEST_F(SettingsWindow, TheWheelOverAClosedListChangesNothing) {
    open();
    window->showDefaultsTab();
    auto* button = find<QComboBox>("morningHour");
    QWheelEvent wheel(button->rect().center(), button->mapToGlobal(button->rect().center()), {}, {0, -120},
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(button, &wheel);
    EXPECT_EQ(settings.morningHour(), 8u);
    EXPECT_EQ(button->currentIndex(), 7);
}

TEST_F(SettingsWindow, WithoutAnAccountTheBoxStaysTickedAndAnAlertSaysSo) {
    open();
    click("iCloudButton");
    EXPECT_TRUE(stored().shouldUseCloudKit) << "at once, without waiting";
    EXPECT_THAT(alerts(), IsEmpty());
    account.answer(AccountStatus::NoAccount);
    dispatch.runUntilIdle();
    EXPECT_THAT(alerts(), ElementsAre("Sign in to your cloud account"));
    const auto* alert = window->findChild<QMessageBox*>();
    EXPECT_TRUE(alert->informativeText().startsWith("Zun needs a cloud account"));
    ASSERT_EQ(alert->buttons().size(), 2);
    EXPECT_TRUE(find<QCheckBox>("iCloudButton")->isChecked());
    EXPECT_TRUE(stored().shouldUseCloudKit);
    QTest::mouseClick(alert->buttons().front(), Qt::LeftButton);
    EXPECT_THAT(alerts(), IsEmpty());

    click("iCloudButton");
    EXPECT_THAT(account.waiting, IsEmpty()) << "nobody asks for what is not wanted";
    EXPECT_FALSE(stored().shouldUseCloudKit);
    click("iCloudButton");
    account.answer(AccountStatus::Available);
    dispatch.runUntilIdle();
    EXPECT_THAT(alerts(), IsEmpty());

    // Twice asked, one alert; and an answer to a window that has gone is no harm.
    for (int i = 0; i < 4; ++i)
        click("iCloudButton");
    EXPECT_EQ(account.waiting.size(), 2u);
    account.answer(AccountStatus::CouldNotDetermine);
    dispatch.runUntilIdle();
    EXPECT_EQ(alerts().size(), 1u);
    window->findChild<QMessageBox*>()->close();
    click("iCloudButton");
    click("iCloudButton");
    account.answer(AccountStatus::Restricted);
    window.reset();
    dispatch.runUntilIdle();
}

TEST_F(SettingsWindow, LeadsToTheAccountFromTheSwitchAndFromTheAlert) {
    int asked = 0;
    const auto observation =
        notifications.addObserver(ZNAccountMenuActionNotification, [&](const NSNotification&) { ++asked; });
    open();
    click("accountButton");
    EXPECT_EQ(asked, 1);
    click("iCloudButton");
    account.answer(AccountStatus::NoAccount);
    dispatch.runUntilIdle();
    click("signInAlertButton");
    EXPECT_EQ(asked, 2);
    EXPECT_THAT(alerts(), IsEmpty());
}

TEST_F(SettingsWindow, ClearingTheCacheForgetsWhatSyncsLeftAndSaysSo) {
    defaults.onSetPrivateDBToken(Bytes{1});
    defaults.onSetPrivateZoneToken(Bytes{2});
    defaults.onSetSharedDBToken(Bytes{3});
    defaults.onSetSharedZoneToken(Bytes{4});
    defaults.onSetLastSyncDate(environment.now());
    defaults.onSetDidRunPrivateZoneMigration(true);
    defaults.onSetDidClearCacheForTwoOh(true);
    defaults.onSetiCloudNotificationID("subscription");
    defaults.onSetUseriCloudIdentityToken(Bytes{5});
    open();
    click("clearCacheButton");
    EXPECT_FALSE(defaults.onGetPrivateDBToken() || defaults.onGetPrivateZoneToken() || defaults.onGetSharedDBToken() ||
                 defaults.onGetSharedZoneToken() || defaults.onGetLastSyncDate() ||
                 defaults.onGetDidRunPrivateZoneMigration());
    EXPECT_TRUE(defaults.onGetDidClearCacheForTwoOh() && defaults.onGetiCloudNotificationID() &&
                defaults.onGetUseriCloudIdentityToken());
    ASSERT_EQ(alerts().size(), 1u);
    EXPECT_TRUE(alerts().front().startsWith("The sync cache is clear."));
    QTest::keyClick(window->findChild<QMessageBox*>(), Qt::Key_Escape);
    EXPECT_THAT(alerts(), IsEmpty());
    EXPECT_TRUE(window->isVisible());
}

TEST_F(SettingsWindow, AChangeFromAnotherProgramShows) {
    open();
    ZNUserDefaults theirDefaults(folder.path());
    ZNSettingsObject theirs(theirDefaults, nullptr, nullptr);
    theirs.setShouldDeleteCompleted(true);
    theirs.setShowInMenubar(true);
    theirs.setSnoozeType(2);
    theirs.setEveningHour(22);
    theirs.save();
    std::thread([this] { settings.reload(); }).join();
    dispatch.runUntilIdle();
    EXPECT_TRUE(find<QCheckBox>("deleteCompletedButton")->isChecked());
    EXPECT_TRUE(find<QCheckBox>("showInMenubarButton")->isChecked());
    EXPECT_EQ(find<QComboBox>("snoozeSetting")->currentIndex(), 2);
    EXPECT_EQ(find<QComboBox>("eveningHour")->currentIndex(), 21);
    EXPECT_FALSE(find<QCheckBox>("useReturnToSave")->isChecked());
}

TEST_F(SettingsWindow, EverythingFitsAndIsNamedInEveryLanguage) {
    for (const auto& language : LocalizedStrings::availableLanguages()) {
        SCOPED_TRACE(language);
        open(language);
        EXPECT_EQ(window->size(), QSize(340, 300));
        EXPECT_EQ(window->minimumSize(), window->maximumSize());
        for (const bool general : {true, false}) {
            general ? window->showGeneralTab() : window->showDefaultsTab();
            QCoreApplication::processEvents();
            for (const auto* child : window->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
                if (!child->isVisible()) continue;
                const auto name = child->objectName().toStdString();
                EXPECT_TRUE(window->rect().contains(child->geometry())) << name;
                EXPECT_GE(child->width(), child->minimumSizeHint().width()) << name;
                const auto* label = qobject_cast<const QLabel*>(child);
                const int needed = label && label->wordWrap() ? label->heightForWidth(label->width())
                                                              : child->minimumSizeHint().height();
                EXPECT_GE(child->height(), needed) << name;
                if (child->focusPolicy() == Qt::NoFocus) continue;
                auto* spoken = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(child));
                EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty()) << name;
            }
        }
    }
}

TEST_F(SettingsWindow, TheTabKeyWalksInReadingOrderAndKeysClose) {
    open();
    window->findChild<QWidget*>("znGeneralItemIdentifier")->setFocus(Qt::TabFocusReason);
    for (const auto* name :
         {"iCloudButton", "accountButton", "showInMenubarButton", "autoStartButton", "deleteCompletedButton",
          "useReturnToSave", "clearCacheButton", "znGeneralItemIdentifier"}) {
        QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(window->focusWidget()->objectName(), name);
    }
    int closed = 0;
    const struct {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
    } keys[] = {{Qt::Key_Escape, Qt::NoModifier}, {Qt::Key_W, Qt::ControlModifier}};
    for (const auto& each : keys) {
        open();
        QObject::connect(window.get(), &FixedWindow::willClose, [&] { ++closed; });
        find<QWidget>("autoStartButton")->setFocus();
        QTest::keyClick(window->focusWidget(), each.key, each.modifiers);
        EXPECT_FALSE(window->isVisible());
    }
    EXPECT_EQ(closed, 2);
}

}  // namespace
}  // namespace zun
