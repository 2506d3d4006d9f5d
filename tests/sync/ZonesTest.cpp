#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sync/SyncWorld.h"

namespace zun {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

TEST(Zones, AreMadeWhereTheyAreMissing) {
    SyncWorld world({.hasZone = false});
    EXPECT_EQ(world.cloud->ckRecordIDWithRecordName("r").zoneID, CKRecordZoneID());
    EXPECT_THAT(world.sync(), IsSupersetOf({"zones", "make zone Reminders"}));
    EXPECT_EQ(world.cloud->ckRecordIDWithRecordName("r").zoneID, world.zone);
    EXPECT_THAT(world.sync(), Not(Contains("zones")));

    SyncWorld refused({.hasZone = false});
    refused.fail("make zone", CKErrorCode::NetworkFailure);
    refused.sync();
    EXPECT_THAT(refused.told, ElementsAre("UnreachableError", "Finished"));
}

TEST(Migration, CopiesTheDefaultZoneOnceAndRunsAnotherPass) {
    SyncWorld world;
    world.container.privateDatabase.mostQueried = 2;
    for (const auto* id : {"a", "b", "c"}) {
        auto old = world.record(world.reminder(id), CKRecordZoneID());
        old.setObject("of a later version", CKRecordValue(true));
        world.container.privateDatabase.records[old.recordID] = old;
    }
    const auto lines = world.sync();
    EXPECT_THAT(lines, IsSupersetOf({"query _defaultZone", "query _defaultZone on", "save a b c"}));
    EXPECT_EQ(std::ranges::count(lines, "query _defaultZone"), 1);
    EXPECT_EQ(std::ranges::count(lines, "check"), 2) << "another pass";
    EXPECT_THAT(world.told, ElementsAre("Finished"));
    EXPECT_TRUE(world.defaults.onGetDidRunPrivateZoneMigration());
    const auto& copy = world.container.privateDatabase.records[{"b", world.zone}];
    EXPECT_NE(copy.objectForKey("of a later version"), nullptr);
    EXPECT_EQ(reminderWithRecord(copy), world.reminder("b"));
    EXPECT_TRUE(world.container.privateDatabase.records.contains({"b", CKRecordZoneID()}));
}

TEST(Migration, IsNotRepeatedWhereItsSaveFailed) {
    for (const bool isPartial : {true, false}) {
        SyncWorld world;
        const auto old = world.record(world.reminder("a"), CKRecordZoneID());
        world.container.privateDatabase.records[old.recordID] = old;
        world.fail("save", isPartial ? CKErrorCode::PartialFailure : CKErrorCode::NetworkFailure);
        const auto lines = world.sync();
        EXPECT_EQ(std::ranges::count(lines, "changes"), isPartial ? 1 : 0);
        EXPECT_EQ(std::ranges::count(world.told, "Finished"), 1);
        EXPECT_TRUE(world.defaults.onGetDidRunPrivateZoneMigration());
        EXPECT_THAT(world.sync(), AllOf(Not(Contains("query _defaultZone")), Not(Contains("save a"))));
    }
}

TEST(Subscriptions, AreKeptInStepWithTheService) {
    SyncWorld world;
    world.sync();
    const auto first = world.defaults.onGetiCloudNotificationID();
    ASSERT_TRUE(first);
    EXPECT_EQ(world.container.privateDatabase.subscriptions.front().data.options, 7u);

    // Exactly one there: its name is taken.
    world.defaults.onSetiCloudNotificationID(std::nullopt);
    EXPECT_THAT(world.sync(), Contains("subscriptions"));
    EXPECT_EQ(world.defaults.onGetiCloudNotificationID(), first);
    // Several: all go, and one is made.
    auto another = world.container.privateDatabase.subscriptions.front();
    another.data.subscriptionID = "another";
    world.container.privateDatabase.subscriptions.push_back(another);
    world.sync();
    world.sync();
    EXPECT_EQ(world.container.privateDatabase.subscriptions.size(), 1u);
    EXPECT_EQ(world.defaults.onGetiCloudNotificationID(),
              world.container.privateDatabase.subscriptions.front().subscriptionID());

    world.container.takeLines();
    world.settings.setShouldUseCloudKit(false);
    world.settle();
    EXPECT_THAT(world.container.takeLines(), ElementsAre(testing::StartsWith("unsubscribe subscription-")));
    EXPECT_EQ(world.defaults.onGetiCloudNotificationID(), std::nullopt);
    world.settings.setShouldUseCloudKit(true);
    world.settle();
    EXPECT_THAT(world.container.takeLines(), ElementsAre("subscribe"));
}

TEST(Subscriptions, ToSharesComeWithTheFirstShareAndAreForgottenWithTheLast) {
    SyncWorld world;
    auto shared = world.reminder("s");
    shared.shareURL = "https://cloud.example/share/1";
    world.store(shared);
    world.putInCloud(shared);
    EXPECT_THAT(world.sync(), Contains("shared subscribe"));
    EXPECT_EQ(world.defaults.onGetiCloudSharesNotificationID(), "shared-changes");
    world.manager.deleteReminder(world.row("s"), ShouldSyncWithiCloud::No);
    world.container.privateDatabase.records.clear();
    world.settle();
    const auto reminders = world.defaults.onGetiCloudNotificationID().value_or("");
    EXPECT_THAT(world.sync(), Contains("shared unsubscribe " + reminders))
        << "by the wrong name, as it has always been";
}

TEST(Identity, DecidesWhetherTheRemindersStay) {
    struct Case {
        const char* what;
        std::optional<Bytes> stored, current;
        bool wantsCloud;
        std::string title;
        bool resets;
    };
    for (const auto& each : {
             Case{"first launch", {}, Bytes{'a'}, true, "as it was", false},
             Case{"nobody", {}, {}, true, "as it was", false},
             Case{"the same", Bytes{'a'}, Bytes{'a'}, true, "as it was", false},
             Case{"signed out", Bytes{'a'}, {}, true, "as it was", true},
             Case{"another account", Bytes{'a'}, Bytes{'b'}, true, "(none)", true},
             Case{"signed out with the switch off", Bytes{'a'}, {}, false, "as it was", false},
             Case{"another account with the switch off", Bytes{'a'}, Bytes{'b'}, false, "as it was", false},
         }) {
        SCOPED_TRACE(each.what);
        SyncWorld world({.wantsCloud = each.wantsCloud});
        world.store(world.reminder("r"));
        world.defaults.onSetUseriCloudIdentityToken(each.stored);
        world.defaults.onSetPrivateDBToken(Bytes{'t'});
        world.defaults.onSetDidRunPrivateZoneMigration(true);
        world.defaults.onSetiCloudNotificationID("subscription");
        world.container.identity = each.current;
        world.notifications.postNotificationName(NSUbiquityIdentityDidChangeNotification);
        world.settle();
        EXPECT_EQ(world.title("r"), each.title);
        EXPECT_EQ(world.defaults.onGetUseriCloudIdentityToken(), each.current);
        EXPECT_EQ(world.defaults.onGetPrivateDBToken().has_value(), !each.resets);
        EXPECT_EQ(world.defaults.onGetDidRunPrivateZoneMigration(), !each.resets);
        EXPECT_EQ(world.defaults.onGetiCloudNotificationID(), "subscription");
    }
}

TEST(Identity, IsTakenUpOffTheMainThreadBeforeThePassThatAskedForIt) {
    SyncWorld world;
    world.store(world.reminder("r"));
    world.container.identity = Bytes{'b'};
    ASSERT_TRUE(world.dispatch.main()->isCurrent());
    world.cloud->syncChangesFromCloudKit();
    EXPECT_EQ(world.defaults.onGetUseriCloudIdentityToken(), Bytes{'a'}) << "that would wait for the disk";
    EXPECT_FALSE(world.cloud->isSyncing());
    world.settle();
    EXPECT_EQ(world.defaults.onGetUseriCloudIdentityToken(), Bytes{'b'});
    EXPECT_EQ(world.title("r"), "(none)");
    EXPECT_FALSE(world.container.takeLines().empty());
}

TEST(Identity, OfAnotherAccountKnowsNothingThatWasSent) {
    SyncWorld world({.wantsCloud = false});
    world.sync();
    world.store(world.reminder("r"));
    auto doomed = world.reminder("doomed");
    doomed.shouldDeleteRemote = true;
    world.store(doomed);
    world.container.identity = Bytes{'b'};
    world.sync();
    EXPECT_FALSE(world.stored("r")->didPersistToiCloud);
    EXPECT_EQ(world.stored("doomed"), std::nullopt);

    // So nothing is taken for deleted there, and all of it goes up.
    world.settings.setShouldUseCloudKit(true);
    EXPECT_THAT(world.sync(), Contains("save r over"));
    EXPECT_EQ(world.titleInCloud("r"), "as it was");
    EXPECT_TRUE(world.stored("r")->didPersistToiCloud);

    // Signing out and in again to the same account changes nothing.
    world.container.identity.reset();
    world.sync();
    world.container.identity = Bytes{'b'};
    world.sync();
    EXPECT_TRUE(world.stored("r")->didPersistToiCloud);

    world.container.privateDatabase.records.clear();
    world.container.epoch = "after a restore";
    world.sync();
    world.sync();
    EXPECT_EQ(world.titleInCloud("r"), "as it was");
    EXPECT_NE(world.stored("r"), std::nullopt);
}

TEST(Cache, IsClearedOnceInTheLifeOfAHome) {
    SyncWorld world({.isConnected = false});
    world.defaults.onSetDidClearCacheForTwoOh(false);
    const auto fill = [&] {
        world.defaults.onSetPrivateDBToken(Bytes{1});
        world.defaults.onSetPrivateZoneToken(Bytes{1});
        world.defaults.onSetSharedDBToken(Bytes{1});
        world.defaults.onSetSharedZoneToken(Bytes{1});
        world.defaults.onSetLastSyncDate(world.environment.now());
        world.defaults.onSetDidRunPrivateZoneMigration(true);
    };
    fill();
    world.sync();
    EXPECT_EQ(world.defaults.onGetPrivateDBToken(), std::nullopt);
    EXPECT_EQ(world.defaults.onGetSharedZoneToken(), std::nullopt);
    EXPECT_EQ(world.defaults.onGetLastSyncDate(), std::nullopt);
    EXPECT_FALSE(world.defaults.onGetDidRunPrivateZoneMigration());
    EXPECT_TRUE(world.defaults.onGetDidClearCacheForTwoOh());
    fill();
    world.sync();
    EXPECT_EQ(world.defaults.onGetPrivateDBToken(), Bytes{1});
}

}  // namespace
}  // namespace zun
