#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QListView>
#include <QTest>
#include <QUndoStack>
#include <QWheelEvent>

#include "calendar/ZNCalendarViewController.h"
#include "cards/CardControls.h"
#include "cards/CardWorld.h"
#include "cards/ZNCardViewController.h"
#include "core/ManagerWorld.h"
#include "toolkit/ZNPopover.h"

namespace zun {
namespace {

using testing::ElementsAre;

// The card screen over a real store, on Wednesday the 14th at half past ten.
class Snooze : public testing::Test, protected ManagerWorld {
  protected:
    explicit Snooze(QSize size = {500, 600}) : ManagerWorld(1, "2026-01-14T10:30:20Z") {
        window.resize(size);
        store(dated("a", "2026-01-14T09:15:00Z"));
        store(dated("b", "2026-01-13T09:15:00Z"));
    }
    void open() {
        settings.setWindowLayoutMode(window.width() > 980 ? 3 : 2);
        screen = new ZNCardViewController({cards, manager, environment, undo, strings, labels}, &window);
        screen->resize(window.size());
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        screen->fetchData();
        advance(std::chrono::seconds(1));
    }
    void advance(std::chrono::milliseconds time) {
        dispatch.advance(time);
        settle();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    void advance(int milliseconds) { advance(std::chrono::milliseconds(milliseconds)); }
    [[nodiscard]] ZNStackViewItem& card() const { return *screen->stackView().stackViews().front(); }
    [[nodiscard]] ZNButton& button() const { return *card().snoozeButton(); }
    [[nodiscard]] QPoint middleOfButton() const { return button().mapTo(&window, button().rect().center()); }
    [[nodiscard]] static ZNSnoozeMenu* menu() { return qobject_cast<ZNSnoozeMenu*>(QApplication::activePopupWidget()); }
    // The tags offered, and choosing one by a click.
    [[nodiscard]] static std::vector<int> tags() {
        std::vector<int> all;
        for (const auto* item : menu()->actions())
            all.push_back(item->isSeparator() ? -1 : item->data().toInt());
        return all;
    }
    void choose(int tag) {
        for (auto* item : menu()->actions()) {
            if (item->isSeparator() || item->data().toInt() != tag) continue;
            QTest::mouseClick(menu(), Qt::LeftButton, {}, menu()->actionGeometry(item).center());
            break;
        }
        advance(1000);
    }
    void rightClick() { QTest::mouseClick(&button(), Qt::RightButton); }
    [[nodiscard]] std::vector<std::string> deck() const { return ids(screen->reminders()); }
    [[nodiscard]] ZNSnoozePopoverViewController& picker() const {
        return static_cast<ZNSnoozePopoverViewController&>(screen->snoozePopover()->content());
    }
    void openPicker() {
        rightClick();
        choose(ZNSnoozeMenu::SelectDate);
        ASSERT_NE(screen->snoozePopover(), nullptr);
    }

    Pictures pictures;
    ZNAnimationTimeline animations{dispatch};
    PlainTexts texts;
    QUndoStack undo;
    ZNGradientView window;
    CardContext cards{
        dispatch, notifications, settings, pictures, animations, texts, [this] { return QSizeF(window.size()); }};
    ZNCardViewController* screen = nullptr;
};

TEST_F(Snooze, OffersDatesThatFitTheHour) {
    open();
    const struct {
        const char* now;
        std::vector<int> tags;
        std::vector<const char*> dates;  // of the tags 0 to 4
    } cases[] = {
        {"2026-01-14T10:30:20Z",
         {0, 1, 2, 3, 4, -1, 5},
         {"2026-01-14T10:45:20Z", "2026-01-14T11:30:20Z", "2026-01-14T18:30:20Z", "2026-01-15T09:15:00Z",
          "2026-01-17T08:00:00Z"}},
        {"2026-01-14T17:59:59Z",
         {0, 1, 2, 3, 4, -1, 5},
         {"2026-01-14T18:14:59Z", "2026-01-14T18:59:59Z", "2026-01-14T18:59:59Z", "2026-01-15T09:15:00Z",
          "2026-01-17T08:00:00Z"}},
        // In the evening there is no tonight; the tags of the others stay.
        {"2026-01-14T18:00:00Z",
         {0, 1, 3, 4, -1, 5},
         {"2026-01-14T18:15:00Z", "2026-01-14T19:00:00Z", "2026-01-15T18:00:00Z", "2026-01-15T09:15:00Z",
          "2026-01-17T08:00:00Z"}},
    };
    for (const auto& c : cases) {
        environment.setNow(c.now);
        rightClick();
        ASSERT_NE(menu(), nullptr) << c.now;
        EXPECT_EQ(tags(), c.tags) << c.now;
        EXPECT_GE(menu()->width(), 180);
        for (int tag = 0; tag <= 4; ++tag)
            EXPECT_EQ(menu()->snoozeDateForTag(tag), at(c.dates[static_cast<std::size_t>(tag)])) << c.now << " " << tag;
        menu()->close();
        advance(10);
    }
}

TEST_F(Snooze, OpensByEveryDeviceAndSnoozesWhatItWasOpenedFor) {
    open();
    const std::unique_ptr<QPointingDevice> finger(QTest::createTouchDevice());
    const QPoint middle = middleOfButton();
    const auto hold = [&](int milliseconds) {
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, middle);
        advance(milliseconds);
    };
    const struct {
        const char* how;
        std::function<void()> open, end;
    } ways[] = {
        {"right click", [&] { rightClick(); }, [] {}},
        {"menu key", [&] { QTest::keyClick(&button(), Qt::Key_Menu); }, [] {}},
        {"shift and F10", [&] { QTest::keyClick(&button(), Qt::Key_F10, Qt::ShiftModifier); }, [] {}},
        {"held mouse", [&] { hold(520); },
         [&] { QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, middle); }},
        {"held finger",
         [&] {
             QTest::touchEvent(&window, finger.get()).press(1, middle, &window);
             advance(520);
         },
         [&] { QTest::touchEvent(&window, finger.get()).release(1, middle, &window); }},
    };
    for (const auto& way : ways) {
        way.open();
        EXPECT_NE(menu(), nullptr) << way.how;
        if (menu()) menu()->close();
        way.end();
        advance(1000);
        EXPECT_THAT(deck(), ElementsAre("a", "b")) << way.how << ": letting go is no click";
    }
    // Let go earlier it is a click; moved away, a swipe or nothing.
    hold(300);
    QTest::mouseMove(window.windowHandle(), middle - QPoint(30, 0));
    advance(520);
    EXPECT_EQ(menu(), nullptr);
    QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, middle - QPoint(30, 0));
    advance(1000);
    EXPECT_THAT(deck(), ElementsAre("a", "b"));
    hold(300);
    QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, middle);
    advance(1000);
    EXPECT_THAT(deck(), ElementsAre("b"));
    undo.undo();
    advance(1000);

    // What was undone is ranked, and stands below a card that is not.
    rightClick();
    choose(ZNSnoozeMenu::OneHour);
    EXPECT_THAT(deck(), ElementsAre("a"));
    EXPECT_TRUE(stored("b")->onGetIsSnoozed());
    undo.undo();
    advance(1000);
    EXPECT_FALSE(stored("b")->onGetIsSnoozed());

    // Completed elsewhere while the menu is open: nothing happens to the card in its place.
    const auto top = deck().front();
    rightClick();
    manager.completeReminder(stored(top));
    advance(1000);
    choose(ZNSnoozeMenu::OneHour);
    ASSERT_EQ(deck().size(), 1u);
    EXPECT_FALSE(stored(deck().front())->onGetIsSnoozed());
}

TEST_F(Snooze, SaysWhenTheCardComesBackAndThatItIsQuiet) {
    auto open_ended = dated("c", "2026-01-14T09:15:00Z");
    open_ended.start_date = open_ended.due_date = open_ended.fire_date = {};
    open();
    rightClick();
    EXPECT_EQ(menu()->actions()[0]->toolTip().toStdString(), "Comes back today at 10:45\u202fAM");
    menu()->close();
    for (const char* id : {"a", "b"})
        manager.completeReminder(stored(id));
    store(open_ended);
    screen->fetchData();
    advance(1000);
    rightClick();
    EXPECT_EQ(menu()->actions()[0]->toolTip().toStdString(), "Comes back today at 10:45\u202fAM, without an alert");
    choose(ZNSnoozeMenu::SelectDate);
    EXPECT_EQ(picker().actionButton().toolTip(), "The card comes back without an alert");
}

TEST_F(Snooze, PicksADayAndATimeByKeys) {
    open();
    openPicker();
    EXPECT_EQ(screen->snoozePopover()->contentSize(), QSize(256, 280));
    // A press outside changes nothing, and the cards take no swipe.
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(3, 590));
    EXPECT_NE(screen->snoozePopover(), nullptr);
    const auto swipe = [&](QPoint way) {
        auto& stack = screen->stackView();
        const QPointF position = QRectF(stack.rect()).center();
        for (const auto phase : {Qt::ScrollBegin, Qt::ScrollUpdate, Qt::ScrollEnd}) {
            QWheelEvent event(position, stack.mapToGlobal(position), phase == Qt::ScrollUpdate ? way : QPoint(), {},
                              Qt::NoButton, Qt::NoModifier, phase, true);
            QCoreApplication::sendEvent(&stack, &event);
        }
        advance(1000);
    };
    swipe({0, -200});
    EXPECT_THAT(deck(), ElementsAre("a", "b"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    advance(500);
    EXPECT_EQ(screen->snoozePopover(), nullptr);
    EXPECT_THAT(deck(), ElementsAre("a", "b")) << "Escape leaves without snoozing";

    openPicker();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    picker().timePicker().setFocus(Qt::TabFocusReason);
    QTest::keyClick(&picker().timePicker(), Qt::Key_Up);
    QTest::keyClick(&picker().timePicker(), Qt::Key_Return);
    advance(1000);
    EXPECT_EQ(screen->snoozePopover(), nullptr);
    EXPECT_THAT(deck(), ElementsAre("b"));
    const auto fires = *stored("a")->fire_date();
    EXPECT_EQ(std::chrono::floor<std::chrono::minutes>(fires), at("2026-01-22T11:30:00Z"));
}

TEST_F(Snooze, ThePickerFollowsItsReminder) {
    open();
    openPicker();
    // A newer card comes on top; the chosen one is snoozed all the same.
    store(dated("c", "2026-01-14T10:00:00Z"));
    screen->fetchData();
    advance(500);
    ASSERT_NE(screen->snoozePopover(), nullptr);
    EXPECT_THAT(deck(), ElementsAre("c", "a", "b"));
    QTest::mouseClick(&picker().actionButton(), Qt::LeftButton);
    advance(1000);
    EXPECT_THAT(deck(), ElementsAre("c", "b"));
    EXPECT_TRUE(stored("a")->onGetIsSnoozed());
    openPicker();
    manager.deleteReminder(stored("c"), ShouldSyncWithiCloud::No);
    advance(1000);
    EXPECT_EQ(screen->snoozePopover(), nullptr) << "what it was for has gone";

    // A newer card comes while the menu is open: the picker is for the one that the menu was opened on.
    const auto top = deck().front();
    rightClick();
    store(dated("d", "2026-01-14T10:20:00Z"));
    screen->fetchData();
    advance(500);
    choose(ZNSnoozeMenu::SelectDate);
    ASSERT_NE(screen->snoozePopover(), nullptr);
    picker().datePicker().setDateValue(at("2026-01-16T10:00:00Z"));
    QTest::mouseClick(&picker().actionButton(), Qt::LeftButton);
    advance(1000);
    EXPECT_GE(stored(top)->fire_date().value_or(NSDate()), at("2026-01-16T10:00:00Z"));
    EXPECT_FALSE(stored("d")->onGetIsSnoozed());
    rightClick();
    manager.deleteReminder(stored(deck().front()), ShouldSyncWithiCloud::No);
    advance(1000);
    ASSERT_FALSE(deck().empty());
    choose(ZNSnoozeMenu::SelectDate);
    EXPECT_EQ(screen->snoozePopover(), nullptr) << "it has gone, and no other takes its place";
}

class WideScreen : public Snooze {
  protected:
    WideScreen() : Snooze({899, 700}) {}
};

TEST_F(WideScreen, HasTheCalendarBesideTheCards) {
    open();
    EXPECT_EQ(screen->calendarController(), nullptr) << "neither built nor fetched for a narrow window";
    const auto cardRect = [&] { return QRect(card().mapTo(&window, QPoint()), card().size()); };
    const auto resize = [&](QSize size) {
        settings.setWindowLayoutMode(size.width() > 980 ? 3 : 2);
        window.resize(size);
        screen->resize(size);
        advance(500);
    };
    EXPECT_NEAR(cardRect().center().x(), 449, 1);
    for (const QSize size : {QSize(900, 720), QSize(1280, 800), QSize(1600, 900)}) {
        resize(size);
        ASSERT_NE(screen->calendarController(), nullptr);
        const QRect calendar = screen->calendarController()->geometry();
        EXPECT_TRUE(screen->calendarController()->isVisible());
        EXPECT_GT(calendar.left(), cardRect().right()) << size.width();
        EXPECT_LE(calendar.right(), size.width()) << size.width();
        EXPECT_LE(calendar.bottom(), size.height()) << size.width();
        EXPECT_GE(screen->calendarController()->tableView().height(), 1);
    }
    resize({900, 720});
    window.setLayoutDirection(Qt::RightToLeft);
    resize({1280, 800});
    EXPECT_LT(screen->calendarController()->geometry().right(), cardRect().left());
    resize({880, 700});
    EXPECT_FALSE(screen->calendarController()->isVisible());
    EXPECT_NEAR(cardRect().center().x(), 440, 1) << "without the calendar the cards stand in the middle";
}

}  // namespace
}  // namespace zun
