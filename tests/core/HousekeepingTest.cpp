#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/ManagerWorld.h"
#include "core/NotificationNames.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Now is 10:00 on 1 March 2026.
class Housekeeping : public testing::Test {
  protected:
    ManagerWorld world{1, "2026-03-01T10:00:00Z"};

    ReminderAttributes completed(const char* id, std::string_view date) const {
        auto attributes = world.dated(id, "2026-01-01T09:00");
        attributes.completed_date = world.at(date);
        return attributes;
    }
    std::vector<std::string> backups() const {
        std::vector<std::string> names;
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(world.folder.path() / "data" / "backups", none))
            names.push_back(entry.path().filename());
        return names;
    }
};

TEST_F(Housekeeping, RemovesWhatWasCompletedThirtyDaysAgoUnlessTurnedOff) {
    world.store(completed("exactly", "2026-01-30T10:00:00Z"));
    world.store(completed("a second later", "2026-01-30T10:00:01Z"));
    world.store(completed("series+2026-01-01T09:00:00.000Z", "2025-06-01T10:00:00Z"));
    auto tombstone = completed("tombstone", "2025-06-01T10:00:00Z");
    tombstone.shouldDeleteRemote = true;
    world.store(tombstone);
    world.store(world.dated("open", "2020-01-01T09:00"));
    world.settings.setShouldUseCloudKit(true);

    world.settings.setShouldDeleteCompleted(false);
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 0u);
    world.settle();
    EXPECT_EQ(world.storedIDs().size(), 5u);

    world.settings.setShouldDeleteCompleted(true);
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 3u);
    world.settle();
    EXPECT_THAT(world.storedIDs(), UnorderedElementsAre("a second later", "open"));
    EXPECT_THAT(world.cloud.takeLines(),
                UnorderedElementsAre("delete exactly", "delete tombstone", "delete series+2026-01-01T09:00:00.000Z"));
    EXPECT_EQ(world.userNotifications.takeLines().size(), 3u);
    ASSERT_THAT(backups(), ElementsAre("reminders-20260301T100000Z-completed.sqlite"));

    // The backup is a store with everything in it.
    const TemporaryFolder elsewhere;
    std::filesystem::copy(world.folder.path() / "data" / "backups" / backups()[0],
                          elsewhere.path() / "reminders.sqlite");
    const ZNDatabase old(elsewhere.path(), {world.dispatch, world.notifications, world.environment});
    std::size_t count = 0;
    EXPECT_TRUE(old.forEachReminderID({}, {}, [&](const std::string&) { ++count; }));
    EXPECT_EQ(count, 5u);

    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 0u);
    world.settle();
    EXPECT_EQ(backups().size(), 1u) << "nothing to remove, nothing to back up";
}

TEST_F(Housekeeping, ADayAfterAJumpOfTheClockHistoryStays) {
    world.store(completed("recent", "2026-02-20T10:00:00Z"));
    world.settings.setShouldDeleteCompleted(true);
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 0u);

    world.environment.setNow("2027-03-01T10:00:00Z");
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), std::nullopt);
    world.environment.setNow("2026-03-01T10:00:00Z");
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), std::nullopt);
    world.settle();
    EXPECT_THAT(world.storedIDs(), ElementsAre("recent"));
    EXPECT_THAT(backups(), IsEmpty());
    world.environment.advance(24h);
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 0u);
}

TEST_F(Housekeeping, WithoutABackupNothingGoes) {
    world.store(completed("old", "2025-06-01T10:00:00Z"));
    world.settings.setShouldDeleteCompleted(true);
    std::ofstream(world.folder.path() / "data" / "backups") << "in the way";
    int failures = 0;
    world.database.setFailureHandler([&](const StoreError&) { ++failures; });
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 1u);
    world.settle();
    EXPECT_EQ(failures, 1);
    EXPECT_THAT(world.storedIDs(), ElementsAre("old"));
}

TEST_F(Housekeeping, WhatIsTakenBackDuringTheBackupStays) {
    const auto reminder = world.store(completed("old", "2025-06-01T10:00:00Z"));
    world.settings.setShouldDeleteCompleted(true);
    world.manager.undoCompletionForReminder(reminder);
    EXPECT_EQ(world.manager.removeCompletedRemindersIfEnabled(), 1u);
    world.settle();
    EXPECT_THAT(world.storedIDs(), ElementsAre("old"));
}

TEST_F(Housekeeping, RemovesDoublesWipesAndAsksForTheBadge) {
    std::vector<std::string> posted;
    const auto note = [&](const NSNotification& notification) { posted.emplace_back(notification.name); };
    const auto deDuped = world.notifications.addObserver(ZNDatabaseDeDupedNotification, note);
    const auto badge = world.notifications.addObserver("com.zunlabs.ZNUpdateBadgeNotification", note);
    world.store(world.dated("single", "2026-01-20T09:00"));
    EXPECT_EQ(world.manager.deDupeDatabase(), 0u);
    world.settle();
    EXPECT_THAT(posted, IsEmpty());

    for (const auto* id : {"triple", "double", "triple", "double", "triple"})
        world.store(world.dated(id, "2026-01-20T09:00"));
    EXPECT_EQ(world.manager.deDupeDatabase(), 3u);
    world.settle();
    EXPECT_THAT(world.storedIDs(), UnorderedElementsAre("single", "double", "triple"));
    EXPECT_THAT(posted, ElementsAre(ZNDatabaseDeDupedNotification, ZNDatabaseDeDupedNotification));
    posted.clear();

    world.manager.updateBadgeIcon();
    EXPECT_THAT(posted, ElementsAre(ZNUpdateBadgeNotification));

    world.manager.clearCoreData();
    world.settle();
    EXPECT_THAT(world.storedIDs(), IsEmpty());
    EXPECT_THAT(world.userNotifications.takeLines(), IsEmpty());
    EXPECT_THAT(world.cloud.takeLines(), IsEmpty());
}

TEST_F(Housekeeping, DropsAlertsWhoseReminderIsGone) {
    auto tombstone = world.dated("tombstone", "2026-03-02T09:00");
    tombstone.shouldDeleteRemote = true;
    world.store(tombstone);
    world.store(completed("completed", "2026-02-20T10:00:00Z"));
    world.store(world.dated("at another time now", "2026-03-02T09:00"));
    for (const auto* id : {"tombstone", "completed", "at another time now", "gone", "gone", ""}) {
        NSUserNotification notification;
        if (*id) notification.userInfo = {{NOTIFICATION_REMINDER_ID, id}};
        notification.deliveryDate = world.at("2026-03-03T09:00");
        world.userNotifications.scheduleNotification(notification);
    }
    EXPECT_EQ(world.manager.removeStaleLocalNotifications(), 3u);
    std::vector<std::string> left;
    for (const auto& [reminderID, alerts] : world.userNotifications.scheduledReminders(std::nullopt, 10))
        left.push_back(reminderID);
    EXPECT_THAT(left, ElementsAre("at another time now", "completed", "tombstone"));
    world.manager.clearCoreData();
    world.settle();
    EXPECT_EQ(world.manager.removeStaleLocalNotifications(), 3u);
    EXPECT_THAT(world.userNotifications.scheduledNotifications(), IsEmpty());
}

}  // namespace
}  // namespace zun
