#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "core/ManagerWorld.h"
#include "core/NoCloud.h"
#include "core/NotificationNames.h"
#include "platform/foundation/SystemDispatch.h"

namespace zun {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Act = std::function<void(ZNReminderManager&, const ReminderPtr&, ShouldSyncWithiCloud)>;

const std::vector<std::pair<std::string, Act>>& writes() {
    static const std::vector<std::pair<std::string, Act>> all = {
        {"save", [](auto& manager, auto& reminder, auto sync) { manager.saveReminder(reminder, sync); }},
        {"update", [](auto& manager, auto& reminder,
                      auto sync) { manager.updateReminder(reminder, ShouldUpdateDateModified::No, sync); }},
        {"delete", [](auto& manager, auto& reminder, auto sync) { manager.deleteReminder(reminder, sync); }},
        {"bulk update",
         [](auto& manager, auto& reminder, auto sync) { manager.bulkUpdateReminders({reminder}, sync); }},
        {"bulk delete",
         [](auto& manager, auto& reminder, auto sync) { manager.bulkDeleteReminders({reminder}, sync); }},
    };
    return all;
}

TEST(Writing, ReachesTheCloudByFlagSettingAndShare) {
    for (const auto& [verb, act] : writes()) {
        for (int bits = 0; bits < 8; ++bits) {
            const bool flag = bits & 1, wanted = bits & 2, shared = bits & 4;
            SCOPED_TRACE(testing::Message() << verb << " flag " << flag << " sync " << wanted << " shared " << shared);
            ManagerWorld world;
            auto attributes = world.dated("r", "2026-01-20T09:00");
            if (shared) attributes.shareURL = "https://share.example/1";
            const auto reminder =
                verb == "save" ? std::make_shared<ZNReminderObject>(attributes) : world.store(attributes);
            world.settings.setShouldUseCloudKit(wanted);
            act(world.manager, reminder, flag ? ShouldSyncWithiCloud::Yes : ShouldSyncWithiCloud::No);
            world.settle();

            // Bulk operations leave the shared records of a user without sync alone.
            const bool isBulk = verb.starts_with("bulk");
            const bool expected = flag && (wanted || (shared && !isBulk));
            const auto line = verb + (verb == "delete" ? " r" : " r retry");
            EXPECT_EQ(world.cloud.takeLines(), expected ? std::vector{line} : std::vector<std::string>());
            EXPECT_EQ(world.stored("r") != nullptr, !verb.ends_with("delete"));
        }
    }
}

TEST(Writing, LeavesAMarkForTheNextSyncWhereAPushFails) {
    struct Case {
        std::string verb;
        FakeCloud::Answer answer;
        bool didPersist, hasLocalChanges;
        std::optional<bool> shouldDeleteRemote;
        bool isStored = true;
    };
    using enum FakeCloud::Answer;
    for (const auto& expected : {
             Case{"save", Success, true, false, {}},
             Case{"save", Error, false, false, {}},
             Case{"update", Success, false, false, {}},
             Case{"update", Error, false, true, {}},
             Case{"delete", Success, false, false, {}, false},
             Case{"delete", Error, false, false, true},
             Case{"bulk update", Success, false, false, {}},
             Case{"bulk update", Error, false, true, {}},
             Case{"bulk delete", Success, false, false, {}, false},
             Case{"bulk delete", Error, false, false, true},
         }) {
        SCOPED_TRACE(testing::Message() << expected.verb << " answer " << static_cast<int>(expected.answer));
        ManagerWorld world;
        world.settings.setShouldUseCloudKit(true);
        world.cloud.setAnswer(expected.answer);
        const auto attributes = world.dated("r", "2026-01-20T09:00");
        const auto reminder =
            expected.verb == "save" ? std::make_shared<ZNReminderObject>(attributes) : world.store(attributes);
        for (const auto& [verb, act] : writes()) {
            if (verb == expected.verb) act(world.manager, reminder, ShouldSyncWithiCloud::Yes);
        }
        world.manager.waitUntilSettled();

        const auto stored = world.stored("r");
        ASSERT_EQ(stored != nullptr, expected.isStored);
        if (!stored) continue;
        EXPECT_EQ(stored->didPersistToiCloud(), expected.didPersist);
        EXPECT_EQ(stored->hasLocalChanges(), expected.hasLocalChanges);
        EXPECT_EQ(stored->shouldDeleteRemote(), expected.shouldDeleteRemote);
        // Bulk updates pass the sync flag on as the date flag; the marks stamp nothing.
        EXPECT_EQ(stored->modified_date().has_value(), expected.verb == "bulk update");
    }
}

TEST(Writing, APushWithoutAnAnswerCountsAsFailedForTheNextProgram) {
    for (const auto& [verb, act] : writes()) {
        SCOPED_TRACE(verb);
        ManagerWorld world;
        world.settings.setShouldUseCloudKit(true);
        const auto attributes = world.dated("r", "2026-01-20T09:00");
        const auto reminder = verb == "save" ? std::make_shared<ZNReminderObject>(attributes) : world.store(attributes);
        act(world.manager, reminder, ShouldSyncWithiCloud::Yes);
        world.manager.waitUntilSettled();
        world.dispatch.advance(std::chrono::minutes(1));
        world.database.takeUnfinishedPushesForFailed();
        world.settle();
        ASSERT_TRUE(world.stored("r"));
        EXPECT_EQ(world.stored("r")->hasLocalChanges(), verb.ends_with("update"));
        EXPECT_EQ(world.stored("r")->shouldDeleteRemote().value_or(false), verb.ends_with("delete"));
    }
}

std::string alertLine(const std::string& reminderID) {
    return "schedule " + reminderID + " 2026-01-20T09:00:00Z";
}
std::vector<std::string> removals(std::vector<std::string> lines) {
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("remove"); });
    return lines;
}

TEST(Writing, KeepsTheAlertsInLineOnAQueueOfTheirOwnInTheOrderOfTheChanges) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        ManagerWorld world(seed);
        std::vector<ReminderPtr> reminders;
        for (const auto* id : {"a", "b", "c"}) {
            reminders.push_back(std::make_shared<ZNReminderObject>(world.dated(id, "2026-01-20T09:00")));
            world.manager.saveReminder(reminders.back(), ShouldSyncWithiCloud::No);
        }
        world.settle();
        const auto lines = world.userNotifications.takeLines();
        EXPECT_THAT(lines, UnorderedElementsAre("remove a", "remove b", "remove c", alertLine("a"), alertLine("b"),
                                                alertLine("c")));
        EXPECT_THAT(removals(lines), ElementsAre("remove a", "remove b", "remove c"));

        world.manager.bulkUpdateReminders(reminders, ShouldSyncWithiCloud::Yes);
        world.settle();
        EXPECT_THAT(world.userNotifications.takeLines(), IsEmpty());

        bool blockCameFirst = false;
        world.manager.bulkDeleteReminders({reminders[0], reminders[1]}, ShouldSyncWithiCloud::No,
                                          [&] { blockCameFirst = world.userNotifications.takeLines().empty(); });
        world.settle();
        EXPECT_TRUE(blockCameFirst);
        EXPECT_THAT(world.userNotifications.takeLines(), ElementsAre("remove a", "remove b"));

        world.manager.deleteReminder(reminders[2], ShouldSyncWithiCloud::No);
        world.settle();
        EXPECT_THAT(world.userNotifications.takeLines(), ElementsAre("remove c"));
    }
}

TEST(Writing, AStoreThatRefusesLetsNothingFollow) {
    SimulatedDispatch dispatch(3);
    const TestEnvironment environment;
    const TemporaryFolder folder;
    // A file where the folder should be: nothing can be stored, whoever runs the test.
    std::ofstream(folder.path() / "data") << "in the way";
    NSNotificationCenter notifications;
    ZNDatabase database(folder.path() / "data", {dispatch, notifications, environment});
    ZNUserDefaults defaults(folder.path() / "configuration");
    ZNSettingsObject settings(defaults, nullptr, nullptr);
    settings.setShouldUseCloudKit(true);
    int refusals = 0;
    database.setFailureHandler([&](const StoreError&) { ++refusals; });
    FakeCloud cloud;
    MemoryNotificationCenter userNotifications;
    const LocalizedStrings strings({"en"});
    const DateLabels labels(environment, strings);
    const ClockWitness clock(folder.path() / "state", environment);
    ZNReminderManager manager(
        {database, settings, dispatch, notifications, environment, cloud, userNotifications, labels, strings, clock});

    const auto reminder = std::make_shared<ZNReminderObject>();
    manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
    manager.bulkSortAndUpdate({reminder}, ShouldSyncWithiCloud::Yes);
    manager.waitUntilSettled();
    dispatch.advance(std::chrono::minutes(1));
    EXPECT_EQ(refusals, 2);
    userNotifications.scheduleNotification({});
    EXPECT_EQ(manager.removeStaleLocalNotifications(), 0u) << "nothing is known to be stale";
    EXPECT_EQ(manager.deDupeDatabase(), 0u);
    EXPECT_THAT(userNotifications.takeLines(), testing::SizeIs(1));
    EXPECT_THAT(cloud.takeLines(), IsEmpty());
    EXPECT_THAT(userNotifications.takeLines(), IsEmpty());
    EXPECT_THAT(manager.fetchAllReminders(), IsEmpty());
}

TEST(Writing, ImportKeepsEveryAttributeButMarksReplacesAndSchedules) {
    ManagerWorld world;
    world.settings.setShouldUseCloudKit(true);
    auto sent = world.dated("known", "2026-01-20T09:00");
    sent.didPersistToiCloud = true;
    world.store(sent);
    auto known = world.dated("known", "2027-01-01T00:00");
    known.modified_date = world.at("2020-02-02T02:02:02.000002Z");
    auto fresh = world.dated("fresh", "0001-01-01T00:00");
    fresh.rank = -5;
    fresh.shouldDeleteRemote = false;
    fresh.didPersistToiCloud = true;
    world.manager.importReminders(
        {std::make_shared<ZNReminderObject>(known), std::make_shared<ZNReminderObject>(fresh)});
    world.settle();
    // What the cloud has, the file cannot know.
    known.didPersistToiCloud = known.hasLocalChanges = true;
    fresh.didPersistToiCloud = false;
    EXPECT_EQ(world.stored("known")->attributes(), known);
    EXPECT_EQ(world.stored("fresh")->attributes(), fresh);
    EXPECT_THAT(world.alerts("known"), ElementsAre("2027-01-01T00:00:00"));
    EXPECT_THAT(world.userNotifications.takeLines(), Contains("remove fresh"));
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());
}

// The one story over real threads: what waiting promises, and food for the thread sanitizer.
TEST(Writing, ManyThreadsWriteAndWaitingSeesAllOfIt) {
    SystemDispatch dispatch(std::make_shared<LoopQueue>());
    const TestEnvironment environment;
    const TemporaryFolder folder;
    NSNotificationCenter notifications;
    ZNDatabase database(folder.path(), {dispatch, notifications, environment});
    ZNUserDefaults defaults(folder.path());
    ZNSettingsObject settings(defaults, nullptr, nullptr);
    settings.setShouldUseCloudKit(true);
    NoCloud cloud;
    MemoryNotificationCenter userNotifications;
    const LocalizedStrings strings({"en"});
    const DateLabels labels(environment, strings);
    const ClockWitness clock(folder.path() / "state", environment);
    constexpr int threadCount = 4;
    constexpr int perThread = 10;
    {
        ZNReminderManager manager({database, settings, dispatch, notifications, environment, cloud, userNotifications,
                                   labels, strings, clock});
        std::vector<std::thread> threads;
        for (int t = 0; t < threadCount; ++t) {
            threads.emplace_back([&, t] {
                for (int i = 0; i < perThread; ++i) {
                    const auto reminder = std::make_shared<ZNReminderObject>();
                    reminder->setTitle(std::to_string(t));
                    manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
                    manager.snoozeReminder(reminder, environment.now());
                    manager.bulkSortAndUpdate({reminder}, ShouldSyncWithiCloud::Yes);
                    if (i % 2) manager.completeReminder(reminder);
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
        manager.waitUntilSettled();
        EXPECT_EQ(manager.numberOfTotalReminders(), std::size_t{threadCount * perThread});
        EXPECT_EQ(manager.fetchAllCompletedReminders().size(), std::size_t{threadCount * perThread / 2});
        EXPECT_EQ(manager.fetchAllRemindersWithLocalChanges().size(), std::size_t{threadCount * perThread});
        EXPECT_EQ(userNotifications.takeLines().size(), std::size_t{threadCount * perThread * 5 / 2});
        manager.willBecomeInactive();
        manager.saveReminder(std::make_shared<ZNReminderObject>(), ShouldSyncWithiCloud::Yes);
    }
    EXPECT_EQ(userNotifications.takeLines().size(), 1u) << "a manager that goes lets its last write come to its end";
}

TEST(Writing, WhatABroughtBackVersionReplacesIsKept) {
    ManagerWorld world;
    const auto titles = [&] {
        world.settle();
        std::vector<std::string> all;
        for (const auto& kept : world.database.keptVersions())
            all.push_back(kept.record.title);
        return all;
    };
    world.settings.setShouldUseCloudKit(true);
    world.store(world.dated("r", "2026-01-20T09:00"));
    auto former = world.stored("r")->attributes();
    former.title = "former";
    world.manager.bringBack(former);
    EXPECT_THAT(titles(), ElementsAre("r"));
    EXPECT_EQ(world.stored("r")->title(), "former");
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("update r retry"));
    world.environment.setNow("2026-01-14T11:00:00Z");
    world.manager.bringBack(former);
    EXPECT_THAT(titles(), ElementsAre("r")) << "it is there already";
    world.manager.bringBack(world.database.keptVersions().front().record);
    EXPECT_THAT(titles(), ElementsAre("former", "r"));
    EXPECT_EQ(world.stored("r")->title(), "r");
}

}  // namespace
}  // namespace zun
