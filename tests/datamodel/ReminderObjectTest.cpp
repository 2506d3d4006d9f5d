#include <gmock/gmock.h>

#include <limits>

#include "ZunDataModel/SearchFolding.h"
#include "ZunDataModel/ZNArrayDataSource.h"
#include "datamodel/RecordTools.h"

namespace zun {
namespace {

using testing::ElementsAre;
using namespace std::chrono_literals;

const NSDate noon{std::chrono::sys_days{std::chrono::year{2026} / 2 / 1} + 12h};

TEST(ReminderObject, IsSnoozedWhenItFiresLaterThanItsRuleSays) {
    struct Case {
        const char* what;
        OptionalDate start, due, fire;
        std::uint64_t earlyType, earlyInterval;
        bool snoozed;
    };
    const Case cases[] = {
        {"nothing set", {}, {}, {}, 0, 0, false},
        {"open-ended and snoozed", {}, {}, noon, 0, 0, true},
        {"fires when due", noon, noon, noon, 0, 0, false},
        {"pushed by an hour", noon, noon, noon + 1h, 0, 0, true},
        {"due only by its start", noon, {}, noon + 1h, 0, 0, true},
        {"fires early as asked", noon, noon, noon - 20min, 1, 20, false},
        {"pushed, yet before it is due", noon, noon, noon - 10min, 1, 20, true},
        {"what an undone snooze leaves", noon, noon, noon, 1, 20, false},
        {"an unknown unit moves nothing", noon, noon, noon, 9, 20, false},
        {"a lead beyond all dates", noon, noon, noon - 1h, 4, std::numeric_limits<std::uint64_t>::max(), true},
    };
    for (const Case& c : cases) {
        ReminderAttributes attributes;
        attributes.start_date = c.start;
        attributes.due_date = c.due;
        attributes.fire_date = c.fire;
        attributes.earlyReminderType = c.earlyType;
        attributes.earlyReminderInterval = c.earlyInterval;
        EXPECT_EQ(ZNReminderObject(attributes).onGetIsSnoozed(), c.snoozed) << c.what;
    }
}

TEST(ReminderObject, TellsObserversOfEachChangeAndOfSnoozingThatFollows) {
    auto reminder = namedReminder("a", "old");
    std::vector<std::string> told;
    auto observation = reminder->observe({"title", "fire_date", "start_date", "isSnoozed"},
                                         [&](std::string_view key) { told.emplace_back(key); });
    reminder->setTitle("new");
    reminder->setTitle("new");
    reminder->setNotes("unobserved");
    reminder->onSetFireDate(noon);
    reminder->onSetStartDate(noon);
    EXPECT_THAT(told, ElementsAre("title", "fire_date", "isSnoozed", "start_date", "isSnoozed"));

    told.clear();
    auto other = reminder->attributes();
    other.title = "newer";
    other.fire_date = noon + 1h;
    reminder->setAttributes(other);
    EXPECT_THAT(told, ElementsAre("title", "fire_date", "isSnoozed"));

    told.clear();
    reminder->copy()->setTitle("a copy has no observers");
    EXPECT_TRUE(told.empty());
}

TEST(ReminderObject, ResetClearsTheKindAndKeepsTheRest) {
    std::mt19937 random(3);
    for (int i = 0; i < 200; ++i) {
        const auto before = randomRecord(random, noon);
        auto expected = before;
        const ReminderAttributes blank;
        expected.start_date = expected.due_date = expected.fire_date = expected.end_date = std::nullopt;
        if (before.repeat_type != 6 || isLocationBased(before)) expected.repeat_type = 0;
        expected.customRepeatInterval = expected.earlyReminderType = expected.earlyReminderInterval = 0;
        expected.customRepeatDayOrdinals = std::nullopt;
        expected.locationLatitude = expected.locationLongitude = 0;
        expected.locationName = std::nullopt;
        expected.locationActivation = expected.locationActivationRadius = 0;
        ZNReminderObject reminder(before);
        reminder.reset();
        EXPECT_EQ(reminder.attributes(), expected);
    }
    auto awaitingPlace = namedReminder("a");
    awaitingPlace->setRepeat_type(RepeatType::atLocation);
    awaitingPlace->reset();
    EXPECT_EQ(awaitingPlace->repeat_type(), RepeatType::atLocation);
    awaitingPlace->setLocationLatitude(1);
    awaitingPlace->setLocationLongitude(1);
    awaitingPlace->reset();
    EXPECT_EQ(awaitingPlace->repeat_type(), RepeatType::none);
}

TEST(ArrayDataSource, OrdersTheDeckAndFindsRowsByIdentifier) {
    const auto make = [](const char* name, std::int64_t rank, OptionalDate fire, OptionalDate created) {
        auto reminder = namedReminder(name);
        reminder->setRank(rank);
        reminder->onSetFireDate(fire);
        reminder->setCreated_date(created);
        return reminder;
    };
    const std::vector<ReminderPtr> deck{make("young", 0, {}, noon),       make("low", 1, {}, {}),
                                        make("fired", 0, noon, {}),       make("undated", 0, {}, {}),
                                        make("high", 9, noon, {}),        make("fired too", 0, noon, {}),
                                        make("sunk", -1, noon, noon - 1h)};
    std::vector<std::string> order;
    for (const auto& reminder : ZNArrayDataSource::sortedArray(deck))
        order.push_back(*reminder->reminderID());
    EXPECT_THAT(order, ElementsAre("fired", "fired too", "high", "low", "undated", "sunk", "young"));
    EXPECT_EQ(ZNArrayDataSource::indexForReminder(make("middle", 5, {}, {}), deck), 3);
    EXPECT_EQ(ZNArrayDataSource::indexForReminder(nullptr, deck), -1);

    ZNArrayDataSource rows;
    rows.onSetReminders({std::string("Today"), deck[0], deck[1], std::string("Today"), deck[0]});
    EXPECT_EQ(rows.reminders().size(), 4u);
    EXPECT_EQ(rows.indexOfObjectWithID("low"), 2u);
    EXPECT_EQ(rows.indexOfObjectWithID("Today"), std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(rows.reminderWithID("nobody"), nullptr);
    rows.removeReminderById("young");
    EXPECT_EQ(rows.reminders().size(), 3u);
    EXPECT_EQ(rows.reminderWithID("low"), deck[1]);
}

TEST(SearchFolding, MakesEqualWhatReadersTakeForEqual) {
    const std::pair<const char*, const char*> equal[] = {
        {"\xC3\x84rger", "arger"},                                     // umlaut
        {"E\xCC\x81t\xC3\xA9", "ete"},                                 // composed and decomposed accents
        {"\xC3\x86ro \xC3\x98rsted \xC4\x90uro", "aero orsted duro"},  // letters without a decomposition
        {"STRASSE",
         "stra\xC3\x9F"
         "e"},
        {"\xEF\xBC\xA1\xEF\xBC\xA2\xEF\xBC\x91", "ab1"},  // full width
        {"\xE3\x81\x8C", "\xE3\x82\xAB"},                 // hiragana ga, katakana ka
        {"\xE3\x81\xA3", "\xE3\x83\x84"},                 // small tsu, katakana tsu
        {"\xEF\xBD\xB6\xEF\xBE\x9E", "\xE3\x81\x8B"},     // half-width ga, hiragana ka
        {"\xC4\xB0stanbul", "istanbul"},
        {"\xEF\xAC\x81n", "FIN"},
    };
    for (const auto& [a, b] : equal)
        EXPECT_EQ(foldedForSearch(a), foldedForSearch(b)) << a;
    EXPECT_NE(foldedForSearch("\xE3\x81\x8B"), foldedForSearch("\xE3\x81\x8D"));
    for (const auto& [broken, repaired] : {std::pair{"a\xFF"
                                                     "b",
                                                     "a\xEF\xBF\xBD"
                                                     "b"},
                                           {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
                                           {"\xC3", "\xEF\xBF\xBD"}}) {
        EXPECT_FALSE(isValidUTF8(broken));
        EXPECT_EQ(repairedUTF8(broken), repaired);
    }
}

}  // namespace
}  // namespace zun
