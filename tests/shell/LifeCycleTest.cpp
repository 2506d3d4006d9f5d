#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

#include "core/NotificationNames.h"
#include "shell/AppWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

class LifeCycleTest : public testing::Test, public AppWorld {
  protected:
    // An alert that came on time; the latest of the list.
    NSUserNotification deliver(const std::string& reminderID, std::string_view when) {
        userNotifications.deliver(reminderID, at(when), at(when));
        return userNotifications.deliveredNotifications().back();
    }
    void post(std::string_view name) {
        notifications.postNotificationName(name);
        advance(500ms);
    }
};

TEST_F(LifeCycleTest, AFirstLaunchWritesDefaultsAndOpensTheWindow) {
    launch();
    EXPECT_TRUE(defaults.onGetDidFinishTour());
    EXPECT_TRUE(app->tabWindow()->window().isVisible());
    EXPECT_TRUE(app->tabWindow()->window().windowTitle().contains("0"));
}

TEST_F(LifeCycleTest, AStartInTheBackgroundShowsNothingUntilItIsWanted) {
    store(dated("call", "2026-01-14T08:00:00Z"));
    launch(AppDelegate::Shows::Nothing);
    advance(1s);
    EXPECT_FALSE(app->tabWindow()->window().isVisible());
    EXPECT_THAT(deck(), ElementsAre("call"));
    post(ZNOpenWindowActionNotification);
    EXPECT_TRUE(app->tabWindow()->window().isVisible());
    post(ZNCloseWindowActionNotification);
    EXPECT_FALSE(app->tabWindow()->window().isVisible());
    EXPECT_EQ(terminations, 0) << "closing leaves the process";
    app->activate();
    EXPECT_TRUE(app->tabWindow()->window().isVisible());
}

TEST_F(LifeCycleTest, OnlyARestWithoutTheKeyboardCountsAsGone) {
    ApplicationActivity activity(dispatch);
    std::vector<std::string> told;
    QObject::connect(&activity, &ApplicationActivity::becameActive, [&] { told.push_back("here"); });
    QObject::connect(&activity, &ApplicationActivity::resignedActive, [&] { told.push_back("away"); });
    activity.follow(Qt::ApplicationInactive);
    activity.follow(Qt::ApplicationActive);
    for (int i = 0; i < 3; ++i) {  // from one window of ours to the next
        activity.follow(Qt::ApplicationInactive);
        advance(100ms);
        activity.follow(Qt::ApplicationActive);
    }
    EXPECT_THAT(told, ElementsAre("here"));
    activity.follow(Qt::ApplicationInactive);
    activity.follow(Qt::ApplicationHidden);
    advance(1s);
    EXPECT_THAT(told, ElementsAre("here", "away"));
    activity.follow(Qt::ApplicationActive);
    EXPECT_THAT(told, ElementsAre("here", "away", "here"));
}

TEST_F(LifeCycleTest, BecomingActiveRefreshesAndRaisesNothing) {
    launch();
    app->tabWindow()->window().close();
    store(dated("call", "2026-01-14T08:00:00Z"));
    deliver("call", "2026-01-13T08:00:00Z");
    app->applicationDidBecomeActive();
    EXPECT_THAT(deck(), ElementsAre("call"));
    EXPECT_THAT(userNotifications.deliveredNotifications(), IsEmpty());
    EXPECT_FALSE(app->tabWindow()->window().isVisible());
}

TEST_F(LifeCycleTest, AClickOnAnAlertBringsItsCardToTheTop) {
    store(dated("rent", "2026-01-14T07:00:00Z"));
    store(dated("call", "2026-01-14T08:00:00Z"));
    const auto alert = deliver("rent", "2026-01-14T07:00:00Z");
    launch(AppDelegate::Shows::Nothing);
    ASSERT_THAT(deck(), ElementsAre("call", "rent"));
    app->alertWasAnswered(alert.identifier, "rent", NSUserNotificationActivationType::ContentsClicked);
    app->applicationDidBecomeActive();  // as the window comes forward
    EXPECT_THAT(deck(), ElementsAre("rent", "call"));
    EXPECT_TRUE(app->tabWindow()->window().isVisible());
    EXPECT_THAT(userNotifications.deliveredNotifications(), IsEmpty());

    advance(3s);
    app->applicationDidBecomeActive();
    EXPECT_THAT(deck(), ElementsAre("call", "rent")) << "it was moved in memory alone";
    // The alert has left the list; the reminder has not.
    app->alertWasAnswered(4711, "rent", NSUserNotificationActivationType::ContentsClicked);
    EXPECT_THAT(deck(), ElementsAre("rent", "call"));
    app->alertWasAnswered(4712, "nobody", NSUserNotificationActivationType::ContentsClicked);
    EXPECT_THAT(deck(), ElementsAre("call", "rent"));
}

TEST_F(LifeCycleTest, AnAlertsButtonSnoozes) {
    store(dated("call", "2026-01-14T08:00:00Z"));
    launch();
    app->alertWasAnswered(1, "call", NSUserNotificationActivationType::ActionButtonClicked);
    advance(1s);
    EXPECT_TRUE(stored("call")->onGetIsSnoozed());
    EXPECT_THAT(deck(), IsEmpty());
    app->alertWasAnswered(2, "nobody", NSUserNotificationActivationType::ActionButtonClicked);
}

TEST_F(LifeCycleTest, ADeliveryTidiesTheListAndShowsTheCard) {
    launch();
    deliver("call", "2026-01-14T09:50:00Z");
    const auto latest = deliver("call", "2026-01-14T10:00:00Z");
    auto call = dated("call", "2026-01-14T09:50:00Z");
    call.naggingNotifications = true;
    store(call);
    app->didDeliverNotification(latest);
    EXPECT_THAT(deck(), ElementsAre("call"));
    EXPECT_THAT(userNotifications.deliveredNotifications(), ElementsAre(latest));
}

TEST_F(LifeCycleTest, QuittingAsksOnlyWhileTheCloudIsOn) {
    launch();
    const auto notice = [&] { return app->rootWindow().findChild<QMessageBox*>(); };
    post(ZNQuitActionNotification);
    EXPECT_EQ(terminations, 1);
    settings.setShouldUseCloudKit(true);
    defaults.onSetShouldShowQuitNotice(true);
    post(ZNQuitActionNotification);
    post(ZNQuitActionNotification);
    ASSERT_TRUE(notice());
    EXPECT_EQ(terminations, 1);
    notice()->checkBox()->click();
    EXPECT_FALSE(defaults.onGetShouldShowQuitNotice()) << "at once";
    notice()->checkBox()->click();
    EXPECT_TRUE(defaults.onGetShouldShowQuitNotice());
    notice()->checkBox()->click();
    notice()->buttons().back()->click();
    advance(1s);
    EXPECT_FALSE(notice());
    EXPECT_EQ(terminations, 1) << "it was dismissed";
    post(ZNQuitActionNotification);
    EXPECT_EQ(terminations, 2);
}

TEST_F(LifeCycleTest, SettingsComeAnewAndCloseFirst) {
    launch();
    post(ZNSettingsMenuActionNotification);
    const QPointer<QWidget> first = app->settingsWindow();
    post(ZNSettingsMenuActionNotification);
    EXPECT_FALSE(first);
    ASSERT_TRUE(app->settingsWindow());
    EXPECT_TRUE(app->settingsWindow()->isActiveWindow());
    post(ZNCloseWindowActionNotification);
    EXPECT_FALSE(app->settingsWindow());
    EXPECT_TRUE(app->tabWindow()->window().isVisible());
    post(ZNCloseWindowActionNotification);
    EXPECT_FALSE(app->tabWindow()->window().isVisible());
}

TEST_F(LifeCycleTest, WhatIsOverIsSweptBehindTheWindowsBack) {
    settings.setShouldDeleteCompleted(true);
    auto old = dated("old", "2025-10-01T08:00:00Z");
    old.completed_date = at("2025-10-01T09:00:00Z");
    store(old);
    NSUserNotification stale;
    stale.userInfo[NOTIFICATION_REMINDER_ID] = "nobody";
    stale.deliveryDate = at("2026-02-01T08:00:00Z");
    userNotifications.scheduleNotification(stale);
    launch();
    EXPECT_THAT(storedIDs(), ElementsAre("old")) << "not before the window is drawn";
    advance(1s);
    EXPECT_THAT(storedIDs(), IsEmpty());
    EXPECT_THAT(userNotifications.scheduledNotifications(), IsEmpty());
}

}  // namespace
}  // namespace zun
