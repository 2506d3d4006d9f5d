#include <gtest/gtest.h>

#include "core/ManagerWorld.h"
#include "editor/AlertChoices.h"
#include "editor/IntervalInput.h"
#include "editor/RepeatChoices.h"
#include "editor/ZNDatePopoverViewController.h"
#include "editor/ZNRepeatPopoverViewController.h"

#include <QAbstractButton>
#include <QLabel>
#include <QTest>

namespace zun {
namespace {

class PopoverTest : public testing::Test, public ManagerWorld, public ZNDatePopoverDelegate {
  protected:
    void didChangeNotificationSetting(bool shouldNotify) override {
        reminder->setShouldSuppressNotifications(!shouldNotify);
    }
    void didChangeNagSetting(bool shouldNag) override { reminder->setNaggingNotifications(shouldNag); }
    void didChangeDateSettings() override { ++dateSettings; }

    ReminderPtr reminder = std::make_shared<ZNReminderObject>(dated("a", "2026-01-20T09:00:00Z"));
    int dateSettings = 0;
};

TEST_F(PopoverTest, PresetsAreKnownByUnitAndNumber) {
    struct Case {
        std::uint64_t type, interval;
        int row;
    };
    for (const auto& each : {Case{0, 0, 0}, Case{1, 10, 1}, Case{1, 30, 2}, Case{1, 60, 5}, Case{2, 1, 3},
                             Case{2, 2, 5}, Case{3, 1, 4}, Case{3, 7, 5}, Case{4, 1, 5}, Case{5, 1, 0}, Case{0, 10, 0}})
        EXPECT_EQ(rowForEarlyReminderType(each.type, each.interval), each.row) << each.type << ' ' << each.interval;
}

TEST_F(PopoverTest, TypedNumbersAreClipped) {
    for (const auto& [text, value] :
         std::initializer_list<std::pair<const char*, std::uint64_t>>{{"0", 1},
                                                                      {"-1", 1},
                                                                      {"", 1},
                                                                      {"text", 1},
                                                                      {"12", 12},
                                                                      {" 7", 7},
                                                                      {"3x9", 3},
                                                                      {"999", 999},
                                                                      {"1000", 999},
                                                                      {"99999999999999999999", 999}})
        EXPECT_EQ(clippedInterval(intervalFromText(text)), value) << text;
}

TEST_F(PopoverTest, TheAlertPopoverWritesAtOnceAndFollowsTheRecord) {
    reminder->setEarlyReminderType(2);
    reminder->setEarlyReminderInterval(2);
    ZNDatePopoverViewController popover(reminder, strings, this);
    EXPECT_EQ(popover.wantedHeight(), 214);
    EXPECT_EQ(popover.alertSelector().currentIndex(), 5);
    EXPECT_EQ(popover.intervalInput().value(), 2U);
    EXPECT_EQ(popover.customAlertSelector().currentText(), "hours before");

    popover.alertSelector().setCurrentIndex(0);
    EXPECT_EQ(popover.wantedHeight(), 180);
    EXPECT_EQ(reminder->earlyReminderType(), 0U);
    EXPECT_EQ(reminder->earlyReminderInterval(), 0U);
    popover.alertSelector().setCurrentIndex(5);
    EXPECT_EQ(reminder->earlyReminderType(), 1U);
    EXPECT_EQ(reminder->earlyReminderInterval(), 1U);
    EXPECT_EQ(popover.customAlertSelector().currentText(), "minute before");
    popover.customAlertSelector().setCurrentIndex(3);
    QTest::keyClick(&popover.intervalInput().stepperInput(), Qt::Key_Up);
    EXPECT_EQ(reminder->earlyReminderType(), 4U);
    EXPECT_EQ(reminder->earlyReminderInterval(), 2U);
    EXPECT_EQ(popover.customAlertSelector().currentText(), "weeks before");
    EXPECT_EQ(dateSettings, 4);

    popover.notificationToggle().click();
    EXPECT_TRUE(reminder->shouldSuppressNotifications());
    EXPECT_TRUE(popover.nagToggle().isEnabled());  // until it is opened again
    EXPECT_FALSE(ZNDatePopoverViewController(reminder, strings, this).nagToggle().isEnabled());
}

TEST_F(PopoverTest, OpeningTheRepeatPopoverWritesWhatItShows) {
    struct Case {
        std::uint64_t type, interval, expectedType, expectedInterval;
        const char* unit;
    };
    for (const auto& each : {Case{0, 0, 1, 1, "day"}, Case{5, 0, 1, 2, "days"}, Case{5, 7, 1, 7, "days"},
                             Case{3, 0, 3, 1, "month"}, Case{4, 2, 4, 2, "years"}}) {
        reminder->setRepeat_type(each.type);
        reminder->setCustomRepeatInterval(each.interval);
        ZNRepeatPopoverViewController popover(reminder, environment, strings, nullptr);
        EXPECT_EQ(reminder->repeat_type(), each.expectedType) << each.type;
        EXPECT_EQ(reminder->customRepeatInterval(), each.expectedInterval) << each.type;
        EXPECT_EQ(popover.customIntervalSelector().currentText(), each.unit);
    }
}

TEST_F(PopoverTest, WeekdaysMakeWeeksAndOtherUnitsDropThem) {
    reminder->setRepeat_type(RepeatType::monthly);
    reminder->setCustomRepeatInterval(2);
    ZNRepeatPopoverViewController popover(reminder, environment, strings, nullptr);
    for (const int ordinal : {1, 6, 2})
        popover.dayButton(ordinal).click();
    EXPECT_EQ(reminder->repeat_type(), RepeatType::weekly);
    EXPECT_EQ(reminder->customRepeatInterval(), 2U);
    EXPECT_EQ(reminder->customRepeatDayOrdinals(), (DayOrdinals{2, 6, 1}));
    // Tuesday the 20th starts the series; its Friday is the first to come.
    EXPECT_EQ(popover.nextAlertDate().text().toStdString(),
              labels.dateAsShortStringWithWeekdayAndIntegerDayMonthYear(at("2026-01-23T09:00:00Z")));
    for (const int ordinal : {1, 6, 2})
        popover.dayButton(ordinal).click();
    EXPECT_EQ(reminder->repeat_type(), RepeatType::weekly);
    EXPECT_FALSE(reminder->customRepeatDayOrdinals());
    popover.dayButton(7).click();
    popover.customIntervalSelector().setCurrentIndex(0);
    EXPECT_EQ(reminder->repeat_type(), RepeatType::daily);
    EXPECT_FALSE(reminder->customRepeatDayOrdinals());
    EXPECT_FALSE(popover.dayButton(7).isChecked());

    auto& field = popover.intervalInput().stepperInput();
    field.selectAll();
    QTest::keyClicks(&field, "0");
    EXPECT_EQ(field.text(), "1");
    EXPECT_EQ(popover.customIntervalSelector().currentText(), "day");
    field.selectAll();
    QTest::keyClicks(&field, "1000");
    EXPECT_EQ(field.text(), "999");
    EXPECT_EQ(reminder->customRepeatInterval(), 999U);
    EXPECT_EQ(popover.customIntervalSelector().currentText(), "days");
}

}  // namespace
}  // namespace zun
