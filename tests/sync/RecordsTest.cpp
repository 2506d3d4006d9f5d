#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <variant>

#include "support/TestEnvironment.h"
#include "sync/ArchivedZoneID.h"
#include "sync/ReminderRecord.h"
#include "sync/RemoteChange.h"

namespace zun {
namespace {

// Another value than the one it is given, of the same type.
struct Other {
    void operator()(std::string& value) const { value += " more"; }
    void operator()(double& value) const { value += 0.1; }
    void operator()(bool& value) const { value = !value; }
    void operator()(std::uint64_t& value) const { value += 1'000'000'000'000'000'001; }
    void operator()(std::int64_t& value) const { value -= 5; }
    void operator()(NSDate& value) const { value += std::chrono::microseconds(1); }
    void operator()(DayOrdinals& value) const { value.insert(value.begin(), value.empty() ? 7 : 1); }
    void operator()(Bytes& value) const { value = {1}; }
    template <typename T>
    void operator()(std::optional<T>& value) const {
        if (!value) value.emplace();
        (*this)(*value);
    }
};

ReminderAttributes filled() {
    ReminderAttributes all;
    for (const auto& description : reminderAttributes())
        std::visit([&](auto member) { Other()(all.*member); }, description.member);
    all.reminderID = "r";
    all.didPersistToiCloud = true;
    // Marks stay at home.
    all.hasLocalChanges = false;
    all.shouldDeleteRemote.reset();
    all.sharedZoneID.reset();
    return all;
}

CKRecord recordOf(const ReminderAttributes& reminder) {
    CKRecord record;
    record.recordID.recordName = *reminder.reminderID;
    combineCloudKitRecord(record, reminder);
    return record;
}

TEST(Records, HoldTwentyNineFieldsAndGiveBackEveryOne) {
    auto reminder = filled();
    auto record = recordOf(reminder);
    EXPECT_EQ(record.fields.size(), 29u);
    EXPECT_EQ(reminderWithRecord(record), reminder);

    // What the reminder no longer has is cleared, but an empty list is a list.
    reminder.notes.reset();
    reminder.fire_date.reset();
    reminder.customRepeatDayOrdinals = DayOrdinals();
    reminder.didPersistToiCloud = false;
    reminder.due_date.reset();
    reminder.hasLocalChanges = true;
    record.recordChangeTag = "7";
    record.setObject("from a later version", CKRecordValue(true));
    combineCloudKitRecord(record, reminder);
    EXPECT_EQ(record.objectForKey("notes"), nullptr);
    EXPECT_EQ(record.objectForKey("fire_date"), nullptr);
    EXPECT_EQ(*record.get<bool>("didPersistToiCloud"), true);
    EXPECT_EQ(*record.get<NSDate>("due_date"), *reminder.start_date) << "the occurrence, where there is no due date";
    EXPECT_EQ(record.get<CKList>("customRepeatDayOrdinals")->size(), 0u);
    EXPECT_EQ(record.recordChangeTag, "7");
    EXPECT_NE(record.objectForKey("from a later version"), nullptr);
    EXPECT_FALSE(reminderWithRecord(record).hasLocalChanges);

    reminder.customRepeatDayOrdinals.reset();
    combineCloudKitRecord(record, reminder);
    EXPECT_EQ(record.objectForKey("customRepeatDayOrdinals"), nullptr);
}

TEST(Records, FromElsewhereDoNoHarm) {
    CKRecord record;
    record.recordID.recordName = "name";
    record.setObject("reminderID", CKRecordValue(std::string("another reminder")));
    record.setObject("title", CKRecordValue(true));
    record.setObject("rank", CKRecordValue(std::string("first")));
    record.setObject("locationLatitude", CKRecordValue(std::int64_t{48}));
    record.setObject("customRepeatDayOrdinals",
                     CKRecordValue(CKList{CKRecordValue(std::int64_t{2}), CKRecordValue(std::int64_t{900}),
                                          CKRecordValue(std::string("x"))}));
    const auto reminder = reminderWithRecord(record);
    EXPECT_EQ(reminder.reminderID, "name");
    EXPECT_EQ(reminder.title, "");
    EXPECT_EQ(reminder.rank, 0);
    EXPECT_EQ(reminder.locationLatitude, 48);
    EXPECT_EQ(reminder.customRepeatDayOrdinals, DayOrdinals{2});
}

TEST(Records, DifferInWhatTheUserCanChange) {
    const auto one = filled();
    EXPECT_FALSE(differsFromRemoteRecord(one, one));
    for (const auto& description : reminderAttributes()) {
        auto other = one;
        std::visit([&](auto member) { Other()(other.*member); }, description.member);
        static constexpr std::string_view noContent[] = {"reminderID",      "modified_date",      "didPersistToiCloud",
                                                         "hasLocalChanges", "shouldDeleteRemote", "sharedZoneID"};
        const bool isContent = std::ranges::find(noContent, description.name) == std::end(noContent);
        EXPECT_EQ(differsFromRemoteRecord(one, other), isContent) << description.name;
        EXPECT_EQ(differsFromRemoteRecord(other, one), isContent) << description.name;
    }
}

TEST(Records, NameTheirZonesInTheStore) {
    for (const CKRecordZoneID& zone : {CKRecordZoneID(), CKRecordZoneID{"Reminders", "12:34"}, CKRecordZoneID{"", ""},
                                       CKRecordZoneID{"5:x", std::string("a\0b", 3)}})
        EXPECT_EQ(unarchivedZoneID(archivedZoneID(zone)), zone);
    for (const std::string junk : {"", "x", "5", "5:abc", "-1:abc", "99999999999999999999:a"})
        EXPECT_EQ(unarchivedZoneID(Bytes(junk.begin(), junk.end())), std::nullopt) << junk;
}

TEST(Merging, LetsOneSideWinWhole) {
    const TestEnvironment environment;
    const auto early = environment.date("2026-01-14T08:00:00Z"), late = environment.date("2026-01-14T08:00:00.000001Z");
    const CKRecordZoneID own{"Reminders", "__defaultOwner__"}, foreign{"Reminders", "somebody"};
    struct Case {
        const char* name;
        OptionalDate local, remote;
        bool differs = true;
        CKRecordZoneID zone;
        MergeWinner winner;
        RecordVerdict verdict;
        bool hadLocalChanges = true, hasLocalChanges = false;
    };
    using enum RecordVerdict;
    for (const auto& each : {
             Case{"equal in content", late, early, false, own, MergeWinner::None, Mark},
             Case{"equal and unmarked", late, early, false, own, MergeWinner::None, Leave, false},
             Case{"remote later", early, late, true, own, MergeWinner::Remote, Write},
             Case{"equal dates", late, late, true, own, MergeWinner::Remote, Write},
             Case{"no local date", {}, early, true, own, MergeWinner::Remote, Write},
             Case{"no date at all", {}, {}, true, own, MergeWinner::Remote, Write},
             Case{"local later", late, early, true, own, MergeWinner::Local, Leave, true, true},
             Case{"local later and unmarked", late, early, true, own, MergeWinner::Local, Mark, false, true},
             Case{"local later, not migrated", late, early, true, {}, MergeWinner::Local, Leave, true, true},
             Case{"local later, shared", late, early, true, foreign, MergeWinner::Local, Leave, false, false},
             Case{"remote later, shared", early, late, true, foreign, MergeWinner::Remote, Write, false},
         }) {
        auto local = filled();
        local.modified_date = each.local;
        local.hasLocalChanges = each.hadLocalChanges;
        local.shouldDeleteRemote = true;
        local.sharedZoneID = Bytes{4};
        auto remote = filled();
        remote.modified_date = each.remote;
        if (each.differs) remote.title = "remote";
        auto record = recordOf(remote);
        record.recordID.zoneID = each.zone;
        std::optional<ReminderAttributes> row = local;
        const auto decision = mergeReminder(RemoteChange::changed(record, RemoteChange::Kind::Changed, own), row);
        EXPECT_EQ(decision.winner, each.winner) << each.name;
        EXPECT_EQ(decision.verdict, each.verdict) << each.name;
        EXPECT_EQ(row->hasLocalChanges, each.hasLocalChanges) << each.name;
        EXPECT_EQ(row->sharedZoneID, Bytes{4}) << each.name;
        const bool isReplaced = each.verdict == Write;
        EXPECT_EQ(row->title, isReplaced ? "remote" : local.title) << each.name;
        EXPECT_EQ(row->modified_date, isReplaced ? each.remote : each.local) << each.name;
        // A reminder whose deletion was not sent yet comes back with a newer version.
        EXPECT_EQ(row->shouldDeleteRemote.value_or(false), !isReplaced) << each.name;
    }

    std::optional<ReminderAttributes> none;
    const auto record = recordOf(filled());
    EXPECT_EQ(mergeReminder(RemoteChange::changed(record, RemoteChange::Kind::Merged, own), none).verdict, Leave);
    EXPECT_EQ(mergeReminder(RemoteChange::deleted("r"), none).verdict, Leave);
    EXPECT_EQ(mergeReminder(RemoteChange::changed(record, RemoteChange::Kind::Changed, own), none).verdict, Write);
    EXPECT_EQ(none, filled());
    EXPECT_EQ(mergeReminder(RemoteChange::deleted("r"), none).verdict, Remove);
}

}  // namespace
}  // namespace zun
