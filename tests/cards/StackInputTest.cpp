#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qpa/qwindowsysteminterface.h>

#include <QSignalSpy>
#include <QTest>

#include "cards/CardWorld.h"
#include "core/NotificationNames.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What devices send, through the doors of the window system where there are any.
class StackInput : public CardWorld {
  protected:
    void dealRichCard() {
        deck.push_back(std::make_shared<ZNReminderObject>());
        deck.back()->setTitle("A");
        deck.back()->setNotes("See https://example.org/a.");
        deck.back()->setChecklist("[ ] one");
        deck.back()->setShareURL("https://example.org/share");
        deck.push_back(std::make_shared<ZNReminderObject>());
        stack->onSetDelegate(this);
        advance(100);
    }
    [[nodiscard]] CardControls& controls() const { return *item(0).controls(); }
    [[nodiscard]] static QPoint middle(const QWidget& widget) {
        return widget.mapTo(widget.window(), widget.rect().center());
    }
    void drag(QPoint from, QPoint way) {
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, from);
        for (int step = 1; step <= 4; ++step)
            QTest::mouseMove(window.windowHandle(), from + way * step / 4);
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, from + way);
        advance(400);
    }
};

TEST_F(StackInput, ClicksActAndDragsSwipe) {
    const struct {
        const char* where;
        QPoint way;
        std::vector<std::string> expected;
    } cases[] = {
        {"text", {0, 0}, {"edit"}},
        {"text", {9, 9}, {"edit"}},
        {"text", {12, 12}, {}},
        {"text", {160, 0}, {"skip A"}},
        {"text", {0, -130}, {"completed A"}},
        {"text", {0, 130}, {"snoozed A"}},
        {"complete", {0, 0}, {"completed A"}},
        {"snooze", {2, 0}, {"snoozed A"}},
        {"skip", {0, 0}, {"skip A"}},
        {"complete", {30, 0}, {}},
        {"complete", {-150, 0}, {"skip A"}},
    };
    for (const auto& c : cases) {
        deal({"A", "B", "C"});
        log.clear();
        const std::string where = c.where;
        const QWidget& target = where == "complete" ? controls().footer().completeButton()
                                : where == "snooze" ? controls().footer().snoozeButton()
                                : where == "skip"   ? controls().footer().skipButton()
                                                    : controls().editButton();
        // 20 points are summed move by move, so short ways are sent at once.
        const QPoint from = middle(target);
        if (c.way.manhattanLength() < 30) {
            QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, from);
            QTest::mouseMove(window.windowHandle(), from + c.way);
            if (c.way == QPoint(12, 12)) QTest::mouseMove(window.windowHandle(), from);
            QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {},
                                from + (c.way == QPoint(12, 12) ? QPoint() : c.way));
            advance(400);
        } else {
            drag(from, c.way);
        }
        EXPECT_EQ(log, c.expected) << c.where << " dragged by " << c.way.x() << ", " << c.way.y();
    }
}

TEST_F(StackInput, FollowsAFinger) {
    deal({"A", "B", "C"});
    const std::unique_ptr<QPointingDevice> screenDevice(QTest::createTouchDevice());
    const auto touch = [&](QPoint from, QPoint way) {
        log.clear();
        QTest::touchEvent(&window, screenDevice.get()).press(1, from, &window);
        for (int step = 1; step <= 3; ++step)
            QTest::touchEvent(&window, screenDevice.get()).move(1, from + way * step / 3, &window);
        QTest::touchEvent(&window, screenDevice.get()).release(1, from + way, &window);
        advance(400);
        return log;
    };
    EXPECT_THAT(touch(middle(controls().editButton()), {6, 0}), ElementsAre("edit"));
    EXPECT_THAT(touch(middle(controls().footer().skipButton()), {0, 0}), ElementsAre("skip A"));
    EXPECT_THAT(touch(middle(controls().footer().skipButton()), {30, 0}), IsEmpty());
    EXPECT_THAT(touch(middle(controls().editButton()), {0, -150}), ElementsAre("completed B"));
}

TEST_F(StackInput, NeverCompletesByAPlainWheel) {
    deal({"A", "B", "C"});
    const auto turn = [&](QPoint units, int times) {
        log.clear();
        for (int i = 0; i < times; ++i) {
            const QPointF position = middle(*stack);
            QWindowSystemInterface::handleWheelEvent(window.windowHandle(), position, window.mapToGlobal(position), {},
                                                     units);
            QCoreApplication::sendPostedEvents();
            QWindowSystemInterface::sendWindowSystemEvents(QEventLoop::AllEvents);
            advance(30);
        }
        advance(600);
        return log;
    };
    EXPECT_THAT(turn({0, 120}, 40), IsEmpty());
    EXPECT_THAT(turn({0, -120}, 40), IsEmpty());
    EXPECT_THAT(turn({120, 0}, 3), IsEmpty()) << "120 points";
    EXPECT_THAT(turn({-120, 0}, 4), ElementsAre("skip A")) << "160 points";
    EXPECT_EQ(item(0).centerY.shown(), 13);
}

TEST_F(StackInput, TakesRealPhasesFromTheWindowSystem) {
    deal({"A", "B", "C"});
    const auto send = [&](QPoint pixels, Qt::ScrollPhase phase) {
        const QPointF position = middle(*stack);
        // Events without angles go nowhere, so touchpads come with both.
        QWindowSystemInterface::handleWheelEvent(window.windowHandle(), position, window.mapToGlobal(position), pixels,
                                                 pixels * 3, {}, phase, Qt::MouseEventNotSynthesized);
        QWindowSystemInterface::sendWindowSystemEvents(QEventLoop::AllEvents);
    };
    send({}, Qt::ScrollBegin);
    for (int i = 0; i < 30; ++i)
        send({0, -5}, Qt::ScrollUpdate);
    send({}, Qt::ScrollEnd);
    send({}, Qt::ScrollEnd);
    advance(400);
    EXPECT_THAT(log, ElementsAre("completed A"));
}

TEST_F(StackInput, OffersItsButtonsLinksAndTexts) {
    dealRichCard();
    const CardControls& all = controls();
    EXPECT_TRUE(all.sharingButton().isVisible());
    EXPECT_TRUE(all.checklistButton().isVisible());
    EXPECT_EQ(all.checklistButton().y() - all.sharingButton().y(), 44);
    EXPECT_EQ(all.checklistButton().toolTip(), "Checklist_Card_Tooltip");
    EXPECT_EQ(all.footer().skipButton().accessibleName(), "Skip_Button_Accessibility_Label");
    ASSERT_TRUE(all.linkButtons().front()->isVisible());
    EXPECT_EQ(all.linkButtons().front()->accessibleName(), "https://example.org/a");
    EXPECT_FALSE(all.linkButtons().at(1)->isVisible());
    EXPECT_EQ(window.childAt(middle(*all.linkButtons().front())), all.linkButtons().front())
        << "above the area that edits";

    std::vector<std::string> posted;
    const auto note = [&](const NSNotification& notification) {
        posted.emplace_back(std::any_cast<ReminderPtr>(notification.object)->title() + " " +
                            std::string(notification.name));
    };
    const Observation checklist = center.addObserver(ZNChecklistRequestedNotification, note);
    const Observation share = center.addObserver(ZNShareControllerRequested, note);
    QTest::mouseClick(&all.checklistButton(), Qt::LeftButton);
    QTest::mouseClick(&all.sharingButton(), Qt::LeftButton);
    EXPECT_THAT(posted, ElementsAre("A com.zunlabs.ZNChecklistRequestedNotification",
                                    "A com.zunlabs.ZNShareControllerRequested"));

    QTest::mouseClick(&all.footer().completeButton(), Qt::RightButton);
    QTest::mouseClick(&all.footer().snoozeButton(), Qt::RightButton);
    EXPECT_THAT(log, ElementsAre("snooze menu")) << "other buttons have no menu";

    deck.front()->setChecklist(std::nullopt);
    dispatch.runUntilIdle();
    EXPECT_FALSE(all.checklistButton().isVisible());
}

TEST_F(StackInput, SpeaksOnlyForTheTopCard) {
    dealRichCard();
    QAccessibleInterface* speaks = QAccessible::queryAccessibleInterface(stack);
    ASSERT_NE(speaks, nullptr);
    EXPECT_EQ(speaks->role(), QAccessible::Grouping);
    const auto spokenCards = [speaks] {
        QStringList names;
        for (int i = 0; i < speaks->childCount(); ++i) {
            if (!speaks->child(i)->state().invisible) names.push_back(speaks->child(i)->text(QAccessible::Name));
        }
        return names;
    };
    EXPECT_EQ(spokenCards(), QStringList("card A"));
    QAccessibleInterface* button = QAccessible::queryAccessibleInterface(&controls().footer().completeButton());
    EXPECT_EQ(button->role(), QAccessible::PushButton);
    ASSERT_NE(button->actionInterface(), nullptr);
    button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    advance(100);
    EXPECT_EQ(spokenCards(), QStringList()) << "buttons that would not answer yet";
    advance(300);
    EXPECT_THAT(log, ElementsAre("completed A"));
}

TEST_F(StackInput, LeadsTheTabKeyOnceThroughTheTopCard) {
    dealRichCard();
    QApplication::setActiveWindow(&window);
    const CardControls& all = controls();
    const std::vector<const QWidget*> expected{
        &all.editButton(),         all.linkButtons().front(),      &all.sharingButton(),
        &all.checklistButton(),    &all.footer().completeButton(), &all.footer().snoozeButton(),
        &all.footer().skipButton()};
    std::vector<const QWidget*> visited;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const QImage before = screen();
        QTest::keyClick(&window, Qt::Key_Tab);
        visited.push_back(QApplication::focusWidget());
        ASSERT_NE(visited.back(), nullptr);
        EXPECT_FALSE(visited.back()->accessibleName().isEmpty());
        EXPECT_NE(screen(), before) << "the focus is seen on " << visited.back()->accessibleName().toStdString();
    }
    EXPECT_EQ(visited, expected);
    QTest::keyClick(&window, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), expected.front()) << "cards below are not on the way";
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_THAT(log, ElementsAre("edit"));
}

TEST_F(StackInput, KeepsTheKeyboardOnTheSameButtonOfTheNextCard) {
    deal({"A", "B", "C"});
    window.activateWindow();
    QApplication::setActiveWindow(&window);
    controls().footer().snoozeButton().setFocus(Qt::TabFocusReason);
    QTest::keyClick(&window, Qt::Key_Return);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    advance(400);
    EXPECT_EQ(QApplication::focusWidget(), &controls().footer().snoozeButton());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    advance(400);
    EXPECT_EQ(log.back(), "snoozed B");
}

}  // namespace
}  // namespace zun
