#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sync/ArchivedZoneID.h"
#include "sync/SyncWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

// A world whose first pass has made the zone known.
struct SyncedWorld : SyncWorld {
    SyncedWorld() {
        sync();
        told.clear();
    }
};

TEST(Pushes, FollowEachChangeAndLeaveTheirMarks) {
    struct Case {
        const char* verb;
        std::vector<std::string> asked;
        std::function<void(SyncWorld&, const ReminderPtr&)> act;
    };
    const auto all = {
        Case{"put", {"put r"}, [](auto& world, auto& r) { world.manager.saveReminder(r, ShouldSyncWithiCloud::Yes); }},
        Case{"get",
             {"get r", "save r over"},
             [](auto& world, auto& r) {
                 world.manager.updateReminder(r, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
             }},
        Case{"save",
             {"get r", "save r over"},
             [](auto& world, auto& r) {
                 world.manager.updateReminder(r, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
             }},
        Case{"erase",
             {"erase r"},
             [](auto& world, auto& r) { world.manager.deleteReminder(r, ShouldSyncWithiCloud::Yes); }},
        Case{"save",
             {"save r over"},
             [](auto& world, auto& r) { world.manager.bulkUpdateReminders({r}, ShouldSyncWithiCloud::Yes); }},
        Case{"delete",
             {"delete r over"},
             [](auto& world, auto& r) { world.manager.bulkDeleteReminders({r}, ShouldSyncWithiCloud::Yes); }},
    };
    for (const auto& each : all) {
        for (const int code : {0, 4, 7, 14, 25}) {
            SCOPED_TRACE(testing::Message() << each.verb << " of " << each.asked.front() << ", code " << code);
            SyncedWorld world;
            auto attributes = world.reminder("r");
            const bool isNew = std::string(each.verb) == "put";
            attributes.didPersistToiCloud = !isNew;
            if (!isNew) {
                world.store(attributes);
                world.putInCloud(attributes);
            }
            if (code != 0) world.fail(each.verb, CKErrorCode{code});
            each.act(world, std::make_shared<ZNReminderObject>(attributes));
            world.settle();

            const auto asked = world.container.takeLines();
            EXPECT_EQ(asked.front(), each.asked.front());
            EXPECT_TRUE(code != 0 || asked == each.asked);
            const auto stored = world.stored("r");
            const bool removes = each.asked.front().starts_with("erase") || each.asked.front().starts_with("delete");
            if (removes) {
                EXPECT_EQ(stored && stored->shouldDeleteRemote.value_or(false), code != 0);
            } else {
                EXPECT_EQ(stored->didPersistToiCloud, !isNew || code == 0);
                EXPECT_EQ(stored->hasLocalChanges, !isNew && code != 0);
            }
            // A wish for patience is an error only where there is nothing to try again; a record that is there is none.
            const bool isQuiet = code == 0 ||
                                 (code == 7 && (each.asked.front() == "erase r" || std::string(each.verb) == "get")) ||
                                 (code == 14 && isNew);
            EXPECT_EQ(world.told, isQuiet ? std::vector<std::string>() : std::vector<std::string>{"Error"});

            // Whatever failed, the next pass puts it right.
            world.sync();
            world.sync();
            EXPECT_EQ(world.stored("r").has_value(), !removes);
            EXPECT_EQ(world.titleInCloud("r"), removes ? "(none)" : "as it was");
            EXPECT_THAT(world.manager.fetchAllRemindersWithLocalChanges(), IsEmpty());
            EXPECT_THAT(world.manager.fetchAllRemindersNotSentToServer(), IsEmpty());
        }
    }
}

TEST(Pushes, TryOnceMoreWhereTheServiceSaysWhen) {
    for (const auto* verb : {"get", "save"}) {
        SyncedWorld world;
        world.store(world.reminder("r"));
        world.putInCloud(world.reminder("r"));
        world.fail(verb, CKErrorCode::ServiceUnavailable, 2.0);
        auto edited = world.row("r");
        edited->setTitle("edited");
        world.manager.updateReminder(edited, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
        world.settle();
        EXPECT_EQ(world.titleInCloud("r"), "as it was");
        world.dispatch.advance(2s);
        EXPECT_EQ(world.titleInCloud("r"), "edited") << verb;
        EXPECT_FALSE(world.container.privateDatabase.wasAskedOnMain) << "there it only waits";

        for (int i = 0; i < 2; ++i)
            world.fail(verb, CKErrorCode::ServiceUnavailable, 2.0);
        edited->setTitle("again");
        world.manager.updateReminder(edited, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
        world.settle();
        world.dispatch.advance(1min);
        EXPECT_EQ(world.titleInCloud("r"), "edited") << "no third time";
        EXPECT_TRUE(world.stored("r")->hasLocalChanges);
    }
}

TEST(Pushes, BeforeAnAccountIsKnownFailAtOnce) {
    SyncWorld world;
    world.manager.saveReminder(std::make_shared<ZNReminderObject>(world.reminder("r")), ShouldSyncWithiCloud::Yes);
    world.settle();
    world.manager.deleteReminder(world.row("r"), ShouldSyncWithiCloud::Yes);
    world.settle();
    EXPECT_THAT(world.container.takeLines(), IsEmpty());
    EXPECT_THAT(world.told, IsEmpty());
    EXPECT_EQ(world.stored("r")->shouldDeleteRemote, true);
}

TEST(Pushes, ThatFailLeaveLaterEditsAlone) {
    SyncedWorld world;
    world.store(world.reminder("r"));
    world.container.privateDatabase.held = "get";
    auto edited = world.row("r");
    edited->setTitle("first");
    world.manager.updateReminder(edited, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
    world.settle();
    auto later = world.row("r");
    later->setTitle("second");
    world.manager.updateReminder(later, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::No);
    world.settle();
    world.container.privateDatabase.release();
    world.settle();
    EXPECT_EQ(world.title("r"), "second");
    EXPECT_TRUE(world.stored("r")->hasLocalChanges);
}

TEST(Saving, IsSplitWhereTheServiceFindsItTooLarge) {
    SyncedWorld world;
    world.container.privateDatabase.mostItems = 250;
    std::vector<CKRecord> records;
    for (int i = 0; i < 450; ++i)
        records.push_back(world.record(world.reminder("r" + std::to_string(i)), world.zone));
    const auto save = [&](std::vector<std::string>& reports) {
        world.cloud->saveRecordsToCloudkit(
            records, OverwriteValues::Yes, CloudDatabaseKind::Private, ShouldRetry::No,
            [&](const ZNCloudKitManager::CloudItems& items) {
                reports.push_back(std::to_string(std::get<0>(items).size()));
            },
            [&](const OptionalError&) { reports.push_back("error"); });
        world.settle();
    };
    std::vector<std::string> reports;
    save(reports);
    EXPECT_THAT(world.container.takeLines(), ElementsAre("save 450 records over", "save 200 records over",
                                                         "save 200 records over", "save 50 records over"));
    EXPECT_THAT(reports, ElementsAre("50"));

    // What is refused again is made smaller, until one alone is too large.
    const auto all = std::exchange(records, {records.begin(), records.begin() + 3});
    reports.clear();
    world.container.privateDatabase.mostItems = 2;
    save(reports);
    EXPECT_THAT(world.container.takeLines(), ElementsAre("save r0 r1 r2 over", "save r0 r1 over", "save r2 over"));
    world.container.privateDatabase.mostItems = 0;
    save(reports);
    EXPECT_THAT(reports, ElementsAre("1", "error"));
    records = all;
    world.container.privateDatabase.mostItems = 250;

    // Another part's failure is only told; the last one's is reported.
    using Errors = std::deque<OptionalError>;
    const CKError refused{CKErrorCode::QuotaExceeded, "full", {}};
    for (const auto& [errors, expected] : std::vector<std::pair<Errors, std::string>>{
             {{std::nullopt, refused}, "50"}, {{std::nullopt, std::nullopt, std::nullopt, refused}, "error"}}) {
        reports.clear();
        world.told.clear();
        world.container.privateDatabase.errors["save"] = errors;
        save(reports);
        EXPECT_THAT(reports, ElementsAre(expected));
        EXPECT_THAT(world.told, Contains("Error"));
        EXPECT_EQ(std::ranges::count(world.told, "FatalError"), expected == "50" ? 1 : 0);
    }

    records.clear();
    reports.clear();
    world.fail("save", CKErrorCode::LimitExceeded);
    save(reports);
    EXPECT_THAT(reports, IsEmpty());
}

TEST(Notifications, OfOneRecordBringItHere) {
    struct Case {
        const char* what;
        bool isStored, isInCloud;
        OptionalError error;
        std::string title;
        std::vector<std::string> told;
    };
    const CKError busy{CKErrorCode::ZoneBusy, "", {3.0, {}}}, broken{CKErrorCode::NetworkFailure, "", {}};
    for (const auto& each : {
             Case{"changed", true, true, {}, "theirs", {}},
             Case{"new", false, true, {}, "theirs", {}},
             Case{"gone", true, false, {}, "(none)", {}},
             Case{"never here", false, false, {}, "(none)", {}},
             Case{"busy", true, true, busy, "as it was", {}},
             Case{"broken", true, true, broken, "as it was", {"Error"}},
         }) {
        SyncedWorld world;
        if (each.isStored) world.store(world.reminder("r"));
        if (each.isInCloud) world.putInCloud(world.reminder("r", "2026-01-14T09:30:00Z", "theirs"));
        if (each.error) world.container.privateDatabase.errors["get"] = {each.error};
        std::vector<bool> seen;
        const auto observation =
            world.cloud->observe({"isSyncing"}, [&](std::string_view) { seen.push_back(world.cloud->isSyncing()); });
        world.cloud->didReceiveRemoteNotification({CKNotification::Type::Query, CKRecordID{"r", world.zone}, "s"});
        world.settle();
        EXPECT_EQ(world.title("r"), each.title) << each.what;
        EXPECT_EQ(world.told, each.told) << each.what;
        EXPECT_THAT(seen, ElementsAre(true, false)) << each.what;

        world.settings.setShouldUseCloudKit(false);
        world.settle();
        world.container.takeLines();
        world.cloud->didReceiveRemoteNotification({CKNotification::Type::Query, CKRecordID{"r", world.zone}, "s"});
        world.settle();
        EXPECT_THAT(world.container.takeLines(), IsEmpty()) << each.what;
    }
}

TEST(Notifications, OfManyRecordsStartAPassAfterTheOneThatRuns) {
    SyncedWorld world;
    world.container.privateDatabase.held = "changes";
    world.sync();
    world.cloud->didReceiveRemoteNotification({});
    world.cloud->didReceiveRemoteNotification({});
    world.settle();
    EXPECT_THAT(world.container.takeLines(), IsEmpty());
    world.container.privateDatabase.held.clear();
    world.container.privateDatabase.release();
    world.settle();
    EXPECT_THAT(world.told, ElementsAre("Finished", "Finished"));
    EXPECT_EQ(std::ranges::count(world.container.takeLines(), "changes from token-1"), 1);

    world.cloud->didReceiveRemoteNotification({CKNotification::Type::Database, {}, "shared-changes"});
    world.settle();
    EXPECT_THAT(world.container.takeLines(),
                testing::UnorderedElementsAre("shared changes from token-1", "shared zones"));
}

const CKRecordZoneID theirZone{"Reminders", "somebody"};

ReminderAttributes sharedReminder(const SyncWorld& world) {
    auto attributes = world.reminder("s");
    attributes.shareURL = "https://cloud.example/share/1";
    attributes.sharedZoneID = archivedZoneID(theirZone);
    return attributes;
}

CKRecord shareOf(const std::string& URL) {
    CKRecord share;
    share.recordType = CKRecordTypeShare;
    share.recordID = {"share-of-s", theirZone};
    share.shareDetails.emplace();
    share.shareDetails->URL = URL;
    return share;
}

TEST(Sharing, WritesGoToTheZoneOfTheOwnerAndDeletingIsLeaving) {
    SyncedWorld world;
    world.settings.setShouldUseCloudKit(false);
    world.settle();
    world.container.takeLines();
    const auto attributes = sharedReminder(world);
    world.store(attributes);
    auto& shared = world.container.sharedDatabase;
    shared.records[{"s", theirZone}] = world.record(attributes, theirZone);
    shared.records[{"share-of-s", theirZone}] = shareOf(*attributes.shareURL);
    world.container.shares[*attributes.shareURL].share = shareOf(*attributes.shareURL);

    auto edited = world.row("s");
    edited->setTitle("edited");
    world.manager.updateReminder(edited, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
    world.settle();
    EXPECT_THAT(world.container.takeLines(), ElementsAre("shared get s", "shared save s over"));
    EXPECT_EQ(reminderWithRecord(shared.records[{"s", theirZone}]).title, "edited");

    world.manager.deleteReminder(edited, ShouldSyncWithiCloud::Yes);
    world.settle();
    EXPECT_THAT(world.container.takeLines(),
                ElementsAre("metadata https://cloud.example/share/1", "shared delete share-of-s"));
    EXPECT_FALSE(shared.records.contains({"share-of-s", theirZone}));
    EXPECT_EQ(world.stored("s"), std::nullopt);
    // A look-up that ends tells so, even without an error.
    EXPECT_THAT(world.told, ElementsAre("Error"));
}

TEST(Sharing, APassFindsNewSharesAndMissesGoneOnes) {
    SyncedWorld world;
    auto gone = sharedReminder(world);
    gone.reminderID = "gone";
    world.store(gone);
    auto inGoneZone = gone;
    inGoneZone.reminderID = "in a gone zone";
    inGoneZone.sharedZoneID = archivedZoneID({"Reminders", "nobody"});
    world.store(inGoneZone);

    auto& shared = world.container.sharedDatabase;
    auto record = world.record(world.reminder("s"), theirZone);
    record.share = CKReference{{"share-of-s", theirZone}};
    shared.records[record.recordID] = record;
    shared.records[{"share-of-s", theirZone}] = shareOf("https://cloud.example/share/1");
    shared.zones = {theirZone, {"Reminders", "a third one"}};
    shared.deletedZones = {{"Reminders", "nobody"}};
    // The check of a full pass knows shared reminders no better than others, and takes them away to begin with.
    world.settings.setShouldUseCloudKit(false);
    const auto lines = world.sync();
    EXPECT_THAT(lines, IsSupersetOf({"shared get gone", "shared query Reminders", "shared get share-of-s"}));
    EXPECT_THAT(world.told, ElementsAre("Finished"));
    EXPECT_EQ(world.stored("gone"), std::nullopt);
    EXPECT_EQ(world.stored("in a gone zone"), std::nullopt);
    const auto arrived = world.stored("s");
    ASSERT_TRUE(arrived);
    EXPECT_EQ(arrived->shareURL, "https://cloud.example/share/1");
    EXPECT_EQ(arrived->sharedZoneID, archivedZoneID(theirZone));
    EXPECT_TRUE(arrived->didPersistToiCloud);
}

}  // namespace
}  // namespace zun
