#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "notifications/ReminderAlertWorld.h"
#include "platform/foundation/Log.h"
#include "platform/usernotifications/AlertTuning.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::Gt;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::chrono::hours day{24};

TEST(AlertLook, KeepsAnUntouchedSeriesAlertingForYears) {
    struct Case {
        const char* name;
        std::uint64_t type, interval;
        std::optional<DayOrdinals> ordinals;
        const char* end;  // empty for none
        std::size_t yearly;
    };
    // Ahead of the first week, in which every unit alerts whatever the interval.
    for (const auto& one : {
             Case{"daily", RepeatType::daily, 1, {}, "", 365},
             Case{"every third day", RepeatType::daily, 3, {}, "", 365 / 3 + 5},
             Case{"every second Monday and Friday", RepeatType::weekly, 2, DayOrdinals{2, 6}, "", 53},
             Case{"yearly", RepeatType::yearly, 1, {}, "", 2},
             Case{"until March", RepeatType::weekly, 1, {}, "2026-03-12T23:00:00Z", 8},
         }) {
        SCOPED_TRACE(one.name);
        ReminderAlertWorld world;
        world.start();
        auto attributes = world.dated("r", world.environment.date("2026-01-15T09:00:00Z"));
        attributes.repeat_type = one.type;
        attributes.customRepeatInterval = one.interval;
        attributes.customRepeatDayOrdinals = one.ordinals;
        if (*one.end) attributes.end_date = world.environment.date(one.end);
        world.save(attributes);
        world.pass(366 * day);
        EXPECT_NEAR(static_cast<double>(world.noticed().size()), static_cast<double>(one.yearly), 3);
        EXPECT_EQ(world.scheduledDates("r").empty(), *one.end != 0);
        EXPECT_THAT(world.scheduledDates("r"), SizeIs(testing::Lt(20U)));
    }
}

TEST(AlertLook, SchedulesWhatAKilledProgramOwes) {
    ReminderAlertWorld world;
    world.start();
    world.pass(1h);
    world.saveAndDie(world.dated("soon", world.environment.now() + 5s));
    world.saveAndDie(world.dated("tomorrow", world.environment.now() + day));
    auto silent = world.dated("silent", world.environment.now() + 1h);
    silent.shouldSuppressNotifications = true;
    world.saveAndDie(silent);
    // Its moment had passed when it was saved: never alerted.
    world.saveAndDie(world.dated("past", world.environment.now() - 1min));
    world.pass(alertTuning::quietBeforeLook + 1s);
    EXPECT_THAT(world.noticed(), ElementsAre("soon"));
    world.pass(2 * day);
    EXPECT_THAT(world.noticed(), ElementsAre("soon", "tomorrow"));
}

TEST(AlertLook, FillsANewFileAfterTheOldOneWasDamaged) {
    for (const bool runs : {false, true}) {
        SCOPED_TRACE(runs ? "found by the running service" : "found at its start");
        std::string said;
        ScopedLogSink log([&](std::string_view line) { said += line; });
        ReminderAlertWorld world;
        world.start();
        world.save(world.dated("a", world.environment.now() + 3h));
        world.save(world.dated("far", world.environment.now() + 400h));
        auto series = world.dated("series", world.environment.now() - day);
        series.repeat_type = RepeatType::daily;
        world.save(series);
        auto coming = world.dated("coming", world.environment.now() + 5h);
        coming.repeat_type = RepeatType::daily;
        world.save(coming);
        if (!runs) world.kill();
        {
            std::fstream file(StoredNotificationCenter::storeFolder(world.folder.path()) / "alerts.sqlite");
            file.seekp(0);
            file << std::string(8192, 'x');
        }
        if (runs) {
            world.service->alertsChanged();
        } else {
            world.start();
        }
        EXPECT_THAT(said, testing::HasSubstr("set aside as alerts-damaged-2026-01-14"));
        for (const auto* reminderID : {"a", "far", "series", "coming"}) {
            const auto dates = world.scheduledDates(reminderID);
            EXPECT_THAT(dates, Not(IsEmpty())) << reminderID;
            EXPECT_EQ(std::set(dates.begin(), dates.end()).size(), dates.size()) << reminderID << " is doubled";
        }
        world.pass(4h);
        EXPECT_THAT(world.noticed(), ElementsAre("a"));
    }
}

TEST(AlertLook, BearsAClockThatWasWrongByAYear) {
    ReminderAlertWorld world;
    auto series = world.dated("series", world.environment.now() - day - 1h);
    series.repeat_type = RepeatType::daily;
    world.save(series);
    world.save(world.dated("once", world.environment.now() + 100 * day));
    world.start();
    const auto shift = 365 * day;
    world.alarmClock.setClock(world.environment.now() + shift);
    world.dispatch.runUntilIdle();
    EXPECT_THAT(world.noticed(), ElementsAre("series", "once")) << "as if the machine had been off";
    world.pass(1h);
    world.server.shown.clear();
    world.alarmClock.setClock(world.environment.now() - shift);
    world.dispatch.runUntilIdle();
    EXPECT_THAT(world.noticed(), IsEmpty());
    world.pass(101 * day);
    EXPECT_THAT(world.noticed(), Contains("once").Times(1)) << "its day had not come";
    EXPECT_THAT(world.noticed(), Contains("series").Times(101));
}

}  // namespace
}  // namespace zun
