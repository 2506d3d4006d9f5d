#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sync/ArchivedZoneID.h"
#include "sync/SyncWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAre;

TEST(Pass, AsksWhatItMustAndNoMore) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        SyncWorld world({.seed = seed});
        EXPECT_THAT(world.sync(), UnorderedElementsAre("zones", "query _defaultZone", "check", "changes", "subscribe",
                                                       "shared changes", "shared zones"));
        EXPECT_THAT(world.told, ElementsAre("Finished"));
        // The zone is known, the token is passed on, and the subscription is there.
        EXPECT_THAT(world.sync(),
                    UnorderedElementsAre("query _defaultZone", "check", "changes from token-1", "subscribe",
                                         "subscriptions", "shared changes from token-1", "shared zones"));
        EXPECT_EQ(world.defaults.onGetLastSyncDate(), world.environment.now());
    }
}

TEST(Pass, SendsTakesInAndRemoves) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        SyncWorld world({.seed = seed});
        world.sync();
        auto added = world.reminder("added");
        added.didPersistToiCloud = false;
        auto newer = world.reminder("newer", "2026-01-14T09:30:00Z", "mine");
        newer.hasLocalChanges = true;
        auto older = world.reminder("older", "2026-01-14T08:30:00Z", "mine");
        older.hasLocalChanges = true;
        auto doomed = world.reminder("doomed");
        doomed.shouldDeleteRemote = true;
        auto completed = world.reminder("completed and gone");
        completed.completed_date = world.at("2026-01-14T09:00:00Z");
        for (const auto& row : {added, newer, older, doomed, completed, world.reminder("gone")})
            world.store(row);
        for (const auto* id : {"newer", "older", "doomed", "arriving"})
            world.putInCloud(world.reminder(id));
        world.container.privateDatabase.changedZones = {world.zone};
        world.sync();

        EXPECT_THAT(world.told, ElementsAre("Finished"));
        EXPECT_EQ(world.titleInCloud("added"), "as it was");
        EXPECT_TRUE(world.stored("added")->didPersistToiCloud);
        EXPECT_EQ(world.titleInCloud("newer"), "mine");
        EXPECT_FALSE(world.stored("newer")->hasLocalChanges);
        EXPECT_EQ(world.title("older"), "as it was");
        EXPECT_FALSE(world.stored("older")->hasLocalChanges);
        EXPECT_EQ(world.stored("doomed"), std::nullopt);
        EXPECT_EQ(world.titleInCloud("doomed"), "(none)");
        EXPECT_TRUE(world.stored("arriving")->didPersistToiCloud);
        EXPECT_EQ(world.stored("gone"), std::nullopt);
        EXPECT_NE(world.stored("completed and gone"), std::nullopt) << "the check looks at open reminders only";
        std::vector<std::string> kept;
        for (const auto& version : world.database.keptVersions())
            kept.push_back(*version.record.reminderID);
        EXPECT_THAT(kept, UnorderedElementsAre("older", "gone"));

        world.sync();
        EXPECT_EQ(world.database.keptVersions().size(), 2u);
    }
}

TEST(Pass, TakesNothingForDeletedThatWasOnItsWayWhenTheServiceLooked) {
    SyncWorld world;
    auto added = world.reminder("added");
    added.didPersistToiCloud = false;
    world.store(added);
    world.store(world.reminder("gone"));
    // The service has looked before the addition came, and its answer arrives after that.
    CKError answer{CKErrorCode::PartialFailure, "as told", {}};
    for (const auto* id : {"added", "gone"})
        answer.userInfo.CKPartialErrorsByItemIDKey[{id, world.zone}] = CKError{CKErrorCode::UnknownItem, "unknown", {}};
    world.container.privateDatabase.errors["check"].push_back(answer);
    world.container.privateDatabase.held = "check";
    world.sync();
    ASSERT_TRUE(world.stored("added")->didPersistToiCloud);
    world.container.privateDatabase.release();
    world.settle();
    EXPECT_NE(world.stored("added"), std::nullopt);
    EXPECT_EQ(world.stored("gone"), std::nullopt);
}

TEST(Pass, DeletesNothingWhileItsZoneIsUnknown) {
    for (std::uint64_t seed = 0; seed < 10; ++seed) {
        SyncWorld world({.seed = seed});
        auto doomed = world.reminder("doomed");
        doomed.shouldDeleteRemote = true;
        world.store(doomed);
        world.putInCloud(doomed);
        world.sync();
        EXPECT_EQ(world.stored("doomed").has_value(), world.titleInCloud("doomed") != "(none)");
        world.sync();
        EXPECT_EQ(world.stored("doomed"), std::nullopt);
        EXPECT_EQ(world.titleInCloud("doomed"), "(none)");
    }
}

TEST(Pass, StandsAsideForGuards) {
    SyncWorld world;
    world.container.status = AccountStatus::NoAccount;
    EXPECT_THAT(world.sync(), IsEmpty());
    EXPECT_THAT(world.told, IsEmpty());

    // One pass at a time, also while only the watchdog says so.
    for (const bool wantsCloud : {true, false}) {
        SyncWorld running({.wantsCloud = wantsCloud});
        running.container.privateDatabase.held = "zones";
        EXPECT_THAT(running.sync(), Contains("zones"));
        EXPECT_EQ(running.cloud->isSyncing(), wantsCloud);
        EXPECT_THAT(running.sync(), IsEmpty());
        running.container.privateDatabase.held.clear();
        running.container.privateDatabase.release();
        running.settle();
        EXPECT_THAT(running.told, ElementsAre("Finished"));
    }
}

TEST(Pass, WithTheSwitchOffKeepsOnlyToWhatIsShared) {
    SyncWorld world({.wantsCloud = false});
    auto added = world.reminder("added");
    added.didPersistToiCloud = false;
    world.store(added);
    world.store(world.reminder("gone"));
    world.putInCloud(world.reminder("arriving"));
    world.container.privateDatabase.changedZones = {world.zone};
    world.container.privateDatabase.deletedRecords = {{"gone", world.zone}};
    const auto lines = world.sync();
    EXPECT_THAT(lines, AllOf(Not(Contains("save added over")), Not(Contains("check"))));
    EXPECT_THAT(lines, IsSupersetOf({"zones", "changes", "zone changes Reminders", "shared changes", "subscribe"}));
    EXPECT_NE(world.stored("arriving"), std::nullopt);
    EXPECT_NE(world.stored("gone"), std::nullopt) << "deletions count only with the switch on";
    EXPECT_THAT(world.told, ElementsAre("Finished"));

    SyncWorld alone({.wantsCloud = false, .canSupportCKSharing = CanSupportCKSharing::No});
    EXPECT_THAT(alone.sync(), ElementsAre("subscribe"));
    alone.dispatch.advance(60s);
    EXPECT_THAT(alone.told, ElementsAre("TimeoutError"));
}

TEST(Pass, IsEndedByTheWatchdog) {
    SyncWorld world;
    world.container.privateDatabase.held = "changes";
    world.sync();
    world.dispatch.advance(59s);
    EXPECT_TRUE(world.cloud->isSyncing());
    world.dispatch.advance(1s);
    EXPECT_THAT(world.told, ElementsAre("TimeoutError"));
    EXPECT_FALSE(world.cloud->isSyncing());
    EXPECT_EQ(world.defaults.onGetLastSyncDate(), std::nullopt);
    // What the cloud was asked is still answered, and goes on from there.
    world.container.takeLines();
    world.container.privateDatabase.release();
    world.settle();
    EXPECT_THAT(world.container.takeLines(), IsSupersetOf({"shared changes", "shared zones"}));
    EXPECT_THAT(world.told, ElementsAre("TimeoutError", "Finished"));
}

TEST(Pass, FetchesEditsInPartsOfTwoHundred) {
    SyncWorld world;
    for (int i = 0; i < 450; ++i) {
        auto edited = world.reminder("r" + std::to_string(i));
        edited.hasLocalChanges = true;
        // Open ones that are gone would be found by the check, too.
        if (i == 449) edited.completed_date = edited.modified_date;
        world.store(edited);
        if (i < 449) world.putInCloud(edited);
    }
    const auto lines = world.sync();
    EXPECT_EQ(std::ranges::count(lines, "fetch 200 records"), 2);
    EXPECT_EQ(std::ranges::count(lines, "fetch 50 records"), 1);
    // The last part decides, and failed: what is gone from the cloud goes, and the rest of that part is for later.
    EXPECT_EQ(world.stored("r449"), std::nullopt);
    EXPECT_EQ(world.manager.fetchAllRemindersWithLocalChanges().size(), 49u);
    world.sync();
    EXPECT_THAT(world.manager.fetchAllRemindersWithLocalChanges(), IsEmpty());
    EXPECT_THAT(world.told, ElementsAre("Finished"));
}

TEST(Pass, GoesOnAndEndsAtOnceAfterAPartialFailureOfEdits) {
    SyncWorld world;
    auto edited = world.reminder("gone");
    edited.hasLocalChanges = true;
    world.store(edited);
    world.container.sharedDatabase.held = "changes";
    const auto lines = world.sync();
    EXPECT_THAT(lines, IsSupersetOf({"fetch gone", "changes", "shared changes"}));
    EXPECT_EQ(world.stored("gone"), std::nullopt);
    EXPECT_THAT(world.told, ElementsAre("Finished")) << "while the shared step still runs";
    world.container.sharedDatabase.release();
    world.settle();
    EXPECT_THAT(world.told, Contains("Finished"));
}

TEST(Pass, StallsWhereAllEditsAreShared) {
    SyncWorld world;
    auto edited = world.reminder("shared");
    edited.hasLocalChanges = true;
    edited.sharedZoneID = archivedZoneID({"Reminders", "somebody"});
    world.store(edited);
    EXPECT_THAT(world.sync(), Not(Contains("changes")));
    EXPECT_TRUE(world.cloud->isSyncing());
    world.dispatch.advance(60s);
    EXPECT_THAT(world.told, ElementsAre("TimeoutError"));
}

TEST(Pass, WaitsAsLongAsTheServiceAsks) {
    struct Case {
        std::string verb;
        int refusals;
        bool goesOn;
    };
    // The fetches go on asking; the steps that send leave it to the next pass.
    for (const auto& each : {Case{"changes", 5, true}, Case{"zone changes", 5, true}, Case{"query", 5, true},
                             Case{"save", 1, false}, Case{"fetch", 1, false}, Case{"zones", 1, false}}) {
        SyncWorld world;
        auto row = world.reminder("row", "2026-01-14T10:00:00Z", "mine");
        row.didPersistToiCloud = each.verb != "save";
        row.hasLocalChanges = each.verb == "fetch";
        world.store(row);
        world.putInCloud(world.reminder("row"));
        world.container.privateDatabase.changedZones = {world.zone};
        for (int i = 0; i < each.refusals; ++i)
            world.fail(each.verb, CKErrorCode::RequestRateLimited, 1.5);
        world.sync();
        EXPECT_EQ(world.cloud->isSyncing(), each.goesOn) << each.verb;
        world.dispatch.advance(1'500ms * each.refusals);
        EXPECT_FALSE(world.cloud->isSyncing()) << each.verb;
        EXPECT_THAT(world.told, Contains("Finished")) << each.verb;
        EXPECT_EQ(world.defaults.onGetLastSyncDate().has_value(), each.goesOn) << each.verb;
    }
}

std::string tokenOf(const SyncWorld& world) {
    const auto bytes = world.defaults.onGetPrivateDBToken();
    return bytes ? std::string(bytes->begin(), bytes->end()) : "(none)";
}

TEST(Tokens, CountOnlyOnceWhatTheyStandForIsDurable) {
    SyncWorld world;
    world.sync();
    EXPECT_EQ(tokenOf(world), "token-1");
    auto& cloud = world.container.privateDatabase;
    world.putInCloud(world.reminder("arriving"));

    // A zone that cannot be read gives the former token back.
    cloud.token = "token-2";
    cloud.changedZones = {world.zone};
    world.fail("zone changes", CKErrorCode::NetworkFailure);
    EXPECT_THAT(world.sync(), Contains("changes from token-1"));
    EXPECT_EQ(tokenOf(world), "token-1");
    EXPECT_EQ(world.stored("arriving"), std::nullopt);

    // So does a program that ends while the zone is being read.
    cloud.changedZones = {world.zone};
    cloud.held = "zone changes";
    world.sync();
    EXPECT_EQ(tokenOf(world), "token-2");
    world.launch();
    world.connect();
    EXPECT_EQ(tokenOf(world), "token-1");
    cloud.held.clear();
    cloud.release();
    world.settle();
    EXPECT_EQ(world.stored("arriving"), std::nullopt) << "nobody is there to hear it";

    cloud.changedZones = {world.zone};
    world.sync();
    EXPECT_EQ(tokenOf(world), "token-2");
    EXPECT_NE(world.stored("arriving"), std::nullopt);
    world.launch();
    EXPECT_EQ(tokenOf(world), "token-2");
}

TEST(Tokens, ThatHaveExpiredAreForgottenAndAskedAgain) {
    SyncWorld world;
    world.sync();
    world.container.privateDatabase.token = "token-2";
    world.fail("changes", CKErrorCode::ChangeTokenExpired);
    world.fail("changes", CKErrorCode::ChangeTokenExpired);
    const auto lines = world.sync();
    EXPECT_EQ(std::ranges::count(lines, "changes from token-1"), 3);
    EXPECT_EQ(tokenOf(world), "token-2");

    world.fail("changes", CKErrorCode::ChangeTokenExpired);
    world.fail("changes", CKErrorCode::NetworkFailure);
    world.sync();
    EXPECT_EQ(tokenOf(world), "(none)");
}

TEST(Tokens, WithMoreToComeAndNothingChangedLeadNowhere) {
    SyncWorld world;
    world.container.privateDatabase.moreComing = MoreComing::Yes;
    EXPECT_THAT(world.sync(), Not(Contains("shared changes")));
    EXPECT_THAT(world.told, IsEmpty());
    EXPECT_TRUE(world.cloud->isSyncing());
}

TEST(Pass, WithoutSharingReadsTheOneZoneAndTakesInNothingNew) {
    SyncWorld world({.canSupportCKSharing = CanSupportCKSharing::No});
    world.store(world.reminder("known", "2026-01-14T08:00:00Z"));
    world.store(world.reminder("gone"));
    world.putInCloud(world.reminder("known", "2026-01-14T09:00:00Z", "newer"));
    world.putInCloud(world.reminder("unknown"));
    world.container.privateDatabase.deletedRecords = {{"gone", world.zone}};
    EXPECT_THAT(world.sync(), UnorderedElementsAre("zones", "query _defaultZone", testing::StartsWith("check"),
                                                   "subscribe", "record changes Reminders"));
    EXPECT_EQ(world.title("known"), "newer");
    EXPECT_EQ(world.stored("gone"), std::nullopt);
    EXPECT_EQ(world.stored("unknown"), std::nullopt);
    EXPECT_THAT(world.told, ElementsAre("Finished"));
}

TEST(Pass, ReadingAnEqualZoneAgainWritesNothing) {
    SyncWorld world;
    for (int i = 0; i < 30; ++i) {
        world.store(world.reminder("r" + std::to_string(i)));
        world.putInCloud(world.reminder("r" + std::to_string(i), "2026-01-14T09:59:00Z"));
    }
    int changes = 0;
    std::vector<Observation> observations;
    for (const auto name :
         {ZNReminderObjectAddedNotification, ZNReminderObjectUpdatedNotification, ZNReminderObjectRemovedNotification})
        observations.push_back(world.notifications.addObserver(name, [&](const NSNotification&) { ++changes; }));
    world.container.privateDatabase.changedZones = {world.zone};
    EXPECT_THAT(world.sync(), Contains("zone changes Reminders"));
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(world.stored("r5"), world.reminder("r5"));
    EXPECT_THAT(world.database.keptVersions(), IsEmpty());
}

}  // namespace
}  // namespace zun
