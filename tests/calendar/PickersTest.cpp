#include <gtest/gtest.h>

#include <QApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include "platform/foundation/LocalizedStrings.h"
#include "support/QtApplication.h"
#include "support/TestEnvironment.h"
#include "toolkit/ZNDatePicker.h"
#include "toolkit/ZNPopupCalendarView.h"

namespace zun {
namespace {

[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new OneQtApplication);

using Elements = ZNDatePicker::Elements;

class Pickers : public testing::Test {
  protected:
    Pickers() {
        environment.setTimeZone("Europe/Berlin");
        environment.setNow("2026-01-31T09:05:07");
        window.resize(500, 500);
        window.setFocusPolicy(Qt::StrongFocus);
        window.setFocus();
    }
    void show() {
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    static void turnWheel(QWidget& widget, int units) {
        const QPointF position = QRectF(widget.rect()).center();
        QWheelEvent event(position, widget.mapToGlobal(position), {}, {0, units}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&widget, &event);
    }
    NSDate at(std::string_view text) const { return environment.date(text); }

    TestEnvironment environment;
    LocalizedStrings strings{{"en"}};
    QWidget window;
};

TEST_F(Pickers, WriteDatesAndTimesAsTheRegionDoes) {
    const struct {
        const char *locale, *date, *time;
    } cases[] = {
        {"en_US", "1/31/2026", "9:05 AM"}, {"en_GB", "31/01/2026", "9:05"},        {"de_DE", "31.1.2026", "9:05"},
        {"ja_JP", "2026/1/31", "9:05"},    {"ko_KR", "2026. 1. 31.", "오전 9:05"}, {"th_TH", "31/1/2026", "9:05"},
    };
    for (const auto& c : cases) {
        environment.setLocale({c.locale, {"en"}});
        const ZNDatePicker date(environment, Elements::YearMonthDay);
        const ZNDatePicker time(environment, Elements::HourMinute);
        EXPECT_EQ(date.text().toStdString(), c.date) << c.locale;
        // Some regions write the hour with two figures.
        const auto text = time.text();
        EXPECT_EQ((text.startsWith('0') ? text.mid(1) : text).toStdString(), c.time) << c.locale;
        EXPECT_EQ(date.dateValue(), environment.now());
    }
}

TEST_F(Pickers, TakeKeysAndKeepWhatIsNotShown) {
    ZNDatePicker date(environment, Elements::YearMonthDay, &window);
    ZNDatePicker time(environment, Elements::HourMinute, &window);
    time.move(0, 60);
    show();
    QSignalSpy changes(&date, &ZNDatePicker::didChange);
    QSignalSpy activations(&date, &ZNDatePicker::didBecomeActive);
    QSignalSpy resignations(&date, &ZNDatePicker::didResignActive);
    date.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(activations.size(), 1);
    // The month first in this region: the day gives way to a shorter month.
    QTest::keyClick(&date, Qt::Key_Up);
    EXPECT_EQ(date.dateValue(), at("2026-02-28T09:05:07"));
    QTest::keyClick(&date, Qt::Key_Right);
    QTest::keyClicks(&date, "9");
    EXPECT_EQ(date.dateValue(), at("2026-02-09T09:05:07"));
    EXPECT_EQ(changes.size(), 2);
    // A wheel over what has no focus only scrolls what is around it.
    turnWheel(time, 120);
    EXPECT_EQ(time.dateValue(), environment.now());
    QTest::keyClick(&date, Qt::Key_Tab);
    EXPECT_TRUE(time.hasFocus()) << "the tab key leaves the picker at once";
    EXPECT_EQ(resignations.size(), 1);
    turnWheel(time, 120);
    EXPECT_EQ(time.dateValue(), at("2026-01-31T10:05:07"));
    QTest::keyClick(&time, Qt::Key_Right);
    QTest::keyClick(&time, Qt::Key_Right);
    QTest::keyClick(&time, Qt::Key_P);
    EXPECT_EQ(time.dateValue(), at("2026-01-31T22:05:07"));
    changes.clear();
    date.setDateValue(at("2030-05-05T00:00:00"));
    EXPECT_TRUE(changes.isEmpty()) << "only what the user does is told";
}

TEST_F(Pickers, FollowTheZonesGapsAndLimits) {
    environment.setLocale({"de_DE", {"en"}});
    ZNDatePicker date(environment, Elements::YearMonthDay, &window);
    show();
    date.setDateValue(at("2026-03-28T02:30:00"));
    date.setFocus();
    QTest::keyClick(&date, Qt::Key_Up);
    EXPECT_EQ(date.dateValue(), at("2026-03-29T03:30:00")) << "the time that is skipped moves on";

    date.setMinDate(at("2026-03-20T12:00:00"));
    date.setDateValue(at("2026-03-20T08:00:00"));
    EXPECT_EQ(date.dateValue(), at("2026-03-20T12:00:00"));
    date.setMinDate({});

    // The second of two equal hours is not mistaken for the first.
    const NSDate second = at("2026-10-25T01:30:00Z");
    ZNDatePicker time(environment, Elements::HourMinute, &window);
    time.setDateValue(second);
    EXPECT_EQ(time.text(), "02:30");
    EXPECT_EQ(time.dateValue(), second);
    environment.setTimeZone("Asia/Tokyo");
    time.surroundingsDidChange();
    EXPECT_EQ(time.text(), "10:30");
    window.setLayoutDirection(Qt::RightToLeft);
    EXPECT_EQ(time.text(), "10:30") << "figures are not mirrored";
    EXPECT_EQ(time.dateValue(), second);

    environment.setTimeZone("Europe/Berlin");
    EXPECT_EQ(mergeDateWithTime(at("2026-03-29T12:00:00"), at("2026-01-01T02:30:40"), environment),
              at("2026-03-29T03:30:40"));
}

class MonthPicker : public Pickers {
  protected:
    [[nodiscard]] QAbstractButton* day(const char* name) const {
        for (auto* button : picker.findChildren<QAbstractButton*>())
            if (button->accessibleName() == name) return button;
        return nullptr;
    }
    [[nodiscard]] std::string focused() const {
        const auto* widget = QApplication::focusWidget();
        return widget ? widget->accessibleName().toStdString() : "";
    }
    ZNCalendarPicker picker{environment, strings, &window};
};

TEST_F(MonthPicker, ChoosesByClickAndKeysAndKeepsTheTimeOfDay) {
    picker.resize(ZNCalendarPicker::naturalSize);
    show();
    QSignalSpy changes(&picker, &ZNCalendarPicker::didChange);
    QTest::mouseClick(day("Thu, Jan 15, 2026"), Qt::LeftButton);
    EXPECT_EQ(picker.dateValue(), at("2026-01-15T09:05:07"));
    EXPECT_TRUE(day("Thu, Jan 15, 2026")->isChecked());
    // A day of the next month takes its month along.
    QTest::mouseClick(day("Sat, Feb 7, 2026"), Qt::LeftButton);
    EXPECT_EQ(picker.accessibleName(), "February 2026");
    EXPECT_EQ(changes.size(), 2);
    turnWheel(picker, -120);
    EXPECT_EQ(picker.accessibleName(), "March 2026");
    EXPECT_EQ(changes.size(), 2) << "leafing chooses nothing";

    picker.setDateValue(at("2026-01-31T09:00:00"));
    picker.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(focused(), "Sat, Jan 31, 2026");
    const struct {
        Qt::Key key;
        const char* day;
    } steps[] = {{Qt::Key_PageDown, "Sat, Feb 28, 2026"}, {Qt::Key_Home, "Sun, Feb 22, 2026"},
                 {Qt::Key_Left, "Sat, Feb 21, 2026"},     {Qt::Key_Down, "Sat, Feb 28, 2026"},
                 {Qt::Key_Right, "Sun, Mar 1, 2026"},     {Qt::Key_End, "Sat, Mar 7, 2026"},
                 {Qt::Key_Up, "Sat, Feb 28, 2026"}};
    for (const auto& c : steps) {
        QTest::keyClick(QApplication::focusWidget(), c.key);
        EXPECT_EQ(focused(), c.day);
    }
    window.setLayoutDirection(Qt::RightToLeft);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    EXPECT_EQ(focused(), "Sun, Mar 1, 2026");
    picker.setMinDate(at("2026-03-01T15:00:00"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageUp);
    EXPECT_EQ(focused(), "Sun, Mar 1, 2026");
    EXPECT_FALSE(day("Sat, Mar 7, 2026") == nullptr || !day("Sat, Mar 7, 2026")->isEnabled());
}

TEST_F(Pickers, APopUpMonthLeavesTheFocusWhereItIs) {
    ZNDatePicker date(environment, Elements::YearMonthDay, &window);
    ZNPopupCalendarView popup(environment, strings, &window);
    date.move(40, 440);
    show();
    QObject::connect(&date, &ZNDatePicker::didBecomeActive, &popup, [&] { popup.showBeside(date); });
    QObject::connect(&date, &ZNDatePicker::didResignActive, &popup, [&] { popup.hide(); });
    date.setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(popup.isVisible());
    EXPECT_TRUE(window.rect().contains(popup.geometry().adjusted(12, 12, -12, -12)));
    EXPECT_LT(popup.geometry().bottom(), date.geometry().bottom()) << "above, where there is no room below";
    auto buttons = popup.findChildren<QAbstractButton*>();
    for (auto* button : buttons)
        QTest::mouseClick(button, Qt::LeftButton);
    EXPECT_TRUE(date.hasFocus());
    EXPECT_TRUE(popup.isVisible());
    date.clearFocus();
    EXPECT_FALSE(popup.isVisible());
}

}  // namespace
}  // namespace zun
