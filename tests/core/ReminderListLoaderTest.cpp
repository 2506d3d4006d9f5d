#include "core/ReminderListLoader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "ZunDataModel/SearchFolding.h"
#include "core/ManagerWorld.h"
#include "platform/foundation/SystemDispatch.h"

namespace zun {
namespace {

using Type = ReminderListLoader::Type;
using testing::ElementsAre;

std::string flat(const ListRows& rows) {
    std::string text;
    for (std::size_t i = 0; i < rows.size(); ++i)
        text += (rows.isHeader(i) ? "[" + rows.heading(i) + "]" : std::string(rows.reminderID(i))) + " ";
    return text;
}

class ReminderListLoaderTest : public testing::Test {
  protected:
    void store(std::string identifier, std::string title, std::string_view start) {
        auto record = world.dated(identifier, start);
        record.title = std::move(title);
        world.store(std::move(record));
    }
    ReminderListLoader::Completion into(std::string name) {
        return [this, name = std::move(name)](const ListRows& rows) {
            EXPECT_TRUE(world.dispatch.main()->isCurrent());
            answers.push_back(name + ": " + flat(rows));
        };
    }
    std::vector<std::string> takeAnswers() {
        world.dispatch.runUntilIdle();
        return std::exchange(answers, {});
    }

    ManagerWorld world;
    std::vector<std::string> answers;
    std::optional<ReminderListLoader> loader{
        std::in_place, ReminderListLoader::Collaborators{world.manager, world.labels, world.strings, world.environment,
                                                         world.dispatch}};
};

TEST_F(ReminderListLoaderTest, AnswersTheLastCallOnly) {
    store("a", "Straße kehren", "2026-01-13T10:00:00Z");
    store("b", "strasse sperren", "2026-01-15T10:00:00Z");
    store("c", "ÉCLAIR", "2026-01-15T11:00:00Z");
    auto done = world.dated("d", "2026-01-10T10:00:00Z");
    done.completed_date = world.at("2026-01-11T10:00:00Z");
    world.store(done);
    const auto due = "[" + world.strings.string("List_Default_Section_Title") + "] ";

    loader->search("nothing was fetched", into("early"));
    EXPECT_THAT(takeAnswers(), ElementsAre("early: "));
    loader->fetch(Type::Completed, into("replaced"));
    loader->fetch(Type::Upcoming, into("all"));
    EXPECT_THAT(takeAnswers(), ElementsAre("all: " + due + "a [Tomorrow] b c "));
    // The search replaces the fetch's answer and still sees what it fetched.
    loader->fetch(Type::Completed, into("replaced"));
    loader->search("D", into("done"));
    EXPECT_THAT(takeAnswers(), ElementsAre("done: [January 2026] d "));
    loader->search("x", into("replaced"));
    loader->fetch(Type::Upcoming, "STRAS", into("fetched and searched"));
    EXPECT_THAT(takeAnswers(), ElementsAre("fetched and searched: " + due + "a [Tomorrow] b "));
    loader->search("eclair", into("blind"));
    EXPECT_THAT(takeAnswers(), ElementsAre("blind: [Tomorrow] c "));
    loader->removeReminderById("b");
    loader->search("", into("without"));
    EXPECT_THAT(takeAnswers(), ElementsAre("without: " + due + "a [Tomorrow] c "));
    loader->search("str", into("still without"));
    EXPECT_THAT(takeAnswers(), ElementsAre("still without: " + due + "a "));
    loader->fetch(Type::Upcoming, into("anew"));
    EXPECT_THAT(takeAnswers(), ElementsAre("anew: " + due + "a [Tomorrow] b c "));
    // What is on its way out of the store comes back neither by a search nor by a fetch.
    loader->leaveOut(std::make_shared<const std::vector<std::string>>(std::vector<std::string>{"c", "gone"}));
    loader->search("", into("without"));
    EXPECT_THAT(takeAnswers(), ElementsAre("without: " + due + "a [Tomorrow] b "));
    loader->leaveOut(std::make_shared<const std::vector<std::string>>(std::vector<std::string>{"a"}));
    loader->fetch(Type::Upcoming, into("fetched without"));
    EXPECT_THAT(takeAnswers(), ElementsAre("fetched without: [Tomorrow] b "));
    loader->admitAll();
    loader->fetch(Type::Upcoming, into("anew"));
    EXPECT_THAT(takeAnswers(), ElementsAre("anew: " + due + "a [Tomorrow] b c "));

    // A completion may call again or end the loader.
    loader->fetch(Type::Upcoming, [this](const ListRows&) { loader->search("sperren", into("nested")); });
    EXPECT_THAT(takeAnswers(), ElementsAre("nested: [Tomorrow] b "));
    loader->fetch(Type::Upcoming, [this](const ListRows&) {
        loader.reset();
        answers.push_back("gone");
    });
    EXPECT_THAT(takeAnswers(), ElementsAre("gone"));
}

TEST_F(ReminderListLoaderTest, StaysSilentOnceItIsGoneAndRowsLiveOn) {
    store("a", "a", "2026-01-13T10:00:00Z");
    const auto held = std::make_shared<int>();
    std::optional<ListRows> rows;
    loader->fetch(Type::Upcoming, [&](ListRows got) { rows = std::move(got); });
    world.dispatch.runUntilIdle();
    loader->fetch(Type::Upcoming, [this, held](const ListRows&) { answers.push_back("too late"); });
    loader.reset();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_TRUE(takeAnswers().empty());
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->reminder(1).title, "a");
}

// Letters typed and taken away at random, against a search that starts afresh each time over whole records.
TEST_F(ReminderListLoaderTest, NarrowsToWhatAFreshSearchFinds) {
    static constexpr const char* letters[] = {"a", "B", "b", "é", "e", "ß", "s", " "};
    std::mt19937 random(5);
    const auto letter = [&] { return letters[random() % std::size(letters)]; };
    for (int i = 0; i < 200; ++i) {
        std::string title;
        for (auto length = random() % 12; length-- > 0;)
            title += letter();
        store("r" + std::to_string(i), title, i % 2 == 0 ? "2026-01-10T10:00:00Z" : "2026-02-10T10:00:00Z");
    }
    loader->fetch(Type::Upcoming, [](const ListRows&) {});
    const auto all = world.manager.fetchAllIncompleteReminders();
    std::vector<std::string> typed;
    for (int step = 0; step < 300; ++step) {
        if (typed.empty() || random() % 5 > 1)
            typed.insert(typed.begin() + static_cast<std::ptrdiff_t>(random() % (typed.size() + 1)), letter());
        else
            typed.erase(typed.begin() + static_cast<std::ptrdiff_t>(random() % typed.size()));
        std::string text;
        for (const auto& each : typed)
            text += each;
        auto expected = all;
        std::erase_if(expected, [folded = foldedForSearch(text)](const ReminderPtr& each) {
            return foldedForSearch(each->title()).find(folded) == std::string::npos;
        });
        std::string plain;
        for (const auto& row : upcomingRows(expected, world.labels, world.strings, world.environment)) {
            const auto* heading = std::get_if<std::string>(&row);
            plain += (heading ? "[" + *heading + "]" : std::get<ReminderPtr>(row)->reminderID().value_or("")) + " ";
        }
        loader->search(text, into("found"));
        ASSERT_THAT(takeAnswers(), ElementsAre("found: " + plain)) << "\"" << text << "\"";
    }
}

// Threads as in the programs: calls come faster than answers, the store changes beneath, and loaders end in the middle
// of their work.
TEST(ReminderListLoaderThreadsTest, EndsInTheMiddleOfItsWork) {
    const auto main = std::make_shared<LoopQueue>();
    SystemDispatch dispatch(main);
    TestEnvironment environment;
    TemporaryFolder folder;
    NSNotificationCenter notifications;
    ZNDatabase database(folder.path() / "data", {dispatch, notifications, environment});
    ZNUserDefaults defaults(folder.path() / "configuration");
    ZNSettingsObject settings(defaults, nullptr, nullptr);
    FakeCloud cloud;
    MemoryNotificationCenter userNotifications;
    LocalizedStrings strings({"en"});
    DateLabels labels(environment, strings);
    ClockWitness clock(folder.path() / "state", environment);
    ZNReminderManager manager(
        {database, settings, dispatch, notifications, environment, cloud, userNotifications, labels, strings, clock});
    std::vector<ReminderPtr> reminders;
    for (int i = 0; i < 2'000; ++i) {
        reminders.push_back(std::make_shared<ZNReminderObject>());
        reminders.back()->setTitle("number " + std::to_string(i));
        reminders.back()->onSetFireDate(environment.now() + std::chrono::hours{i - 100});
    }
    database.replaceReminders(reminders);
    database.waitForWrites();
    for (int round = 0; round < 20; ++round) {
        ReminderListLoader loader({manager, labels, strings, environment, dispatch});
        bool isDone = false;
        loader.fetch(Type::Upcoming, [](const ListRows&) { ADD_FAILURE() << "replaced"; });
        reminders[static_cast<std::size_t>(200 + round)]->setTitle("changed");
        database.updateReminder(reminders[static_cast<std::size_t>(200 + round)], ShouldUpdateDateModified::Yes);
        if (round % 3 == 0) continue;
        loader.search("number 1", [](const ListRows&) { ADD_FAILURE() << "replaced"; });
        loader.fetch(Type::Upcoming, "NUMBER 19", [&](const ListRows& rows) {
            EXPECT_EQ(rows.reminderIDs(0, rows.size()).size(), 111U);
            isDone = true;
        });
        if (round % 3 == 1) main->runUntil([&] { return isDone; });
    }
}

}  // namespace
}  // namespace zun
