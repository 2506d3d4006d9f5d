// Change feeds: pages, tokens, deletions that are forgotten.

#include <gmock/gmock.h>

#include <random>

#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CKRecordID id(std::string name) {
    return {std::move(name), remindersZone};
}

std::vector<std::string> names(const std::vector<CKRecord>& records) {
    std::vector<std::string> names;
    for (const auto& record : records)
        names.push_back(record.recordID.recordName);
    return names;
}

std::vector<std::string> names(const std::vector<ZoneChanges::Deleted>& deleted) {
    std::vector<std::string> names;
    for (const auto& each : deleted)
        names.push_back(each.recordID.recordName);
    return names;
}

TEST(Feeds, TellWhatHasChangedSinceAToken) {
    ServiceWorld world;
    const TestDevice device(world, "anna");
    EXPECT_THAT(device.ask<DatabaseChanges>(FetchDatabaseChanges{}).changed, IsEmpty());
    device.makeZone();
    const auto database = device.ask<DatabaseChanges>(FetchDatabaseChanges{});
    EXPECT_THAT(database.changed, ElementsAre(remindersZone));
    (void)device.save({makeRecord("a", "1"), makeRecord("b", "1"), makeRecord("c", "1")});
    const auto first = device.changes();
    EXPECT_THAT(names(first.changed), ElementsAre("a", "b", "c"));
    EXPECT_TRUE(first.fromBeginning);
    (void)device.save({makeRecord("a", "2")}, SavePolicy::AllKeys);
    (void)device.save({makeRecord("a", "3")}, SavePolicy::AllKeys);
    (void)device.remove({id("b")});
    const auto second = device.changes(first.token);
    EXPECT_THAT(names(second.changed), ElementsAre("a")) << "each once, as it is now";
    EXPECT_EQ(*second.changed.at(0).get<std::string>("title"), "3");
    EXPECT_THAT(names(second.deleted), ElementsAre("b"));
    EXPECT_EQ(second.deleted.at(0).recordType, "Reminder");
    const auto third = device.changes(second.token);
    EXPECT_THAT(third.changed, IsEmpty());
    EXPECT_THAT(third.deleted, IsEmpty());
    EXPECT_FALSE(third.fromBeginning);
    EXPECT_EQ(third.token, second.token) << "nothing to store for who is where it was";
    world.environment.advance(std::chrono::hours(25));
    EXPECT_NE(device.changes(third.token).token, third.token) << "but no token may grow old in quiet times";
    EXPECT_THAT(device.ask<DatabaseChanges>(FetchDatabaseChanges{DatabaseScope::Private, database.token}).changed,
                ElementsAre(remindersZone));
    EXPECT_EQ(device.codeOf(ModifyZones{DatabaseScope::Private, {}, {remindersZone}}), 0);
    EXPECT_EQ(device.changes(third.token).error->code, CKErrorCode::ZoneNotFound);
    EXPECT_THAT(device.ask<DatabaseChanges>(FetchDatabaseChanges{DatabaseScope::Private, database.token}).deleted,
                ElementsAre(remindersZone));
    device.makeZone();
    EXPECT_THAT(device.changes().changed, IsEmpty()) << "made again, it is another zone";
    EXPECT_EQ(device.changes(third.token).error->code, CKErrorCode::ChangeTokenExpired);
}

// A reader that pages through a feed while others write ends up with what is there, and never sees an empty page with
// more to come.
TEST(Feeds, PagedThroughWhileOthersWriteGiveTheWholeZone) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        auto options = quickOptions();
        options.limits.recordsPerPage = 3;
        options.limits.bytesPerPage = 1'500;
        ServiceWorld world(std::make_unique<MemoryStorage>(), options);
        const TestDevice device(world, "anna");
        device.makeZone();
        std::mt19937 random(seed);
        std::map<std::string, std::string> truth, read;
        const auto writeSome = [&] {
            for (auto left = random() % 4; left > 0; --left) {
                const auto name = "r" + std::to_string(random() % 12);
                if (random() % 3 == 0) {
                    if (truth.erase(name) > 0) (void)device.remove({id(name)});
                } else {
                    truth[name] = std::to_string(random());
                    (void)device.save({makeRecord(name, truth[name])}, SavePolicy::AllKeys);
                }
            }
            if (random() % 5 == 0) world.environment.advance(std::chrono::hours(24 * 4));
        };
        std::optional<Token> token;
        for (int round = 0; round < 60; ++round) {
            if (round < 50) writeSome();
            const auto page = device.changes(token);
            if (page.error) {
                ASSERT_EQ(page.error->code, CKErrorCode::ChangeTokenExpired);
                token.reset();
                continue;
            }
            ASSERT_FALSE(page.moreComing && page.changed.empty() && page.deleted.empty());
            if (page.fromBeginning) read.clear();
            for (const auto& record : page.changed)
                read[record.recordID.recordName] = *record.get<std::string>("title");
            for (const auto& gone : page.deleted)
                read.erase(gone.recordID.recordName);
            token = page.token;
            if (round >= 50 && !page.moreComing) break;
        }
        EXPECT_EQ(read, truth);
    }
}

TEST(Feeds, SayOnceForADeviceThatATokenIsExpiredThenBeginAnew) {
    ServiceWorld world;
    const TestDevice anna(world, "anna");
    const TestDevice second(world, "anna");
    const TestDevice berta(world, "berta");
    for (const auto* device : {&anna, &berta})
        device->makeZone();
    (void)anna.save({makeRecord("a", "1")});
    const auto old = anna.changes().token;
    const auto expired = [](const TestDevice& device, const Token& token) {
        const auto answer = device.changes(token);
        return answer.error && answer.error->code == CKErrorCode::ChangeTokenExpired;
    };
    EXPECT_TRUE(expired(berta, old)) << "another account's";
    EXPECT_TRUE(expired(anna, "nonsense"));
    EXPECT_TRUE(expired(anna, old + "A"));
    const auto ofDatabase = anna.ask<DatabaseChanges>(FetchDatabaseChanges{}).token;
    EXPECT_TRUE(expired(anna, ofDatabase)) << "another feed's";
    EXPECT_FALSE(expired(anna, old));
    world.environment.advance(std::chrono::hours(24 * 31));
    for (const auto* device : {&anna, &second}) {
        EXPECT_TRUE(expired(*device, old));
        const auto again = device->changes(old);
        EXPECT_FALSE(again.error);
        EXPECT_TRUE(again.fromBeginning);
        EXPECT_THAT(names(again.changed), ElementsAre("a"));
        EXPECT_EQ(device->codeOf(FetchDatabaseChanges{DatabaseScope::Private, ofDatabase}), 21);
        EXPECT_EQ(device->codeOf(FetchDatabaseChanges{DatabaseScope::Private, ofDatabase}), 0);
    }
}

TEST(Feeds, OfManyZonesKeepWithinBounds) {
    auto options = quickOptions();
    options.limits.zonesPerAccount = 5;
    options.limits.bytesPerPage = 1'000;
    options.limits.bytesPerRequest = 4'000;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice device(world, "anna");
    const auto zoneOf = [](int number) { return CKRecordZoneID{std::to_string(number), remindersZone.ownerName}; };
    const auto zones = [&](const std::optional<Token>& token) {
        return device.ask<DatabaseChanges>(FetchDatabaseChanges{DatabaseScope::Private, token});
    };
    const auto first = zones({}).token;
    for (int number = 0; number < 12; ++number) {
        device.makeZone(zoneOf(number));
        EXPECT_EQ(device.codeOf(ModifyZones{DatabaseScope::Private, {}, {zoneOf(number)}}), 0);
    }
    EXPECT_EQ(device.codeOf(FetchDatabaseChanges{DatabaseScope::Private, first}), 21)
        << "more were deleted than are remembered";
    const auto now = zones({}).token;
    FetchZoneChanges request{DatabaseScope::Private, {}};
    for (int number = 0; number < 4; ++number) {
        device.makeZone(zoneOf(number));
        (void)device.save({makeRecord("r", std::string(1'500, 'x'), zoneOf(number))});
        request.zones.push_back({zoneOf(number), {}});
    }
    EXPECT_EQ(zones(now).changed.size(), 4U);
    const auto answer = device.ask<ZoneChanges>(request).zones;
    for (int number = 0; number < 3; ++number)
        EXPECT_EQ(answer.at(static_cast<std::size_t>(number)).changed.size(), 1U);
    EXPECT_EQ(answer.at(3).error.value_or(CKError{}).code, CKErrorCode::LimitExceeded);
    request.zones[1] = request.zones[0];
    EXPECT_EQ(device.codeOf(request), 12) << "the same one twice";
}

TEST(Feeds, ForgetDeletionsAfterTheirTimeAndStayReadableFromTheStart) {
    auto options = quickOptions();
    options.limits.recordsPerPage = 2;
    ServiceWorld world(std::make_unique<MemoryStorage>(), options);
    const TestDevice device(world, "anna");
    device.makeZone();
    for (int number = 0; number < 6; ++number)
        (void)device.save({makeRecord("r" + std::to_string(number), "x")});
    (void)device.remove({id("r5")});
    world.environment.advance(std::chrono::hours(24 * 31));
    (void)device.save({makeRecord("s", "x")});
    (void)device.remove({id("s")});
    std::uint64_t feedRows = 0;
    world.storage->dump([&](std::string_view, Table table, std::string_view, std::string_view) {
        feedRows += table == Table::Feed ? 1 : 0;
    });
    EXPECT_EQ(feedRows, 6U) << "five records and the new deletion";
    std::vector<std::string> read;
    std::optional<Token> token;
    bool isMore = true;
    for (int page = 0; isMore && page < 10; ++page) {
        const auto answer = device.changes(token);
        ASSERT_FALSE(answer.error) << "who began after a deletion need not know of it";
        for (auto& name : names(answer.changed))
            read.push_back(std::move(name));
        token = answer.token;
        isMore = answer.moreComing;
    }
    EXPECT_THAT(read, ElementsAre("r0", "r1", "r2", "r3", "r4"));
    EXPECT_THAT(device.remove({id("r5")}).deleted, ElementsAre(id("r5"))) << "that it existed is never forgotten";
}

}  // namespace
}  // namespace zun::cloud
