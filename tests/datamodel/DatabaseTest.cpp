#include <gmock/gmock.h>

#include <fstream>

#include "datamodel/RecordTools.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Database : public testing::Test {
  protected:
    // What its block was called with, once it was.
    ZNDatabase::ReminderBlock record() {
        return [this](const ReminderPtr& reminder) { blocks.push_back(reminder->reminderID().value_or("nobody")); };
    }
    ZNDatabase::RemindersBlock recordAll() {
        return
            [this](const std::vector<ReminderPtr>& reminders) { blocks.push_back(std::to_string(reminders.size())); };
    }
    void reopen() {
        device.reset();
        device = std::make_unique<Device>(folder.path(), environment);
    }

    TemporaryFolder folder;
    TestEnvironment environment{"2026-02-01T09:00:00Z"};
    std::vector<std::string> blocks;
    std::unique_ptr<Device> device = std::make_unique<Device>(folder.path(), environment);
};

TEST_F(Database, KeepsEveryAttributeThroughAReopening) {
    std::mt19937 random(11);
    std::vector<ReminderAttributes> records(500);
    std::vector<ReminderPtr> reminders;
    for (auto& record : records) {
        record = randomRecord(random, environment.now());
        reminders.push_back(std::make_shared<ZNReminderObject>(record));
    }
    auto& edges = records.emplace_back();
    edges.reminderID = "edges";
    edges.title.assign(1'000'000, 'x');
    edges.start_date = environment.date("0001-01-01T00:00:00Z");
    edges.end_date = environment.date("9999-12-31T23:59:59.999999Z");
    edges.snoozeCount = std::numeric_limits<std::uint64_t>::max();
    edges.rank = std::numeric_limits<std::int64_t>::min();
    edges.locationLatitude = 1e-300;
    edges.customRepeatDayOrdinals = DayOrdinals{7, -1, 0, 1 << 30};
    reminders.push_back(std::make_shared<ZNReminderObject>(edges));
    device->store->replaceReminders(reminders);
    reopen();
    for (const auto& record : records) {
        const auto stored = device->stored(*record.reminderID);
        ASSERT_TRUE(stored);
        EXPECT_EQ(stored->attributes(), record);
    }
}

TEST_F(Database, RepairsWhatNoFileCanKeep) {
    auto reminder = namedReminder("bad\xFF", "torn \xC3");
    reminder->setLocationLatitude(std::nan(""));
    device->add(reminder);
    const auto stored = device->stored("bad\xEF\xBF\xBD");
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->title(), "torn \xEF\xBF\xBD");
    EXPECT_EQ(stored->locationLatitude(), 0);
    // The caller's object still names the stored record.
    reminder->setTitle("mended");
    device->store->updateReminder(reminder, ShouldUpdateDateModified::No);
    device->run();
    EXPECT_EQ(device->stored("bad\xEF\xBF\xBD")->title(), "mended");
}

TEST_F(Database, WritesTellOfThemselvesAndCallTheirBlocks) {
    auto reminder = namedReminder("", "first");
    device->store->addReminder(reminder, record());
    EXPECT_EQ(reminder->reminderID(), "id-1");
    EXPECT_THAT(blocks, IsEmpty());
    // What is changed after the call belongs to the next write.
    reminder->setTitle("second");
    device->run();
    EXPECT_EQ(device->stored("id-1")->title(), "first");
    EXPECT_THAT(device->takeNews(), ElementsAre("Added id-1"));

    environment.setNow("2026-02-01T10:00:00Z");
    device->store->updateReminder(reminder, ShouldUpdateDateModified::Yes, record());
    device->run();
    EXPECT_EQ(device->stored("id-1")->title(), "second");
    EXPECT_EQ(device->stored("id-1")->modified_date(), environment.now());
    EXPECT_EQ(reminder->modified_date(), environment.now());
    EXPECT_THAT(device->takeNews(), ElementsAre("Updated id-1"));

    device->store->updateReminder(namedReminder("unknown"), ShouldUpdateDateModified::Yes, record());
    device->store->removeReminder(namedReminder("unknown"), record());
    device->store->updateReminder(namedReminder(""), ShouldUpdateDateModified::No, record());
    device->run();
    EXPECT_EQ(device->count(), 1u);
    EXPECT_THAT(device->takeNews(), IsEmpty());

    device->store->removeReminder(reminder, record());
    device->run();
    EXPECT_EQ(device->count(), 0u);
    EXPECT_THAT(device->takeNews(), ElementsAre("Removed id-1"));
    EXPECT_THAT(blocks, ElementsAre("id-1", "id-1", "unknown", "unknown", "nobody", "id-1"));
    EXPECT_THAT(device->failures, IsEmpty());
}

TEST_F(Database, BulkOperationsTellNothingAndPassOverTheUnknown) {
    device->add(namedReminder("a", "old"));
    device->takeNews();
    const auto fresh = namedReminder("", "fresh");
    const std::vector<ReminderPtr> reminders{namedReminder("a", "new"), namedReminder("b"), fresh};
    device->store->bulkUpdateReminders(reminders, ShouldUpdateDateModified::Yes, SaveIfNotFound::No, recordAll());
    device->run();
    EXPECT_EQ(device->count(), 1u);
    EXPECT_EQ(device->stored("a")->title(), "new");
    EXPECT_EQ(device->stored("a")->modified_date(), environment.now());

    device->store->bulkUpdateReminders(reminders, ShouldUpdateDateModified::No, SaveIfNotFound::Yes, recordAll());
    device->run();
    EXPECT_EQ(device->count(), 3u);
    EXPECT_TRUE(fresh->reminderID());

    device->store->bulkDeleteReminders({reminders[0], reminders[2], namedReminder("unknown")}, recordAll());
    device->run();
    EXPECT_EQ(device->count(), 1u);
    EXPECT_THAT(device->takeNews(), IsEmpty());
    EXPECT_THAT(blocks, ElementsAre("3", "3", "3"));
}

TEST_F(Database, ReplacingACopyWithItsSeriesNeverShowsNeitherOfThem) {
    device->add(namedReminder("series", "moved on"));
    device->add(namedReminder("series+copy"));
    device->takeNews();
    device->store->replaceCopyWithSeries(namedReminder("series+copy"), namedReminder("series", "back"), record());
    device->run();
    EXPECT_EQ(device->stored("series")->title(), "back");
    EXPECT_FALSE(device->stored("series+copy"));
    EXPECT_THAT(device->takeNews(), ElementsAre("Updated series", "Removed series+copy"));
    device->store->replaceCopyWithSeries(namedReminder("series"), namedReminder("another"), record());
    device->run();
    EXPECT_THAT(device->takeNews(), ElementsAre("Added another", "Removed series"));
    EXPECT_THAT(blocks, ElementsAre("series", "another"));
}

TEST_F(Database, DeDuplicationLeavesTheNewestOfAnIdentifier) {
    for (const char* modified : {"", "2026-01-03T00:00:00Z", "2026-01-05T00:00:00Z", "2026-01-04T00:00:00Z"}) {
        auto reminder = namedReminder("twin", modified);
        if (*modified) reminder->setModified_date(environment.date(modified));
        device->add(reminder);
    }
    device->add(namedReminder("single"));
    ASSERT_EQ(device->count(), 5u);
    device->takeNews();
    device->store->deDupReminderWithID("twin");
    device->store->deDupReminderWithID("twin");
    device->store->deDupReminderWithID("single");
    device->store->deDupReminderWithID("unknown");
    device->run();
    EXPECT_EQ(device->count(), 2u);
    EXPECT_EQ(device->stored("twin")->title(), "2026-01-05T00:00:00Z");
    EXPECT_THAT(device->takeNews(), ElementsAre("DeDuped"));
}

TEST_F(Database, GivesOutIndependentCopies) {
    device->add(namedReminder("a", "stored"));
    const auto one = device->stored("a");
    const auto other = device->stored("a");
    one->setTitle("changed in memory");
    EXPECT_EQ(other->title(), "stored");
    EXPECT_EQ(device->stored("a")->title(), "stored");
}

TEST_F(Database, SearchesTitlesBlindToCaseAndAccents) {
    device->add(namedReminder("a", "B\xC3\xA4r f\xC3\xBCttern"));
    device->add(namedReminder("b", "B\xC3\xA4ume"));
    auto renamed = namedReminder("c", "other");
    device->add(renamed);
    renamed->setTitle("the BAR");
    device->store->updateReminder(renamed, ShouldUpdateDateModified::No);
    device->run();
    EXPECT_THAT(device->store->reminderIDsWithTitleContaining("bar"), UnorderedElementsAre("a", "c"));
    EXPECT_THAT(device->store->reminderIDsWithTitleContaining("B\xC3\x84U"), UnorderedElementsAre("b"));
    EXPECT_EQ(device->store->reminderIDsWithTitleContaining("").size(), 3u);
}

TEST_F(Database, ClearingKeepsADatedBackup) {
    device->store->clearRemindersFromStore();
    device->add(namedReminder("a", "precious"));
    device->takeNews();
    bool cleared = false;
    device->store->clearRemindersFromStore([&] { cleared = true; });
    device->run();
    EXPECT_TRUE(cleared);
    EXPECT_EQ(device->count(), 0u);
    EXPECT_THAT(device->takeNews(), ElementsAre("DeDuped"));

    std::vector<std::string> backups;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "backups"))
        backups.push_back(entry.path().filename());
    ASSERT_THAT(backups, ElementsAre("reminders-20260201T090000Z-cleared.sqlite"));
    const TemporaryFolder elsewhere;
    std::filesystem::copy(folder.path() / "backups" / backups[0], elsewhere.path() / "reminders.sqlite");
    EXPECT_EQ(Device(elsewhere.path(), environment).stored("a")->title(), "precious");
}

TEST_F(Database, KeepsTheRareBackupsFromTheRoutineOnes) {
    device->add(std::make_shared<ZNReminderObject>());
    device->store->clearRemindersFromStore();
    device->add(std::make_shared<ZNReminderObject>());
    for (int day = 0; day < 20; ++day) {
        environment.advance(std::chrono::hours{24});
        device->store->backUpBeforeSweep([] {});
        device->run();
    }
    std::vector<std::string> backups;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() / "backups"))
        backups.push_back(entry.path().filename());
    EXPECT_THAT(backups, UnorderedElementsAre("reminders-20260201T090000Z-cleared.sqlite",
                                              "reminders-20260219T090000Z-completed.sqlite",
                                              "reminders-20260220T090000Z-completed.sqlite",
                                              "reminders-20260221T090000Z-completed.sqlite"));
}

TEST_F(Database, WritesItsLogBackWhenItIsLongAndWhenItRests) {
    const auto fileSize = [&] { return std::filesystem::file_size(folder.path() / "reminders.sqlite"); };
    const auto logSize = [&] { return std::filesystem::file_size(folder.path() / "reminders.sqlite-wal"); };
    const auto empty = fileSize();
    device->add(namedReminder("a"));
    EXPECT_EQ(fileSize(), empty);
    device->dispatch.advance(std::chrono::minutes{1});
    EXPECT_GT(fileSize(), empty);

    // Programs that each live for one write only still keep the log short.
    for (int i = 0; i < 12; ++i) {
        reopen();
        device->add(namedReminder("long", std::string(1'000'000, 'x')));
    }
    EXPECT_LT(logSize(), 8'000'000u);
    EXPECT_GT(fileSize(), 10'000'000u);
}

}  // namespace
}  // namespace zun
