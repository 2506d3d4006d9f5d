#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

#include "core/ManagerWorld.h"

namespace zun {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using Set = std::set<std::string>;

// One record of each kind that some query tells from another. Now is 10:00:00 on 14 January.
class Queries : public testing::Test {
  protected:
    Queries() {
        world.store(world.dated("due", "2026-01-14T09:30"));
        world.store(world.dated("due now", "2026-01-14T10:00"));
        world.store(world.dated("due later", "2026-01-14T10:00:00.000001Z"));
        put("quiet", "2026-01-15T10:00", [](auto& a) { a.shouldSuppressNotifications = true; });
        put("ticked", "2026-01-14T08:00", [this](auto& a) { a.completed_date = world.at("2026-01-14T08:30"); });
        put("ticked later", "2026-01-13T08:00", [this](auto& a) { a.completed_date = world.at("2026-01-14T09:00"); });
        put("tombstone", "2026-01-14T08:00", [](auto& a) { a.shouldDeleteRemote = true; });
        put("ticked tombstone", "2026-01-14T08:00", [this](auto& a) {
            a.shouldDeleteRemote = true;
            a.completed_date = world.at("2026-01-14T08:30");
            a.hasLocalChanges = true;
        });
        put("kept", "2026-01-20T08:00", [](auto& a) {
            a.shouldDeleteRemote = false;
            a.hasLocalChanges = true;
            a.didPersistToiCloud = true;
        });
        put("open-ended", "2026-01-01T00:00", [](auto& a) { a.start_date = a.due_date = a.fire_date = std::nullopt; });
        put("stray", "2026-01-14T09:50", [](auto& a) { a.start_date = a.due_date = std::nullopt; });
        put("place", "2026-01-01T00:00", [](auto& a) {
            a.start_date = a.due_date = a.fire_date = std::nullopt;
            a.locationLatitude = 52.5;
            a.locationLongitude = 13.4;
            a.shareURL = "https://share.example/1";
        });
        put("place later", "2026-01-15T00:00", [](auto& a) {
            a.locationLatitude = -1;
            a.locationLongitude = -1;
        });
        // On the equator: neither at a place nor dated.
        put("equator", "2026-01-01T00:00", [](auto& a) { a.locationLongitude = 13.4; });
    }

    void put(std::string_view id, std::string_view start, const std::function<void(ReminderAttributes&)>& change) {
        auto attributes = world.dated(id, start);
        change(attributes);
        world.store(attributes);
    }

    ManagerWorld world;
    const ZNReminderManager& manager = world.manager;
};

TEST_F(Queries, EachFindsItsRecords) {
    const auto onOrAfter = world.at("2026-01-14T09:40");
    const std::vector<std::tuple<const char*, ZNReminderManager::Reminders, Set>> cases = {
        {"completed", manager.fetchAllCompletedReminders(), {"ticked", "ticked later"}},
        {"with dates", manager.fetchAllRemindersWithDates(), {"due now", "due later", "quiet", "kept"}},
        {"with locations", manager.fetchAllRemindersWithLocations(), {"place", "place later"}},
        {"active with locations", manager.fetchAllActiveRemindersWithLocations(), {"place"}},
        {"shared", manager.fetchAllSharedReminders(), {"place"}},
        {"to delete", manager.fetchAllRemindersToDelete(), {"tombstone", "ticked tombstone"}},
        {"with local changes", manager.fetchAllRemindersWithLocalChanges(), {"kept"}},
        {"future", manager.fetchAllFutureReminders(), {"due later", "quiet", "kept"}},
        {"active", manager.fetchAllActiveRemindersWithDefaultSort(true), {"due", "due now", "open-ended", "stray"}},
        {"with notifications",
         manager.fetchAllRemindersWithNotificationsOnOrAfterDate(onOrAfter, IncludeSuppressed::No),
         {"due now", "due later", "kept"}},
        {"with suppressed notifications",
         manager.fetchAllRemindersWithNotificationsOnOrAfterDate(onOrAfter, IncludeSuppressed::Yes),
         {"quiet"}},
        {"with notifications, by its other name",
         manager.fetchAllRemindersWithNotificationsOnOrBeforeDate(onOrAfter, IncludeSuppressed::No),
         {"due now", "due later", "kept"}},
    };
    for (const auto& [name, found, expected] : cases) {
        const auto ids = ManagerWorld::ids(found);
        EXPECT_EQ(Set(ids.begin(), ids.end()), expected) << name;
        EXPECT_EQ(ids.size(), expected.size()) << name;
    }
    EXPECT_EQ(manager.fetchAllReminders().size(), 14u);
    EXPECT_EQ(manager.fetchAllRemindersNotSentToServer().size(), 13u);
    EXPECT_EQ(manager.fetchReminderWithReminderID("tombstone")->title(), "tombstone");
    EXPECT_EQ(manager.fetchReminderWithReminderID("nobody"), nullptr);
    EXPECT_EQ(manager.fetchReminderWithReminderID(std::nullopt), nullptr);
}

TEST_F(Queries, CountWithoutObjects) {
    EXPECT_EQ(manager.numberOfActiveReminders(), 2u) << "open-ended ones stand on the cards and not on the badge";
    EXPECT_EQ(manager.numberOfTotalReminders(), 14u);
    EXPECT_EQ(manager.numberOfActiveRemindersWithLocations(), 1u);
    EXPECT_EQ(manager.numberOfActiveRemindersForHourBeforeFireDate(world.at("2026-01-14T10:30")), 4u);
    EXPECT_EQ(manager.numberOfActiveRemindersForHourBeforeFireDate(world.at("2026-01-14T09:59:59")), 2u);
}

TEST_F(Queries, OrderTheDeckAndTheLists) {
    EXPECT_THAT(ManagerWorld::ids(manager.fetchAllActiveRemindersWithDefaultSort(true)),
                ElementsAre("due now", "stray", "due", "open-ended"));
    EXPECT_THAT(ManagerWorld::ids(manager.fetchAllCompletedReminders()), ElementsAre("ticked later", "ticked"));
    EXPECT_THAT(ManagerWorld::ids(manager.fetchAllFutureReminders()), ElementsAre("kept", "quiet", "due later"));
    const auto incomplete = ManagerWorld::ids(manager.fetchAllIncompleteReminders());
    ASSERT_EQ(incomplete.size(), 9u);
    EXPECT_EQ(incomplete[0], "due now");
    EXPECT_EQ(Set({incomplete[4], incomplete[5]}), Set({"place", "place later"}));
    EXPECT_EQ(incomplete[6], "kept");

    // Fired early for a later due date: the two sorts differ.
    put("early", "2026-01-14T09:00", [this](auto& a) { a.due_date = world.at("2026-01-14T12:00"); });
    put("ranked", "2026-01-14T07:00", [](auto& a) { a.rank = 9; });
    EXPECT_THAT(ManagerWorld::ids(manager.fetchAllActiveRemindersWithDefaultSort(true)),
                ElementsAre("due now", "stray", "due", "early", "ranked", "open-ended"));
    EXPECT_THAT(ManagerWorld::ids(manager.fetchAllActiveRemindersWithDefaultSort(false)),
                ElementsAre("early", "due now", "due", "stray", "ranked", "open-ended"));
}

TEST_F(Queries, FindTheNextFireDateNearOrFar) {
    const auto now = world.environment.now();
    EXPECT_EQ(manager.nextFireDateAfter(now), now + 1us);
    EXPECT_EQ(manager.nextFireDateAfter(now + 1us), world.at("2026-01-15T10:00"));
    EXPECT_EQ(manager.nextFireDateAfter(world.at("2026-01-16T00:00")), world.at("2026-01-20T08:00"));
    EXPECT_EQ(manager.nextFireDateAfter(world.at("2026-01-20T08:00")), std::nullopt);
    world.store(world.dated("far", "9999-12-31T23:59"));
    EXPECT_EQ(manager.nextFireDateAfter(world.at("2026-01-20T08:00")), world.at("9999-12-31T23:59"));
    EXPECT_EQ(manager.nextFireDateAfter(NSDate::max()), std::nullopt);
}

}  // namespace
}  // namespace zun
