// Saving, reading and deleting records.

#include <gmock/gmock.h>

#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

CKRecordID id(std::string name) {
    return {std::move(name), remindersZone};
}

std::map<std::string, int> codes(const ModifiedRecords& answer) {
    std::map<std::string, int> codes;
    for (const auto& [recordID, error] : answer.failed)
        codes[recordID.recordName] = static_cast<int>(error.code);
    return codes;
}

TEST(Records, ComeBackAsTheyWereSaved) {
    ServiceWorld world;
    const TestDevice device(world, "anna");
    device.makeZone();
    auto record = makeRecord("Ä/🍏 1", "Milk");
    record.setObject("empty", CKRecordValue(CKList{}));
    record.setObject("count", CKRecordValue(std::uint64_t{18'446'744'073'709'551'615U}));
    record.setObject("least", CKRecordValue(std::int64_t{INT64_MIN}));
    record.setObject("date", CKRecordValue(NSDate(std::chrono::microseconds(-1))));
    record.setObject("other", CKRecordValue(CKReference{id("x")}));
    const auto saved = device.save({record});
    ASSERT_EQ(saved.saved.size(), 1U);
    EXPECT_FALSE(saved.saved[0].recordChangeTag.empty());
    auto fetched = device.fetch({record.recordID, id("nothing"), {"x", {"No zone", remindersZone.ownerName}}});
    ASSERT_EQ(fetched.records.size(), 1U);
    record.recordChangeTag = saved.saved[0].recordChangeTag;
    record.modificationDate = world.environment.now();
    EXPECT_EQ(fetched.records[0], record);
    ASSERT_EQ(fetched.failed.size(), 2U);
    EXPECT_EQ(fetched.failed.at(id("nothing")).code, CKErrorCode::UnknownItem);
    const auto outline =
        device.ask<FetchedRecords>(FetchRecords{DatabaseScope::Private, {record.recordID}, std::vector<std::string>{}});
    EXPECT_TRUE(outline.records.at(0).fields.empty());
    EXPECT_EQ(outline.records[0].recordChangeTag, record.recordChangeTag);
}

TEST(Records, EachSavePolicyHasItsAnswerToAChangeInBetween) {
    struct Case {
        const char* name;
        SavePolicy policy;
        bool isThere, hasCurrentTag, hasOldTag;
        int code;
    };
    for (const auto& each : {
             Case{"new", SavePolicy::IfServerRecordUnchanged, false, false, false, 0},
             Case{"plain over an existing one", SavePolicy::IfServerRecordUnchanged, true, false, false, 14},
             Case{"unchanged", SavePolicy::IfServerRecordUnchanged, true, true, false, 0},
             Case{"changed meanwhile", SavePolicy::IfServerRecordUnchanged, true, false, true, 14},
             Case{"deleted meanwhile", SavePolicy::IfServerRecordUnchanged, false, false, true, 11},
             Case{"all keys over anything", SavePolicy::AllKeys, true, false, true, 0},
             Case{"all keys create", SavePolicy::AllKeys, false, false, true, 0},
             Case{"changed keys over anything", SavePolicy::ChangedKeys, true, false, false, 0},
             Case{"changed keys create", SavePolicy::ChangedKeys, false, false, false, 0},
         }) {
        SCOPED_TRACE(each.name);
        ServiceWorld world;
        const TestDevice device(world, "anna");
        device.makeZone();
        auto record = makeRecord("r", "new");
        if (each.isThere) {
            auto former = makeRecord("r", "old");
            former.setObject("notes", CKRecordValue(std::string("kept")));
            const auto saved = device.save({former});
            if (each.hasCurrentTag) record.recordChangeTag = saved.saved.at(0).recordChangeTag;
        }
        if (each.hasOldTag) record.recordChangeTag = "of old";
        const auto answer = device.save({record}, each.policy);
        if (each.code != 0) {
            EXPECT_THAT(codes(answer), ElementsAre(Pair("r", each.code)));
            continue;
        }
        EXPECT_THAT(answer.failed, IsEmpty());
        const auto now = device.fetch({id("r")}).records.at(0);
        EXPECT_EQ(*now.get<std::string>("title"), "new");
        EXPECT_EQ(now.objectForKey("notes") != nullptr, each.isThere && each.policy == SavePolicy::ChangedKeys);
    }
}

TEST(Records, OfOneZoneSucceedOrFailTogether) {
    ServiceWorld world;
    const TestDevice device(world, "anna");
    device.makeZone();
    const CKRecordZoneID other{"Other", remindersZone.ownerName};
    device.makeZone(other);
    (void)device.save({makeRecord("there", "old"), makeRecord("gone", "old")});
    (void)device.remove({id("gone")});
    const auto answer = device.ask<ModifiedRecords>(
        ModifyRecords{DatabaseScope::Private,
                      SavePolicy::IfServerRecordUnchanged,
                      {makeRecord("a", "A"), makeRecord("there", "B"), makeRecord("o", "O", other)},
                      {id("gone"), id("never")}});
    EXPECT_THAT(codes(answer),
                UnorderedElementsAre(Pair("a", 22), Pair("there", 14), Pair("gone", 22), Pair("never", 11)));
    ASSERT_EQ(answer.saved.size(), 1U);
    EXPECT_EQ(answer.saved[0].recordID.recordName, "o");
    EXPECT_THAT(device.changes().changed, testing::SizeIs(1));
    EXPECT_EQ(
        device.codeOf(ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord("a", "A")}, {id("a")}}),
        12)
        << "the same record twice";
}

TEST(Records, DeletingTwiceIsNoErrorAndDeletingWhatNeverWasIsOne) {
    ServiceWorld world;
    const TestDevice device(world, "anna");
    device.makeZone();
    const auto first = device.save({makeRecord("r", "1")}).saved.at(0).recordChangeTag;
    EXPECT_THAT(device.remove({id("r")}).deleted, ElementsAre(id("r")));
    EXPECT_THAT(device.remove({id("r")}).deleted, ElementsAre(id("r")));
    EXPECT_THAT(codes(device.remove({id("s")})), ElementsAre(Pair("s", 11)));
    EXPECT_EQ(device.fetch({id("r")}).failed.at(id("r")).code, CKErrorCode::UnknownItem);
    const auto again = device.save({makeRecord("r", "2")});
    EXPECT_NE(again.saved.at(0).recordChangeTag, first) << "a tag stands for one body only";
    EXPECT_THAT(device.changes().changed, testing::SizeIs(1));
    EXPECT_THAT(device.changes().deleted, IsEmpty());
}

TEST(Records, OfTheDefaultZoneAreOnlyReadAndInNoFeed) {
    ServiceWorld world;
    const TestDevice device(world, "anna");
    const CKRecordID seeded{"old", {}};
    world.service->seedDefaultZone(device.accountID, {makeRecord("old", "From before", {})},
                                   [](const OptionalError& error) { EXPECT_FALSE(error); });
    EXPECT_THAT(codes(device.save({makeRecord("new", "x", {})}, SavePolicy::AllKeys)), ElementsAre(Pair("new", 10)));
    EXPECT_THAT(codes(device.remove({seeded})), ElementsAre(Pair("old", 10)));
    EXPECT_EQ(device.codeOf(ModifyZones{DatabaseScope::Private, {}, {CKRecordZoneID{}}}), 10);
    EXPECT_EQ(device.fetch({seeded}).records.size(), 1U);
    const auto found = device.ask<QueriedRecords>(QueryRecords{DatabaseScope::Private, {}, "Reminder", {}});
    EXPECT_EQ(found.records.size(), 1U);
    EXPECT_THAT(device.ask<DatabaseChanges>(FetchDatabaseChanges{}).changed, IsEmpty());
}

TEST(Records, AreFoundByTypePageByPage) {
    auto options = quickOptions();
    options.limits.recordsPerPage = 3;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice device(world, "anna");
    device.makeZone();
    std::vector<CKRecord> records;
    for (int number = 0; number < 7; ++number)
        records.push_back(makeRecord("r" + std::to_string(number), "x"));
    records.push_back(makeRecord("r3b", "x"));
    records.back().recordType = "Other";
    (void)device.save(std::move(records));
    (void)device.remove({id("r5")});
    std::vector<std::string> names;
    QueryRecords query{DatabaseScope::Private, remindersZone, "Reminder", {}};
    int pages = 0;
    do {
        const auto page = device.ask<QueriedRecords>(query);
        for (const auto& record : page.records)
            names.push_back(record.recordID.recordName);
        query.cursor = page.cursor;
        ++pages;
    } while (!query.cursor.empty());
    EXPECT_THAT(names, ElementsAre("r0", "r1", "r2", "r3", "r4", "r6"));
    EXPECT_LE(pages, 3);
    query.cursor =
        device.ask<QueriedRecords>(QueryRecords{DatabaseScope::Private, remindersZone, "Reminder", {}}).cursor;
    query.recordType = "Other";
    EXPECT_EQ(device.codeOf(query), 12) << "a cursor belongs to its query";
}

TEST(Records, HaveLimits) {
    auto options = quickOptions();
    options.limits.itemsPerRequest = 3;
    options.limits.bytesPerRecord = 2'000;
    options.limits.bytesPerAccount = 5'000;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice device(world, "anna");
    device.makeZone();
    std::vector<CKRecord> many;
    for (int number = 0; number < 4; ++number)
        many.push_back(makeRecord(std::to_string(number), "x"));
    EXPECT_EQ(device.codeOf(ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, many, {}}), 27);
    EXPECT_THAT(codes(device.save({makeRecord("big", std::string(2'000, 'x')), makeRecord("small", "x")})),
                UnorderedElementsAre(Pair("big", 27), Pair("small", 22)));
    const std::string text(1'500, 'x');
    (void)device.save({makeRecord("1", text), makeRecord("2", text)});
    const ModifyRecords third{
        DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord("3", text), makeRecord("4", text)}, {}};
    EXPECT_EQ(device.codeOf(third), 25);
    EXPECT_EQ(device.fetch({id("3")}).records.size(), 0U) << "nothing of it was kept";
    (void)device.remove({id("1"), id("2")});
    EXPECT_EQ(device.codeOf(third), 0);
    EXPECT_LE(device.ask<Account>(FetchAccount{}).usedBytes, 5'000U);
    int code = 0;
    for (int number = 5; number < 100 && code == 0; ++number) {
        code = device.codeOf(
            ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord(std::to_string(number), "x")}, {}});
        if (code == 0) (void)device.remove({id(std::to_string(number))});
    }
    EXPECT_EQ(code, 25) << "what was deleted takes room for ever";
}

TEST(Records, DoNotOutgrowTheirLimitKeyByKey) {
    auto options = quickOptions();
    options.limits.bytesPerRecord = 20'000;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice device(world, "anna");
    device.makeZone();
    const auto grow = [&](const char* name, const char* prefix, int keys, std::size_t bytes) {
        auto record = makeRecord(name, "x");
        for (int key = 0; key < keys; ++key)
            record.setObject(prefix + std::to_string(key), CKRecordValue(std::string(bytes, 'x')));
        const auto failed = codes(device.save({record}, SavePolicy::ChangedKeys));
        return failed.empty() ? 0 : failed.begin()->second;
    };
    EXPECT_EQ(grow("long", "a", 1, 15'000), 0);
    EXPECT_EQ(grow("long", "b", 1, 15'000), 27);
    EXPECT_EQ(grow("long", "a", 1, 16'000), 0) << "another text for the same key";
    EXPECT_EQ(grow("wide", "a", 400, 0), 0);
    EXPECT_EQ(grow("wide", "b", 400, 0), 0);
    EXPECT_EQ(grow("wide", "c", 400, 0), 27) << "it could not be read any more";
    EXPECT_EQ(device.fetch({id("long"), id("wide")}).records.size(), 2U);
}

}  // namespace
}  // namespace zun::cloud
