#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/ManagerWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

// Whatever order the queues run in.
class Reordering : public testing::TestWithParam<int> {
  protected:
    Reordering() : world(static_cast<std::uint64_t>(GetParam())) {
        world.settings.setShouldUseCloudKit(true);
        for (const auto* id : {"a", "b", "c"})
            deck.push_back(world.store(world.dated(id, "2026-01-10T09:00")));
        skipped = {deck[1], deck[2], deck[0]};
    }

    ManagerWorld world;
    std::vector<ReminderPtr> deck;
    std::vector<ReminderPtr> skipped;
};

TEST_P(Reordering, WritesFallingRanksThatTheDeckFollows) {
    world.manager.bulkSortAndUpdate(skipped, ShouldSyncWithiCloud::No);
    world.settle();
    EXPECT_EQ(world.stored("b")->rank(), 3);
    EXPECT_EQ(world.stored("c")->rank(), 2);
    EXPECT_EQ(world.stored("a")->rank(), 1);
    EXPECT_FALSE(world.stored("a")->modified_date().has_value());
    EXPECT_THAT(ManagerWorld::ids(world.manager.fetchAllActiveRemindersWithDefaultSort(true)),
                ElementsAre("b", "c", "a"));
    world.dispatch.advance(1min);
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty()) << "without the flag there is no upload to hold back";
    EXPECT_THAT(world.userNotifications.takeLines(), IsEmpty());
}

TEST_P(Reordering, OnlyTheLastOfARunIsUploadedFourSecondsLater) {
    world.manager.bulkSortAndUpdate(deck, ShouldSyncWithiCloud::Yes);
    world.dispatch.advance(1s);
    world.manager.bulkSortAndUpdate(skipped, ShouldSyncWithiCloud::Yes);
    world.dispatch.advance(3999ms);
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());
    world.dispatch.advance(1ms);
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("bulk update b c a retry"));
    EXPECT_TRUE(world.stored("a")->modified_date().has_value());
    world.manager.willBecomeInactive();
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty()) << "what the timer has uploaded is held back no longer";

    // An upload that fails is not remembered on the records.
    world.cloud.setAnswer(FakeCloud::Answer::Error);
    world.manager.bulkSortAndUpdate(deck, ShouldSyncWithiCloud::Yes);
    world.dispatch.advance(1min);
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("bulk update a b c retry"));
    EXPECT_THAT(world.manager.fetchAllRemindersWithLocalChanges(), IsEmpty());

    // A program that cannot push leaves that to one that can.
    world.cloud.setCanPush(false);
    world.manager.bulkSortAndUpdate(skipped, ShouldSyncWithiCloud::Yes);
    world.dispatch.advance(1min);
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());
    EXPECT_EQ(world.manager.fetchAllRemindersWithLocalChanges().size(), 3u);
}

TEST_P(Reordering, LosingTheUsersAttentionUploadsAtOnceAndOnlyOnce) {
    world.manager.willBecomeInactive();
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());

    world.manager.bulkSortAndUpdate(skipped, ShouldSyncWithiCloud::Yes);
    world.manager.waitUntilSettled();
    world.manager.willBecomeInactive();
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("bulk update b c a"));
    world.dispatch.advance(1min);
    world.manager.willBecomeInactive();
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());

    // The next one is held back as ever.
    world.manager.bulkSortAndUpdate(deck, ShouldSyncWithiCloud::Yes);
    world.dispatch.advance(4s);
    EXPECT_THAT(world.cloud.takeLines(), ElementsAre("bulk update a b c retry"));
}

TEST_P(Reordering, WithSyncOffNothingIsHeldBack) {
    world.settings.setShouldUseCloudKit(false);
    world.manager.bulkSortAndUpdate(skipped, ShouldSyncWithiCloud::Yes);
    world.dispatch.advance(1min);
    world.manager.willBecomeInactive();
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());
    EXPECT_EQ(world.stored("b")->rank(), 3);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Reordering, testing::Range(0, 8));

}  // namespace
}  // namespace zun
