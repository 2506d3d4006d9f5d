#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QWheelEvent>
#include <boost/json/parse.hpp>
#include <fstream>

#include "cards/ZNStackView.h"
#include "cards/ZNStackViewItem.h"
#include "core/NotificationNames.h"
#include "platform/foundation/ISO8601.h"
#include "shell/ShellWorld.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class MainWindowTest : public testing::Test, public ShellWorld {
  protected:
    void SetUp() override {
        store(dated("errand", "2026-01-14T07:00:00Z"));
        store(dated("call", "2026-01-14T08:00:00Z"));
        auto rent = dated("rent", "2026-01-14T09:00:00Z");
        rent.repeat_type = 3;
        rent.customRepeatInterval = 1;
        store(rent);
        observation = notifications.addObserver(
            ZNReminderCountDidUpdateNotification,
            [this](const NSNotification& posted) { title = std::any_cast<std::string>(posted.object); });
        open();
        ASSERT_THAT(deck(), ElementsAre("rent", "call", "errand"));
    }
    [[nodiscard]] std::string due(const std::string& reminderID) const {
        return iso8601FromDate(*stored(reminderID)->due_date());
    }

    std::string title;  // what the window is to be called
    Observation observation;
};

TEST_F(MainWindowTest, CompletingWithTheKeyLeavesACopyAndUndoRestoresTheSeries) {
    press(Qt::Key_Up);
    EXPECT_THAT(deck(), ElementsAre("call", "errand"));
    EXPECT_EQ(due("rent"), "2026-02-14T09:00:00Z");
    EXPECT_THAT(storedIDs(), testing::SizeIs(4));
    EXPECT_EQ(title, "2 reminders");

    press(Qt::Key_Z);
    EXPECT_THAT(deck(), ElementsAre("rent", "call", "errand"));
    EXPECT_EQ(due("rent"), "2026-01-14T09:00:00Z");
    EXPECT_THAT(storedIDs(), testing::UnorderedElementsAre("rent", "call", "errand"));
    EXPECT_FALSE(undoStack.canUndo());
}

TEST_F(MainWindowTest, EachActionIsUndoneInTurn) {
    press(Qt::Key_Right);
    EXPECT_THAT(deck(), ElementsAre("call", "errand", "rent"));
    press(Qt::Key_Down);
    EXPECT_THAT(deck(), ElementsAre("errand", "rent"));
    EXPECT_TRUE(stored("call")->onGetIsSnoozed());
    press(Qt::Key_Up);
    EXPECT_THAT(deck(), ElementsAre("rent"));
    press(Qt::Key_Left);
    EXPECT_THAT(deck(), ElementsAre("rent")) << "one card cannot be skipped";

    press(Qt::Key_Z);
    EXPECT_THAT(deck(), ElementsAre("errand", "rent"));
    press(Qt::Key_Z);
    EXPECT_THAT(deck(), ElementsAre("call", "errand", "rent"));
    EXPECT_FALSE(stored("call")->onGetIsSnoozed());
    press(Qt::Key_Z);
    EXPECT_THAT(deck(), ElementsAre("rent", "call", "errand"));
    EXPECT_FALSE(undoStack.canUndo());
}

TEST_F(MainWindowTest, AnImpatientKeyTakesOneCardAtATime) {
    for (int i = 0; i < 5; ++i)
        QTest::keyClick(window.windowHandle(), Qt::Key_Up, Qt::ControlModifier);
    advance(std::chrono::seconds(1));
    EXPECT_THAT(deck(), ElementsAre("call", "errand"));
}

TEST_F(MainWindowTest, TheLastCardGivesWayToTheZeroState) {
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    press(Qt::Key_Up);
    EXPECT_THAT(deck(), IsEmpty());
    EXPECT_EQ(title, "0 reminders");
    press(Qt::Key_Up);
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    EXPECT_EQ(undoStack.count(), 3) << "there was nothing to act on";
    press(Qt::Key_Z);
    EXPECT_THAT(deck(), ElementsAre("errand"));
}

TEST_F(MainWindowTest, TheDeckFollowsTheStoreAndTheClock) {
    auto later = dated("later", "2026-01-14T10:02:00Z");
    manager.importReminders({std::make_shared<ZNReminderObject>(later)});
    settle();
    notifications.postNotificationName(ZNDatabaseDeDupedNotification);
    advance(std::chrono::seconds(1));
    EXPECT_THAT(deck(), ElementsAre("rent", "call", "errand"));
    advance(std::chrono::minutes(2));
    EXPECT_THAT(deck(), ElementsAre("later", "rent", "call", "errand"));

    manager.deleteReminder(stored("call"), ShouldSyncWithiCloud::Yes);
    advance(std::chrono::seconds(1));
    EXPECT_THAT(deck(), ElementsAre("later", "rent", "errand"));
}

TEST_F(MainWindowTest, CardCommandsRestWhileAnotherTabIsShown) {
    tabs->onSetActiveTab(1);
    EXPECT_FALSE(menu.completeItem().isEnabled());
    EXPECT_FALSE(tabs->cardController().isVisible());
    press(Qt::Key_Up);
    for (const auto name : {ZNCompleteTopCardMenuActionNotification, ZNSnoozeTopCardMenuActionNotification,
                            ZNSkipTopCardMenuActionNotification, ZNSkipTopCardLeftMenuActionNotification}) {
        notifications.postNotificationName(name);
    }
    advance(std::chrono::seconds(1));
    EXPECT_THAT(deck(), ElementsAre("rent", "call", "errand"));

    tabs->onSetActiveTab(0);
    EXPECT_TRUE(menu.completeItem().isEnabled());
    press(Qt::Key_Up);
    EXPECT_THAT(deck(), ElementsAre("call", "errand"));
}

TEST_F(MainWindowTest, WhatNoScreenCanShowIsKeptIfItIsStoredNowhere) {
    notifications.postNotificationName(ZNEditControllerRequested, stored("rent"));
    EXPECT_FALSE(std::filesystem::exists(kept.file()));
    notifications.postNotificationName(ZNShareControllerRequested, stored("call"));
    EXPECT_THAT(tabs->messages().message().toStdString(), HasSubstr("Sharing"));

    links.open("zun.create://Bring%20keys?n=For%20Ana");
    EXPECT_THAT(tabs->messages().message().toStdString(), HasSubstr("Bring keys"));
    std::ifstream file(kept.file());
    std::string line;
    ASSERT_TRUE(std::getline(file, line));
    const auto record = boost::json::parse(line);
    EXPECT_EQ(record.at("title"), "Bring keys");
    EXPECT_EQ(record.at("notes"), "For Ana");
}

TEST_F(MainWindowTest, ACardWhoseWriteFailsComesBackAtOnce) {
    cards().shouldSnoozeTopCard();
    notifications.postNotificationName(ZNDatabaseDeDupedNotification);
    settle();
    ASSERT_THAT(deck(), ElementsAre("call", "errand")) << "a fetch meanwhile does not bring it back";
    cards().writeFailed();
    EXPECT_THAT(deck(), ElementsAre("rent", "call", "errand"));
}

TEST_F(MainWindowTest, ACardPassesOverTheToolbar) {
    // Here the logo lies in the way of the date line.
    window.resize(ZNWindow::smallest);
    advance(std::chrono::seconds(1));
    ZNStackView& stack = cards().stackView();
    const auto swipe = [&](Qt::ScrollPhase phase, QPoint way) {
        QWheelEvent event({200, 300}, stack.mapToGlobal(QPointF(200, 300)), way, {}, Qt::NoButton, Qt::NoModifier,
                          phase, true);
        QCoreApplication::sendEvent(&stack, &event);
    };
    const QRect card(stack.stackViews().front()->mapTo(&window, QPoint()), QSize(301, 120));
    const QRect inside = card.adjusted(12, 12, -12, 0);
    const QImage atRest = window.grab(inside).toImage();
    for (const int way : {-76, -80}) {
        swipe(Qt::ScrollBegin, {});
        swipe(Qt::ScrollUpdate, {0, way});
        EXPECT_EQ(window.grab(inside.translated(0, way)).toImage(), atRest) << way;
        swipe(Qt::ScrollEnd, {});
        advance(std::chrono::seconds(1));
    }
}

TEST_F(MainWindowTest, TheWindowIsHeldByItsBareGroundAlone) {
    window.resize(ZNWindow::smallest);
    advance(std::chrono::seconds(1));
    const struct {
        const char* name;
        QPoint place;
        bool holds;
    } cases[] = {
        {"beside the card", {20, 300}, true},   {"the toolbar's ground", {150, 15}, true},
        {"the logo", {200, 40}, true},          {"a button of the toolbar", {36, 40}, false},
        {"the card's text", {200, 150}, false}, {"the message that the click brought", {100, 400}, false},
    };
    for (const auto& c : cases) {
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, c.place);
        EXPECT_EQ(window.isHeldByGround(), c.holds) << c.name;
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, c.place);
        EXPECT_FALSE(window.isHeldByGround()) << c.name;
    }
}

TEST_F(MainWindowTest, ADirectionAskedForInVainTurnsNoLaterSkip) {
    cards().shouldCompleteTopCard();
    cards().shouldSkipTopCard(ZNCardViewController::FlyLeft::Yes);
    advance(std::chrono::seconds(1));
    ASSERT_THAT(deck(), ElementsAre("call", "errand"));
    cards().shouldSkipTopCard();
    const auto* skipped = cards().stackView().stackViews().back();
    EXPECT_GT(skipped->centerX.value(), skipped->restX);
}

TEST_F(MainWindowTest, MessagesAreShortTrueAndGoWithAKey) {
    MessageBar& messages = tabs->messages();
    links.open("zun.create://" + std::string(1'000'000, 'a') + "%0Asecond%20line");
    EXPECT_LT(messages.message().size(), 200);
    EXPECT_FALSE(messages.message().contains('\n'));

    const auto state = kept.file().parent_path();
    std::filesystem::remove_all(state);
    std::ofstream(state) << "in the way";
    links.open("zun.create://Bring%20keys");
    EXPECT_THAT(messages.message().toStdString(), HasSubstr("could not be kept"));

    messages.showMessage(QString(2000, 'x'), MessageBar::Stays::UntilClicked);
    EXPECT_TRUE(tabs->rect().contains(messages.geometry()));
    messages.setFocus();
    press(Qt::Key_Escape, Qt::NoModifier);
    EXPECT_FALSE(messages.isVisible());
}

}  // namespace
}  // namespace zun
