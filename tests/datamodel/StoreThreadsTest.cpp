#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "ZunDataModel/ZNDatabase.h"
#include "datamodel/RecordTools.h"
#include "platform/foundation/SystemDispatch.h"

namespace zun {
namespace {

// A program with real threads over the store, as the command line has it.
struct Program {
    explicit Program(const std::filesystem::path& folder) : store(folder, {dispatch, notifications, environment}) {}

    std::shared_ptr<LoopQueue> main = std::make_shared<LoopQueue>();
    SystemDispatch dispatch{main};
    NSNotificationCenter notifications;
    TestEnvironment environment{"2026-02-01T09:00:00Z"};
    ZNDatabase store;
};

TEST(StoreThreads, FetchesSeeWholeCommitsAndEveryWriteWhoseBlockRan) {
    const TemporaryFolder folder;
    Program program(folder.path());
    // Both records of a pair are written in one commit and always bear the same rank.
    const auto pair = [](std::int64_t rank) {
        std::vector<ReminderPtr> reminders{namedReminder("left"), namedReminder("right")};
        for (const auto& reminder : reminders)
            reminder->setRank(rank);
        return reminders;
    };
    program.store.replaceReminders(pair(0));
    program.store.waitForWrites();

    std::atomic<std::int64_t> durable = 0;
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            while (!done) {
                const std::int64_t atLeast = durable;
                const auto found =
                    program.store
                        .fetchRemindersForPredicate(NSPredicate::predicateWithFormat("rank >= %@", {std::int64_t{0}}),
                                                    {}, ReturnAsReminderObject::Yes)
                        .reminders;
                ASSERT_EQ(found.size(), 2u);
                ASSERT_EQ(found[0]->rank(), found[1]->rank());
                ASSERT_GE(found[0]->rank(), atLeast);
            }
        });
    }
    for (std::int64_t rank = 1; rank <= 200; ++rank)
        program.store.bulkUpdateReminders(pair(rank), ShouldUpdateDateModified::No, SaveIfNotFound::No,
                                          [&durable, rank](const auto&) { durable = rank; });
    program.store.waitForWrites();
    EXPECT_EQ(durable, 200);
    done = true;
    for (auto& thread : threads)
        thread.join();
}

TEST(StoreThreads, TellsOfOtherProgramsOnTheMainQueue) {
    const TemporaryFolder folder;
    Program here(folder.path());
    Program there(folder.path());
    std::string title;
    const auto observation =
        here.notifications.addObserver(ZNReminderObjectAddedNotification, [&](const NSNotification& notification) {
            EXPECT_TRUE(here.main->isCurrent());
            title = std::any_cast<ReminderPtr>(notification.object)->title();
        });
    here.store.watchForChanges();
    there.store.addReminder(namedReminder("a", "from there"));
    here.main->runUntil([&] { return !title.empty(); });
    EXPECT_EQ(title, "from there");
}

TEST(StoreThreads, EndsWithEveryWriteDone) {
    const TemporaryFolder folder;
    std::atomic<int> written = 0;
    {
        Program program(folder.path());
        program.store.watchForChanges();
        for (int i = 0; i < 50; ++i)
            program.store.addReminder(namedReminder(""), [&](const auto&) { ++written; });
    }
    EXPECT_EQ(written, 50);
    Program again(folder.path());
    EXPECT_EQ(again.store.fetchRemindersForPredicate(std::nullopt, {}, ReturnAsReminderObject::No).count, 50u);
}

}  // namespace
}  // namespace zun
