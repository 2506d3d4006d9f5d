#include <gmock/gmock.h>

#include "datamodel/RecordTools.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CloudBookkeeping : public testing::Test {
  protected:
    void reopen() {
        device.reset();
        device = std::make_unique<Device>(folder.path(), environment);
        device->store->takeUnfinishedPushesForFailed();
        device->run();
    }
    void update(const std::string& reminderID, const std::string& title, const WriteNotes& notes) {
        auto reminder = device->stored(reminderID);
        reminder->setTitle(title);
        device->store->updateReminder(reminder, ShouldUpdateDateModified::No, {}, notes);
        device->run();
    }
    void remove(const std::string& reminderID, const WriteNotes& notes) {
        device->store->removeReminder(device->stored(reminderID), {}, notes);
        device->run();
    }
    // "replaced Milk", newest first.
    std::vector<std::string> kept() {
        std::vector<std::string> all;
        for (const auto& version : device->store->keptVersions())
            all.push_back((version.reason == KeptReason::Replaced ? "replaced " : "deleted ") + version.record.title);
        return all;
    }

    TemporaryFolder folder;
    TestEnvironment environment{"2026-02-01T09:00:00Z"};
    std::unique_ptr<Device> device = std::make_unique<Device>(folder.path(), environment);
};

TEST_F(CloudBookkeeping, KeepsWhatTheSyncReplacesOrDeletesAndForgetsItInTime) {
    auto milk = namedReminder("milk", "Milk");
    milk->setChecklist("[ ]one\n[x]two");
    milk->setCustomRepeatDayOrdinals(DayOrdinals{2, 4});
    device->add(milk);
    const auto original = milk->attributes();
    update("milk", "Milk", {{}, KeptReason::Replaced});
    EXPECT_THAT(kept(), IsEmpty()) << "nothing was lost";
    update("milk", "Oat milk", {{}, KeptReason::Replaced});
    environment.advance(std::chrono::hours(24));
    remove("milk", {{}, KeptReason::Deleted});
    EXPECT_THAT(kept(), ElementsAre("deleted Oat milk", "replaced Milk"));
    EXPECT_EQ(device->store->keptVersions().back().record, original);

    device->store->forgetKeptVersionsBefore(environment.now());
    device->run();
    EXPECT_THAT(kept(), ElementsAre("deleted Oat milk"));
    reopen();
    EXPECT_THAT(kept(), ElementsAre("deleted Oat milk"));
}

TEST_F(CloudBookkeeping, APushThatNeverEndedLeavesTheMarksOfAFailedOne) {
    for (const auto* name : {"changed", "changed and sent", "deleted", "deleted and sent", "deleted and back"})
        device->add(namedReminder(name, name));
    update("changed", "later", {"push-1", {}});
    update("changed and sent", "later", {"push-2", {}});
    remove("deleted", {"push-3", {}});
    remove("deleted and sent", {"push-4", {}});
    auto back = device->stored("deleted and back");
    remove("deleted and back", {"push-5", {}});
    device->add(back);
    EXPECT_THAT(kept(), IsEmpty()) << "what one deletes oneself is no loss";
    device->store->pushDidEnd("push-2");
    device->store->pushDidEnd("push-4");

    reopen();
    EXPECT_TRUE(device->stored("changed")->hasLocalChanges());
    EXPECT_EQ(device->stored("changed")->title(), "later");
    EXPECT_FALSE(device->stored("changed and sent")->hasLocalChanges());
    ASSERT_TRUE(device->stored("deleted"));
    EXPECT_EQ(device->stored("deleted")->shouldDeleteRemote(), true);
    EXPECT_FALSE(device->stored("deleted and sent"));
    EXPECT_FALSE(device->stored("deleted and back")->shouldDeleteRemote());
    device->stored("changed")->setHasLocalChanges(false);
    device->store->markReminders({"changed"}, CloudMark::HasNoLocalChanges);
    reopen();
    EXPECT_FALSE(device->stored("changed")->hasLocalChanges()) << "they are taken for failed once";
}

TEST_F(CloudBookkeeping, WhatArrivesWhileItIsBeingDeletedGoesIfThatFails) {
    auto milk = namedReminder("milk", "Milk")->attributes();
    milk.modified_date = environment.now();
    auto later = milk;
    later.modified_date = environment.now() + std::chrono::seconds(1);
    for (const auto& [arrives, isWanted] : {std::pair(milk, false), std::pair(later, true)}) {
        device->add(std::make_shared<ZNReminderObject>(milk));
        remove("milk", {"push-1", {}});
        const auto takeIn = [&arrives = arrives](std::size_t, std::optional<ReminderAttributes>& record) {
            EXPECT_FALSE(record);
            record = arrives;
            return RecordVerdict::Write;
        };
        device->store->decideReminders({"milk"}, takeIn, {});
        device->run();
        EXPECT_TRUE(device->stored("milk"));
        device->store->addTombstones({std::make_shared<ZNReminderObject>(milk)}, {});
        device->store->pushDidEnd("push-1");
        device->run();
        EXPECT_EQ(device->stored("milk")->shouldDeleteRemote().value_or(false), !isWanted);
        remove("milk", {});
    }
}

TEST_F(CloudBookkeeping, MarksLeaveEverythingElseAsItIsByThen) {
    device->add(namedReminder("a", "Milk"));
    const auto asPushed = device->stored("a");
    update("a", "Oat milk", {});
    device->takeNews();
    device->store->markReminders({"a", "gone"}, CloudMark::DidPersist);
    device->store->markReminders({"a"}, CloudMark::HasLocalChanges);
    device->store->addTombstones({asPushed, namedReminder("b", "Bread")});
    device->run();
    EXPECT_EQ(device->stored("a")->title(), "Oat milk");
    EXPECT_TRUE(device->stored("a")->didPersistToiCloud());
    EXPECT_TRUE(device->stored("a")->hasLocalChanges());
    EXPECT_FALSE(device->stored("a")->shouldDeleteRemote()) << "it is there again";
    EXPECT_EQ(device->stored("b")->shouldDeleteRemote(), true);
    EXPECT_FALSE(device->stored("gone"));
    EXPECT_THAT(device->takeNews(), IsEmpty());
}

}  // namespace
}  // namespace zun
