#include "core/ListRows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "ZunDataModel/SearchFolding.h"
#include "core/ManagerWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// A record in whatever state, with dates close enough to each other to be equal often. `done` of ten are completed.
ReminderAttributes randomRecord(std::mt19937& random, NSDate now, int done) {
    const auto below = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    const auto date = [&]() -> OptionalDate {
        if (below(5) == 0) return std::nullopt;
        return now + std::chrono::hours{below(40) - 20};
    };
    static constexpr const char* titles[] = {"milk", "Straße", "ÅNGSTRÖM", "パン", "", "Milk\ntwice", "e\u0301clair"};
    ReminderAttributes record;
    record.reminderID = "r" + std::to_string(below(400));  // some come twice
    record.title = titles[below(std::size(titles))];
    if (below(3) == 0) record.notes = std::string(static_cast<std::size_t>(below(6'000)), 'n');
    record.fire_date = date();
    record.due_date = below(3) == 0 ? date() : record.fire_date;
    record.start_date = below(3) == 0 ? std::nullopt : record.due_date;
    record.created_date = date();
    if (below(10) < done) record.completed_date = date();
    record.rank = std::max(0, below(6) - 3) - (below(20) == 0 ? 1 : 0);
    record.earlyReminderType = static_cast<std::uint64_t>(below(4));
    record.earlyReminderInterval = static_cast<std::uint64_t>(below(3));
    if (below(8) == 0) record.locationLatitude = below(3);
    if (below(8) == 0) record.locationLongitude = record.locationLatitude;
    if (below(9) == 0) record.shouldDeleteRemote = below(2) == 0;
    return record;
}

ListedReminder listed(std::string_view identifier, std::string_view title, std::string_view foldedTitle) {
    ListedReminder reminder;
    reminder.reminderID = identifier;
    reminder.title = title;
    reminder.foldedTitle = foldedTitle;
    return reminder;
}

using Line = std::tuple<std::string, std::string, std::string, OptionalDate, OptionalDate, bool, bool, bool>;

std::vector<Line> lines(const std::vector<ReminderPtr>& reminders) {
    std::vector<Line> all;
    for (const auto& each : reminders)
        all.emplace_back(each->reminderID().value_or("nobody"), each->title(), foldedForSearch(each->title()),
                         each->fire_date(), each->completed_date(), each->start_date().has_value(),
                         each->isLocationBased(), each->onGetIsSnoozed());
    return all;
}

std::vector<Line> lines(const ListedReminders& reminders) {
    std::vector<Line> all;
    for (std::size_t i = 0; i < reminders.size(); ++i) {
        const ListedReminder each = reminders[i];
        all.emplace_back(each.reminderID, each.title, each.foldedTitle, each.fire_date, each.completed_date,
                         each.hasStartDate, each.isLocationBased, each.isSnoozed);
    }
    return all;
}

// Large and small parts are read in different ways; both must come out like whole records.
TEST(ListedRemindersTest, AreTheRecordsOfTheQueriesInTheirOrder) {
    std::mt19937 random(7);
    for (const int done : {0, 2, 5, 9}) {
        for (const int count : {0, 1, 30, 300}) {
            ManagerWorld world;
            for (int i = 0; i < count; ++i)
                world.database.addReminder(
                    std::make_shared<ZNReminderObject>(randomRecord(random, world.environment.now(), done)));
            world.database.waitForWrites();
            SCOPED_TRACE(testing::Message() << count << " records, " << done << " of ten done");
            EXPECT_EQ(lines(world.manager.listAllIncompleteReminders()),
                      lines(world.manager.fetchAllIncompleteReminders()));
            EXPECT_EQ(lines(world.manager.listAllCompletedReminders()),
                      lines(world.manager.fetchAllCompletedReminders()));
            EXPECT_EQ(lines(world.manager.listAllRemindersWithDates()),
                      lines(world.manager.fetchAllRemindersWithDates()));
        }
    }
}

TEST(ListedRemindersTest, FindsEachByItsIdentifierAndDoublesByTheFirst) {
    ListedReminders::Builder builder;
    const std::string longTitle(300'000, 'x');
    for (const std::string identifier : {"a", "b", "a", "", "c", "b"})
        builder.add(listed(identifier, longTitle, identifier + "folded"));
    const std::vector<std::uint32_t> order{5, 0, 2, 3, 4};
    const auto reminders = builder.build(order);
    std::vector<std::string> identifiers;
    std::vector<std::size_t> firsts;
    for (std::size_t i = 0; i < reminders.size(); ++i) {
        identifiers.emplace_back(reminders.reminderID(i));
        firsts.push_back(reminders.firstOfSameID(i));
        EXPECT_EQ(reminders[i].title, longTitle);
        EXPECT_EQ(reminders.foldedTitle(i), identifiers.back() + "folded");
        EXPECT_EQ(reminders.indexOfObjectWithID(identifiers.back()), firsts.back());
    }
    EXPECT_THAT(identifiers, ElementsAre("b", "a", "a", "", "c"));
    EXPECT_THAT(firsts, ElementsAre(0, 1, 1, 3, 4));
    EXPECT_EQ(reminders.indexOfObjectWithID("d"), ListedReminders::npos);
    EXPECT_EQ(ListedReminders().indexOfObjectWithID("a"), ListedReminders::npos);
    EXPECT_EQ(builder.size(), 0U);
}

// Rows of "a movable", "b at a place" and so on: m movable, p not, h a heading.
ListRows rowsOf(std::string_view plan, const std::vector<std::string>& identifiers) {
    ListedReminders::Builder builder;
    ListSections sections;
    std::vector<std::uint32_t> order;
    for (const char kind : plan) {
        if (kind == 'h') {
            sections.rows.push_back(ListSections::headingBit | static_cast<std::uint32_t>(sections.headings.size()));
            sections.headings.push_back("heading " + std::to_string(sections.headings.size()));
            continue;
        }
        const auto number = static_cast<std::uint32_t>(order.size());
        builder.add(listed(identifiers[number], "t", "t"));
        sections.rows.push_back(number | (kind == 'm' ? ListSections::movableBit : 0));
        order.push_back(number);
    }
    return {std::make_shared<ListedReminders>(builder.build(order)), std::move(sections)};
}

std::string flat(const ListRows& rows) {
    std::string text;
    for (std::size_t i = 0; i < rows.size(); ++i)
        text += (rows.isHeader(i) ? "[" + rows.heading(i) + "]" : std::string(rows.reminderID(i))) + " ";
    return text;
}

TEST(ListRowsTest, ChangesUnderTheTable) {
    auto rows = rowsOf("hmmmhpp", {"a", "b", "c", "d", "e"});
    EXPECT_EQ(flat(rows), "[heading 0] a b c [heading 1] d e ");
    EXPECT_EQ(rows.lastValidIndex(), 3U);
    EXPECT_FALSE(rows.canDrag(0));
    EXPECT_TRUE(rows.canDrag(3));
    EXPECT_FALSE(rows.canDrag(5));
    EXPECT_THAT(rows.reminderIDs(0, 5), ElementsAre("a", "b", "c", "d"));
    EXPECT_THAT(rows.reminderIDs(6, 99), ElementsAre("e"));
    EXPECT_THAT(rows.reminderIDs(7, 99), IsEmpty());
    EXPECT_EQ(rows.indexOfObjectWithID("d"), 5U);
    EXPECT_EQ(rows.indexOfObjectWithID("heading 1"), ListRows::npos);

    // A copy goes its own way.
    auto copy = rows;
    copy.move(1, 3);
    EXPECT_EQ(flat(copy), "[heading 0] b c a [heading 1] d e ");
    copy.move(3, 1);
    copy.remove(4);
    EXPECT_EQ(flat(copy), "[heading 0] a b c d e ");
    EXPECT_EQ(copy.indexOfObjectWithID("e"), 5U);
    copy.removeAll();
    EXPECT_TRUE(copy.empty());
    EXPECT_EQ(copy.lastValidIndex(), 0U);
    EXPECT_EQ(copy.indexOfObjectWithID("a"), ListRows::npos);
    EXPECT_EQ(rows.size(), 7U);
    EXPECT_EQ(rowsOf("hpp", {"a", "b"}).lastValidIndex(), 0U);
    EXPECT_EQ(ListRows().indexOfObjectWithID("a"), ListRows::npos);
}

TEST(ListRowsTest, CarriesMarksOverToOtherRowsByIdentifier) {
    const auto before = rowsOf("hmmmhpp", {"a", "b", "c", "d", "e"});
    const std::vector<std::size_t> marked{1, 3, 6};  // a, c, e
    const struct {
        const char* rows;
        std::vector<std::string> identifiers;
        std::vector<bool> found;
    } cases[] = {
        {"hmmmhpp", {"a", "b", "c", "d", "e"}, {false, true, false, true, false, false, true}},
        {"hppppph", {"e", "d", "c", "b", "a"}, {false, true, false, true, false, true, false}},
        {"phpp", {"new", "e", "c"}, {false, false, true, true}},
        {"", {}, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(rowsOf(c.rows, c.identifiers).rowsMarkedIn(before, marked), c.found) << c.rows;
    auto moved = before;
    moved.move(6, 1);
    EXPECT_EQ(moved.rowsMarkedIn(before, marked), (std::vector<bool>{false, true, true, false, true, false, false}));
    EXPECT_TRUE(ListRows().rowsMarkedIn(before, marked).empty());
}

TEST(ListRowsTest, ShowsADoubledReminderAtItsFirstPlaceAndKeepsItsHeading) {
    const auto rows = rowsOf("hmmmhphp", {"a", "b", "a", "b", "c"});
    EXPECT_EQ(flat(rows), "[heading 0] a b [heading 1] [heading 2] c ");
    EXPECT_EQ(rows.indexOfObjectWithID("b"), 2U);
}

}  // namespace
}  // namespace zun
