#include "core/ListSections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <random>

#include "dates/ZNDateHelper.h"
#include "platform/foundation/NSCalendar.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using namespace std::chrono_literals;

ReminderPtr reminder(std::string title, OptionalDate fireDate) {
    auto result = std::make_shared<ZNReminderObject>();
    result->setTitle(std::move(title));
    result->onSetFireDate(fireDate);
    return result;
}

ReminderPtr atAPlace(ReminderPtr reminder) {
    reminder->setLocationLatitude(1);
    reminder->setLocationLongitude(1);
    return reminder;
}

std::string flat(const std::vector<ZNArrayDataSource::Row>& rows) {
    std::string text;
    for (const auto& row : rows) {
        const auto* title = std::get_if<std::string>(&row);
        text += title ? "[" + *title + "] " : std::get<ReminderPtr>(row)->title() + " ";
    }
    return text;
}

class ListSectionsTest : public testing::Test {
  protected:
    // Wednesday.
    TestEnvironment environment{"2026-01-14T10:00:00Z"};
    LocalizedStrings strings{{"en"}};
    DateLabels labels{environment, strings};
};

TEST_F(ListSectionsTest, SectionsTheFutureByDayForAWeekAndByMonthFromThere) {
    const auto at = [&](std::string title, std::string_view date) {
        return reminder(std::move(title), environment.date(date));
    };
    // As the manager gives them: the deck, places, then the future with the latest first.
    const std::vector<ReminderPtr> reminders = {
        at("due", "2026-01-14T10:00:00Z"),
        reminder("open", std::nullopt),
        atAPlace(at("place", "2026-01-01T00:00:00Z")),
        at("march", "2026-03-02T09:00:00Z"),
        at("january2", "2026-01-30T09:00:00Z"),
        at("january1", "2026-01-21T10:00:00Z"),
        at("week", "2026-01-21T09:59:00Z"),
        at("tomorrow2", "2026-01-15T20:00:00Z"),
        at("tomorrow1", "2026-01-15T08:00:00Z"),
        at("today", "2026-01-14T10:00:01Z"),
    };
    EXPECT_EQ(flat(upcomingRows(reminders, labels, strings, environment)),
              "[" + strings.string("List_Default_Section_Title") + "] due open [" +
                  strings.string("List_Location_Section_Title") + "] place [" + strings.string("Later_Today_String") +
                  "] today [" + strings.string("Tomorrow_String") +
                  "] tomorrow1 tomorrow2 [Wednesday] week [January 2026] january1 january2 [March 2026] march ");
    EXPECT_TRUE(upcomingRows({}, labels, strings, environment).empty());
}

TEST_F(ListSectionsTest, SectionsTheDoneByMonthInTheOrderGiven) {
    std::vector<ReminderPtr> reminders;
    for (const auto* date :
         {"2026-01-10T00:00:00Z", "2026-01-02T00:00:00Z", "2025-12-31T23:00:00Z", "2025-01-05T00:00:00Z"}) {
        reminders.push_back(reminder(date, std::nullopt));
        reminders.back()->setCompleted_date(environment.date(date));
    }
    EXPECT_EQ(flat(completedRows(reminders, labels, environment)),
              "[January 2026] 2026-01-10T00:00:00Z 2026-01-02T00:00:00Z [December 2025] 2025-12-31T23:00:00Z "
              "[January 2025] 2025-01-05T00:00:00Z ");
}

// The rules told plainly: groups that grow at the front, and a question to the calendar for each reminder.
std::string plainUpcoming(const std::vector<ReminderPtr>& reminders, const DateLabels& labels,
                          const LocalizedStrings& strings, const Environment& environment) {
    const auto calendar = NSCalendar::current(environment);
    const NSDate now = environment.now();
    const NSDate inAWeek = ZNDateHelper(environment).oneWeekFromToday();
    std::list<ReminderPtr> due, places;
    std::list<std::list<ReminderPtr>> future;
    for (const auto& each : reminders) {
        const auto date = each->fire_date();
        if (each->isLocationBased() || !date || *date <= now) {
            (each->isLocationBased() ? places : due).push_back(each);
            continue;
        }
        const bool together =
            !future.empty() && calendar.isDate(*date, *future.front().back()->fire_date(),
                                               *date < inAWeek ? NSCalendarUnit::Day : NSCalendarUnit::Month);
        if (!together) future.emplace_front();
        future.front().push_front(each);
    }
    std::string text;
    const auto append = [&](const std::string& title, const std::list<ReminderPtr>& group) {
        text += "[" + title + "] ";
        for (const auto& each : group)
            text += each->title() + " ";
    };
    if (!due.empty()) append(strings.string("List_Default_Section_Title"), due);
    if (!places.empty()) append(strings.string("List_Location_Section_Title"), places);
    for (const auto& group : future) {
        const NSDate first = *group.front()->fire_date();
        append(first < inAWeek ? labels.weekdayStringWithRelativeIfAppropriate(first) : labels.monthString(first),
               group);
    }
    return text;
}

// Around the changes of clocks, in zones that skip midnight, half an hour or a whole day, and in any order, as snoozed
// reminders come.
TEST_F(ListSectionsTest, AgreesWithTheCalendarInEveryZone) {
    std::mt19937 random(3);
    const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    struct Place {
        const char* zone;
        const char* now;
    };
    for (const auto& [zone, now] :
         {Place{"Europe/Berlin", "2026-03-28T22:30:00Z"}, Place{"America/New_York", "2026-10-31T23:00:00Z"},
          Place{"America/Sao_Paulo", "2018-11-03T20:00:00Z"}, Place{"Australia/Lord_Howe", "2026-04-03T12:00:00Z"},
          Place{"Pacific/Apia", "2011-12-28T11:00:00Z"}, Place{"Asia/Kathmandu", "2026-12-30T18:14:59Z"},
          Place{"Pacific/Kiritimati", "1969-12-30T10:00:00Z"}}) {
        environment.setTimeZone(zone);
        for (int round = 0; round < 20; ++round) {
            environment.setNow(environment.date(now) + std::chrono::minutes{below(3 * 1'440)});
            std::vector<ReminderPtr> reminders;
            for (int i = 0; i < 60; ++i) {
                OptionalDate date;
                if (i % 10 > 0) date = environment.now() + std::chrono::minutes{below((i % 3 == 0 ? 80 : 9) * 1'440)};
                if (i % 10 == 1) date = *date - 30h;
                reminders.push_back(reminder(std::to_string(i), date));
                if (i % 13 == 0) atAPlace(reminders.back());
            }
            if (round % 2 == 0)
                std::ranges::sort(reminders, std::ranges::greater{},
                                  [](const auto& each) { return each->fire_date(); });
            ASSERT_EQ(flat(upcomingRows(reminders, labels, strings, environment)),
                      plainUpcoming(reminders, labels, strings, environment))
                << zone << ", round " << round;
        }
    }
}

// Days and months at the ends of what a date can say.
TEST_F(ListSectionsTest, KnowsTheDaysOfFarDates) {
    environment.setTimeZone("America/New_York");
    LocalDays days(environment.timeZone());
    for (const NSDate date : {NSDate::min(), NSDate::max(), environment.date("0001-01-01T00:00:00Z"),
                              environment.date("9999-12-31T23:59:59Z"), NSDate{-1us}, NSDate{}}) {
        const auto wall = environment.timeZone()->localTime(date);
        EXPECT_EQ(days.dayOf(date), std::chrono::floor<std::chrono::days>(wall).time_since_epoch().count());
    }
}

}  // namespace
}  // namespace zun
