#include "sync/SyncJournal.h"

#include <gmock/gmock.h>

#include "sync/SyncWorld.h"

namespace zun {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Ending = SyncOutcome::Ending;

class SyncJournalTest : public testing::Test {
  protected:
    void syncNow() {
        world.dispatch.advance(std::chrono::seconds(1));
        journal.syncNow([this](const SyncOutcome& outcome) { endings.push_back(outcome.ending); });
        world.settle();
    }

    SyncWorld world;
    HeldCloudSession session{CloudSession{"a", "token"}};
    SyncJournal journal{{*world.cloud, session, world.defaults, world.notifications, world.dispatch}};
    std::vector<Ending> endings;
};

TEST_F(SyncJournalTest, TellsHowEachPassEnded) {
    syncNow();
    world.fail("changes", CKErrorCode::QuotaExceeded);
    syncNow();
    EXPECT_EQ(journal.lastOutcome().error->code, CKErrorCode::QuotaExceeded);
    world.environment.setNow(world.environment.now() - std::chrono::hours(1));
    syncNow();
    world.reachability.report(NetworkStatus::NotReachable);
    syncNow();
    session.setSession(std::nullopt);
    syncNow();
    EXPECT_THAT(endings,
                ElementsAre(Ending::Done, Ending::Failed, Ending::Done, Ending::Unreachable, Ending::NobodySignedIn));
}

TEST_F(SyncJournalTest, WhoeverAsksWhileNoPassCanBeginGetsOneAfterwards) {
    world.sync();
    auto& database = world.container.privateDatabase;
    // A single record is being fetched.
    database.held = "get";
    world.cloud->remoteRecordIDWasUpdated({"r", world.zone});
    syncNow();
    EXPECT_THAT(endings, IsEmpty());
    database.held.clear();
    database.release();
    world.settle();
    EXPECT_THAT(endings, ElementsAre(Ending::Done));

    // A pass hangs until its time is up.
    database.held = "changes";
    world.cloud->syncChangesFromCloudKit();
    world.settle();
    syncNow();
    database.held.clear();
    world.dispatch.advance(ZNCloudKitManager::watchdogTime);
    world.settle();
    EXPECT_THAT(endings, ElementsAre(Ending::Done, Ending::Done));
    EXPECT_FALSE(world.cloud->isPassUnderWay());
}

TEST_F(SyncJournalTest, APushForManyRecordsStartsAPassOnceASingleRecordWasFetched) {
    world.sync();
    auto& database = world.container.privateDatabase;
    database.held = "get";
    world.cloud->remoteRecordIDWasUpdated({"r", world.zone});
    world.cloud->didReceiveRemoteNotification({});
    world.settle();
    world.told.clear();
    database.held.clear();
    database.release();
    world.settle();
    EXPECT_THAT(world.told, Contains("Finished"));
}

}  // namespace
}  // namespace zun
