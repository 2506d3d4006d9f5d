#include "core/ListSections.h"

#include <gtest/gtest.h>

#include "support/TestEnvironment.h"

namespace zun {
namespace {

class ListSectionsTest : public testing::Test {
  protected:
    // Wednesday.
    TestEnvironment environment{"2026-01-14T10:00:00Z"};
    LocalizedStrings strings{{"en"}};
    DateLabels labels{environment, strings};

    ReminderPtr reminder(std::string title, std::string_view fireDate) {
        auto result = std::make_shared<ZNReminderObject>();
        result->setTitle(std::move(title));
        if (!fireDate.empty()) result->onSetFireDate(environment.date(fireDate));
        return result;
    }

    static std::string flat(const std::vector<ZNArrayDataSource::Row>& rows) {
        std::string text;
        for (const auto& row : rows) {
            const auto* title = std::get_if<std::string>(&row);
            text += title ? "[" + *title + "] " : std::get<ReminderPtr>(row)->title() + " ";
        }
        return text;
    }
};

TEST_F(ListSectionsTest, SectionsTheFutureByDayForAWeekAndByMonthFromThere) {
    auto place = reminder("place", "2026-01-01T00:00:00Z");
    place->setLocationLatitude(1);
    place->setLocationLongitude(1);
    // As the manager gives them: the deck, places, then the future with the latest first.
    const std::vector<ReminderPtr> reminders = {
        reminder("due", "2026-01-14T10:00:00Z"),
        reminder("open", ""),
        place,
        reminder("march", "2026-03-02T09:00:00Z"),
        reminder("january2", "2026-01-30T09:00:00Z"),
        reminder("january1", "2026-01-21T10:00:00Z"),
        reminder("week", "2026-01-21T09:59:00Z"),
        reminder("tomorrow2", "2026-01-15T20:00:00Z"),
        reminder("tomorrow1", "2026-01-15T08:00:00Z"),
        reminder("today", "2026-01-14T10:00:01Z"),
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
        reminders.push_back(reminder(date, ""));
        reminders.back()->setCompleted_date(environment.date(date));
    }
    EXPECT_EQ(flat(completedRows(reminders, labels, environment)),
              "[January 2026] 2026-01-10T00:00:00Z 2026-01-02T00:00:00Z [December 2025] 2025-12-31T23:00:00Z "
              "[January 2025] 2025-01-05T00:00:00Z ");
}

}  // namespace
}  // namespace zun
