#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <mutex>

#include "ZunDataModel/store/ChangeWatcher.h"
#include "ZunDataModel/store/StoreDoctor.h"
#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreLock.h"
#include "datamodel/RecordTools.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SharedStore : public testing::Test {
  protected:
    std::vector<std::string> newsOfOther() {
        other.store->readChangeLog();
        return other.takeNews();
    }

    TemporaryFolder folder;
    TestEnvironment environment{"2026-02-01T09:00:00Z"};
    Device one{folder.path(), environment};
    Device other{folder.path(), environment};
};

TEST_F(SharedStore, TellsOnceWhatBecameOfEachRecord) {
    one.add(namedReminder("a", "first"));
    one.add(namedReminder("b"));
    EXPECT_THAT(newsOfOther(), ElementsAre("Added a", "Added b"));
    EXPECT_THAT(newsOfOther(), IsEmpty());

    // Its own changes it told when it made them.
    other.add(namedReminder("c"));
    other.takeNews();
    one.store->updateReminder(namedReminder("a", "again"), ShouldUpdateDateModified::No);
    one.store->updateReminder(namedReminder("a", "and again"), ShouldUpdateDateModified::No);
    one.store->removeReminder(namedReminder("b"));
    one.store->bulkUpdateReminders({namedReminder("d"), namedReminder("c", "bulk")}, ShouldUpdateDateModified::No,
                                   SaveIfNotFound::Yes);
    one.run();
    EXPECT_THAT(newsOfOther(), ElementsAre("Updated a", "Removed b", "Added d", "Updated c"));
    EXPECT_EQ(other.stored("a")->title(), "and again");
    one.store->readChangeLog();
    EXPECT_THAT(one.takeNews(), testing::Contains("Added c"));
}

TEST_F(SharedStore, AsksForOneRefetchWhereManyRecordsChanged) {
    std::vector<ReminderPtr> many;
    for (int i = 0; i < 51; ++i)
        many.push_back(namedReminder("record " + std::to_string(i)));
    const auto changeAll = [&] {
        one.store->replaceReminders(many);
        one.run();
    };
    changeAll();
    EXPECT_THAT(newsOfOther(), ElementsAre("DeDuped"));
    while (many.size() < 1500)
        many.push_back(namedReminder("record " + std::to_string(many.size())));
    changeAll();
    EXPECT_THAT(newsOfOther(), ElementsAre("DeDuped"));
    one.store->clearRemindersFromStore();
    one.run();
    EXPECT_THAT(newsOfOther(), ElementsAre("DeDuped"));
    one.add(namedReminder("twin"));
    one.add(namedReminder("twin"));
    newsOfOther();
    one.store->deDupReminderWithID("twin");
    one.run();
    EXPECT_THAT(newsOfOther(), ElementsAre("DeDuped"));

    // Whoever slept through more than the log keeps has missed something.
    many.resize(900);
    for (int i = 0; i < 13; ++i)
        changeAll();
    EXPECT_THAT(newsOfOther(), ElementsAre("DeDuped"));
    one.add(namedReminder("single"));
    EXPECT_THAT(newsOfOther(), ElementsAre("Added single"));
}

TEST_F(SharedStore, RingsForEachCommit) {
    const StoreFiles files(folder.path());
    std::mutex mutex;
    std::condition_variable rung;
    int rings = 0;
    const ChangeWatcher watcher(files, [&] {
        const std::lock_guard lock(mutex);
        ++rings;
        rung.notify_all();
    });
    for (int i = 0; i < 3; ++i) {
        one.add(namedReminder("a" + std::to_string(i)));
        std::unique_lock lock(mutex);
        rung.wait(lock, [&] { return rings > i; });
    }
    // A writer that died before it could ring has only touched the log.
    const int log = open(files.writeAheadLog().c_str(), O_WRONLY | O_CLOEXEC);
    std::unique_lock lock(mutex);
    const int before = rings;
    char byte = 0;
    const int reading = open(files.writeAheadLog().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(pread(reading, &byte, 1, 0), 1);
    ASSERT_EQ(pwrite(log, &byte, 1, 0), 1);
    close(reading);
    close(log);
    rung.wait(lock, [&] { return rings > before; });
}

TEST(SharedStoreOfProcesses, KeepsEveryRecordOfTwoWriters) {
    constexpr int each = 40;
    const TemporaryFolder folder;
    const TestEnvironment environment{"2026-02-01T09:00:00Z"};
    std::vector<pid_t> writers;
    for (const std::string name : {"one ", "other "}) {
        writers.push_back(fork());
        if (writers.back() != 0) continue;
        // Both make the store's file, too.
        Device device(folder.path(), environment);
        int saved = 0;
        for (int i = 0; i < each; ++i)
            device.store->addReminder(namedReminder(name + std::to_string(i)), [&](const auto&) { ++saved; });
        device.run();
        device.dispatch.advance(std::chrono::minutes{1});
        _exit(saved == each && device.failures.empty() ? 0 : 1);
    }
    for (const pid_t writer : writers) {
        int status = -1;
        waitpid(writer, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const Device reader(folder.path(), environment);
    EXPECT_EQ(reader.count(), 2u * each);
    for (const auto& finding : StoreDoctor(folder.path(), environment).examine())
        EXPECT_EQ(finding.state, DoctorFinding::State::Fine) << finding.text;
}

TEST_F(SharedStore, LetsOnlyOneWriteAtATimeAndWaitsNoLongerThanItMay) {
    const StoreFiles files(folder.path());
    StoreLock lock(files.lock);
    StoreLock rival(files.lock);
    {
        const auto held = lock.acquire(std::chrono::milliseconds{0});
        try {
            const auto second = rival.acquire(std::chrono::milliseconds{5});
            FAIL() << "both hold it";
        } catch (const StoreFailure& failure) {
            EXPECT_EQ(failure.error().code, StoreErrorCode::Busy);
        }
        // Reading goes on meanwhile.
        EXPECT_EQ(other.count(), 0u);
    }
    const auto held = rival.acquire(std::chrono::milliseconds{0});
}

}  // namespace
}  // namespace zun
