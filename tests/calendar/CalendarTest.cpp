#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QListView>
#include <QTest>
#include <chrono>

#include "calendar/ZNCalendarViewController.h"
#include "core/ManagerWorld.h"
#include "core/NotificationNames.h"
#include "toolkit/ZNButton.h"

namespace zun {
namespace {

using testing::ElementsAre;

// The calendar over a real store, on a Wednesday, in Berlin.
class Calendar : public testing::Test, protected ManagerWorld {
  protected:
    Calendar() : ManagerWorld(1, "2026-01-14T10:00:00Z") {
        environment.setTimeZone("Europe/Berlin");
        window.resize(320, 700);
        observation = notifications.addObserver(ZNEditControllerRequested, [this](const NSNotification& notification) {
            edited.push_back(std::any_cast<ReminderPtr>(notification.object)->reminderID().value_or(""));
        });
    }
    void open() {
        controller = new ZNCalendarViewController({dispatch, notifications, settings, pictures, manager, environment,
                                                   strings, [this] { return QSizeF(1280, window.height()); }},
                                                  &window);
        controller->resize(window.size());
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        settle();
    }
    void save(const char* id, const char* start) {
        manager.saveReminder(recordOf(id, start), ShouldSyncWithiCloud::No);
    }
    ReminderPtr recordOf(const char* id, const char* start) const {
        return std::make_shared<ZNReminderObject>(dated(id, start));
    }
    [[nodiscard]] ZNCalendarView& month() const { return controller->calendarView(); }
    // The cell of the month shown with this number.
    [[nodiscard]] ZNCalendarViewCell& day(const char* number,
                                          ZNCalendarViewCell::Month of = ZNCalendarViewCell::Month::Shown) const {
        for (int i = 0; i < MonthGrid::rows * MonthGrid::columns; ++i) {
            auto& cell = month().cell(i / MonthGrid::columns, i % MonthGrid::columns);
            if (cell.text() == number && cell.month() == of) return cell;
        }
        ADD_FAILURE() << "no day " << number;
        return month().cell(0, 0);
    }
    [[nodiscard]] std::string marked() const {
        std::string days;
        for (int i = 0; i < MonthGrid::rows * MonthGrid::columns; ++i) {
            const auto& cell = month().cell(i / MonthGrid::columns, i % MonthGrid::columns);
            if (cell.hasEvents()) days += cell.text().toStdString() + " ";
        }
        return days;
    }
    [[nodiscard]] std::vector<std::string> rows() const {
        std::vector<std::string> all;
        const auto* model = controller->tableView().model();
        for (int row = 0; row < model->rowCount(); ++row)
            all.push_back(model->index(row, 0).data(Qt::UserRole).toString().toStdString());
        return all;
    }
    [[nodiscard]] std::string selected() const { return environment.timeZone() ? dayText(month().selectedDate()) : ""; }
    [[nodiscard]] std::string dayText(NSDate date) const {
        return labels.dateAsShortStringWithWeekdayDayMonthYear(date, ShowTime::No, ShowYear::Yes);
    }
    static std::string focused() {
        const auto* widget = QApplication::focusWidget();
        return widget ? widget->accessibleName().toStdString() : "";
    }
    static void press(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }

    Pictures pictures;
    QWidget window;
    ZNCalendarViewController* controller = nullptr;
    std::vector<std::string> edited;
    Observation observation;
};

TEST_F(Calendar, ShowsTheDaysRemindersAndOpensThem) {
    save("noon", "2026-01-20T12:00:00");
    save("early", "2026-01-20T06:00:00");
    save("late", "2026-01-31T23:30:00");
    save("past", "2026-01-10T12:00:00");
    auto place = recordOf("place", "2026-01-22T12:00:00");
    place->setLocationLatitude(1);
    place->setLocationLongitude(1);
    manager.saveReminder(place, ShouldSyncWithiCloud::No);
    auto noStart = recordOf("no start", "2026-01-23T12:00:00");
    noStart->onSetStartDate({});
    manager.saveReminder(noStart, ShouldSyncWithiCloud::No);
    settle();
    open();
    EXPECT_EQ(month().calendarTitle(), "JANUARY 2026");
    EXPECT_EQ(marked(), "20 31 ");
    EXPECT_EQ(selected(), "Wed, Jan 14, 2026");
    EXPECT_TRUE(controller->zeroState().isVisible());
    EXPECT_EQ(controller->zeroState().text(), "No reminders on January 14");

    QTest::mouseClick(&day("20"), Qt::LeftButton);
    EXPECT_FALSE(controller->zeroState().isVisible());
    auto fetched = ids(manager.fetchAllRemindersWithDates());
    std::erase_if(fetched, [](const std::string& id) { return id != "noon" && id != "early"; });
    EXPECT_THAT(rows(), ElementsAre(fetched.at(1), fetched.at(0))) << "in the reverse order of the fetch";
    QTest::mouseClick(controller->tableView().viewport(), Qt::LeftButton, {}, QPoint(60, 20));
    EXPECT_THAT(edited, ElementsAre(rows().front()));

    // By keys alone, from the month into the list.
    day("20").setFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    ASSERT_TRUE(controller->tableView().hasFocus());
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(edited.back(), rows().back());

    // One that went meanwhile opens nothing.
    auto stale = manager.fetchReminderWithReminderID(rows().back());
    database.removeReminder(stale);
    database.waitForWrites();
    press(Qt::Key_Return);
    EXPECT_EQ(edited.size(), 2u);
}

TEST_F(Calendar, FollowsEveryChangeWithoutLosingTheSelection) {
    open();
    QTest::mouseClick(&day("20"), Qt::LeftButton);
    auto reminder = recordOf("a", "2026-01-20T12:00:00");
    manager.saveReminder(reminder, ShouldSyncWithiCloud::No);
    settle();
    EXPECT_EQ(marked(), "20 ");
    EXPECT_THAT(rows(), ElementsAre("a"));
    manager.snoozeReminder(reminder, at("2026-01-21T08:00:00"));
    settle();
    EXPECT_EQ(marked(), "21 ");
    EXPECT_TRUE(rows().empty());
    EXPECT_EQ(selected(), "Tue, Jan 20, 2026");

    // While nobody sees it nothing is fetched; it catches up.
    controller->hide();
    save("b", "2026-01-20T12:00:00");
    settle();
    EXPECT_FALSE(controller->isUpToDate());
    controller->show();
    settle();
    EXPECT_TRUE(controller->isUpToDate());
    EXPECT_EQ(marked(), "20 21 ");
    EXPECT_THAT(rows(), ElementsAre("b"));
}

TEST_F(Calendar, ClicksAndArrowsStepByMonthNumbers) {
    open();
    using Month = ZNCalendarViewCell::Month;
    QTest::mouseClick(&month().prevButton(), Qt::LeftButton);
    EXPECT_EQ(month().calendarTitle(), "DECEMBER 2025");
    EXPECT_EQ(selected(), "Wed, Jan 14, 2026") << "arrows leave the selection";
    // January, shown in December, counts as earlier.
    QTest::mouseClick(&day("3", Month::Other), Qt::LeftButton);
    EXPECT_EQ(month().calendarTitle(), "NOVEMBER 2025");
    EXPECT_EQ(selected(), "Sat, Jan 3, 2026");
    month().setDate(at("2026-03-05T00:00:00"));
    QTest::mouseClick(&day("3", Month::Other), Qt::LeftButton);
    EXPECT_EQ(month().calendarTitle(), "APRIL 2026");
    EXPECT_EQ(selected(), "Fri, Apr 3, 2026");
    EXPECT_TRUE(day("3").selected()) << "the day stays selected in the month stepped to";
    month().setDate(at("2026-01-31T00:00:00"));
    QTest::mouseClick(&month().nextButton(), Qt::LeftButton);
    EXPECT_EQ(month().calendarTitle(), "FEBRUARY 2026");
    EXPECT_EQ(dayText(month().date()), "Sat, Feb 28, 2026");
}

TEST_F(Calendar, MovesTheSelectionByKeysAndSpeaksIt) {
    save("a", "2026-01-15T12:00:00");
    save("b", "2026-01-16T12:00:00");
    save("c", "2026-01-16T13:00:00");
    settle();
    open();
    day("14").setFocus(Qt::TabFocusReason);
    EXPECT_EQ(focused(), "January 14, today");
    const struct {
        Qt::Key key;
        const char *spoken, *title;
    } steps[] = {
        {Qt::Key_Right, "January 15, 1 reminder", "JANUARY 2026"},
        {Qt::Key_Right, "January 16, 2 reminders", "JANUARY 2026"},
        {Qt::Key_Home, "January 11", "JANUARY 2026"},
        {Qt::Key_Up, "January 4", "JANUARY 2026"},
        {Qt::Key_Up, "December 28", "DECEMBER 2025"},
        {Qt::Key_End, "January 3", "JANUARY 2026"},
        {Qt::Key_PageUp, "December 3", "DECEMBER 2025"},
        {Qt::Key_Down, "December 10", "DECEMBER 2025"},
        {Qt::Key_PageDown, "January 10", "JANUARY 2026"},
    };
    for (const auto& c : steps) {
        press(c.key);
        EXPECT_EQ(focused(), c.spoken);
        EXPECT_EQ(month().calendarTitle().toStdString(), c.title) << c.spoken;
        auto* cell = qobject_cast<ZNCalendarViewCell*>(QApplication::focusWidget());
        ASSERT_NE(cell, nullptr);
        EXPECT_EQ(cell->representedDate(), month().selectedDate());
        const auto state = QAccessible::queryAccessibleInterface(cell)->state();
        EXPECT_TRUE(state.checked && state.focused);
    }
    window.setLayoutDirection(Qt::RightToLeft);
    press(Qt::Key_Right);
    EXPECT_EQ(focused(), "January 9");
    EXPECT_GT(day("9").x(), day("10").x()) << "later days stand further left";
    // Tab goes by the month in one step.
    int stops = 0;
    for (auto* cell : month().findChildren<ZNCalendarViewCell*>())
        stops += (cell->focusPolicy() & Qt::TabFocus) != 0;
    EXPECT_EQ(stops, 1);
}

TEST_F(Calendar, IsMadeAnewForAnotherZoneRegionAndDay) {
    save("night", "2026-01-20T23:30:00Z");
    settle();
    open();
    QTest::mouseClick(&day("20"), Qt::LeftButton);
    EXPECT_EQ(marked(), "21 ") << "half past midnight in Berlin";
    environment.setTimeZone("America/Los_Angeles");
    controller->minutePassed();
    EXPECT_EQ(marked(), "20 ");
    EXPECT_EQ(selected(), "Tue, Jan 20, 2026");
    EXPECT_THAT(rows(), ElementsAre("night"));
    EXPECT_EQ(month().dayLabel(0), "SUN");
    environment.setLocale({"de_DE", {"en"}});
    controller->minutePassed();
    EXPECT_EQ(month().dayLabel(0), "MO");
    EXPECT_EQ(month().calendarTitle(), "JANUAR 2026");
    EXPECT_TRUE(day("14").isToday());
    dispatch.advance(std::chrono::hours(24));
    controller->minutePassed();
    EXPECT_TRUE(day("15").isToday());
    EXPECT_FALSE(day("14").isToday());
}

TEST_F(Calendar, BearsADayOfManyReminders) {
    std::vector<ReminderPtr> many;
    for (int i = 0; i < 10000; ++i) {
        many.push_back(std::make_shared<ZNReminderObject>(dated("r" + std::to_string(i), "2026-01-20T12:00:00")));
        many.back()->setTitle(std::string(i == 9999 ? 1 << 20 : 40, 'x'));
    }
    manager.importReminders(many);
    settle();
    open();
    QTest::mouseClick(&day("20"), Qt::LeftButton);
    window.grab();
    EXPECT_EQ(controller->tableView().model()->rowCount(), 10000);
    EXPECT_EQ(day("20").accessibleName(), "January 20, 10000 reminders");
}

}  // namespace
}  // namespace zun
