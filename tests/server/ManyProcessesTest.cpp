// Several services over one database, as several processes would be, and a database that goes away and comes back.

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <map>
#include <random>
#include <set>
#include <thread>

#include "server/PostgresCluster.h"
#include "server/Storages.h"
#include "server/model/Administration.h"
#include "server/model/ServiceIdentity.h"
#include "server/storage/PostgresStorage.h"
#include "support/ServiceWorld.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ManyProcesses : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(PostgresCluster::isAvailable()) << "PostgreSQL is not installed";
        address = PostgresCluster::shared().makeDatabase();
        first = std::make_unique<ServiceWorld>(std::make_unique<PostgresStorage>(PostgresServer{address}, 3),
                                               quickOptions(), 1);
        second = std::make_unique<ServiceWorld>(
            askedInLoops(std::make_unique<PostgresStorage>(PostgresServer{address}, 3)), quickOptions(), 2);
    }
    void TearDown() override {
        if (!first) return;
        Administration administration(*first->storage, first->environment, first->random, first->options.passwordCost);
        EXPECT_THAT(administration.check().complaints, IsEmpty());
    }

    std::string address;
    std::unique_ptr<ServiceWorld> first, second;
};

TEST_F(ManyProcesses, AgreeOnAccountsTokensAndFeeds) {
    const TestDevice here(*first, "anna"), there(*second, "anna");
    EXPECT_EQ(here.accountID, there.accountID);
    here.makeZone();
    const auto token = there.changes().token;
    (void)here.save({makeRecord("r", "Milk")});
    const auto seen = there.changes(token);
    ASSERT_FALSE(seen.error) << "a token of one is good at the other";
    EXPECT_THAT(seen.changed, testing::SizeIs(1));
}

TEST_F(ManyProcesses, PassPushesOnToEachOther) {
    const TestDevice here(*first, "anna"), there(*second, "anna");
    here.makeZone();
    (void)here.ask<SavedSubscription>(
        SaveSubscription{DatabaseScope::Private, {{}, CKSubscriptionData::Kind::Query, "Reminder", 7, {}, true}});
    std::mutex mutex;
    std::condition_variable news;
    std::vector<std::string> received;
    std::unique_ptr<PushStream> stream;
    second->service->openPushStream(there.token, std::nullopt,
                                    {[&](const Push& push) {
                                         std::lock_guard lock(mutex);
                                         received.push_back(push.recordID->recordName);
                                         news.notify_all();
                                     },
                                     [] {}},
                                    [&](auto result) {
                                        std::lock_guard lock(mutex);
                                        stream = std::move(std::get<OpenedPushStream>(result).stream);
                                        news.notify_all();
                                    });
    std::unique_lock lock(mutex);
    news.wait(lock, [&] { return stream != nullptr; });
    lock.unlock();
    (void)here.save({makeRecord("r", "Milk")});
    lock.lock();
    news.wait(lock, [&] { return !received.empty(); });
    EXPECT_THAT(received, ElementsAre("r"));
    lock.unlock();
    stream.reset();
}

// Participants and owner lock each other's accounts in opposite orders.
TEST_F(ManyProcesses, WriteToOneShareAtTheSameTime) {
    const TestDevice owner(*first, "anna"), participant(*second, "bert");
    owner.makeZone();
    CKRecord share;
    share.recordType = CKRecordTypeShare;
    share.recordID = {"s", remindersZone};
    share.shareDetails = CKShareDetails{{"r", remindersZone}, {}, CKShareParticipantPermission::ReadWrite, {}};
    const auto URL = owner.save({makeRecord("r", "0"), share}).saved.at(1).shareDetails->URL;
    (void)participant.ask<AcceptedShares>(AcceptShares{{URL}});
    constexpr int times = 15;
    std::thread other([&] {
        for (int time = 0; time < times; ++time)
            EXPECT_THAT(participant
                            .save({makeRecord("r", "p", {"Reminders", owner.accountID})}, SavePolicy::AllKeys,
                                  DatabaseScope::Shared)
                            .failed,
                        IsEmpty());
    });
    for (int time = 0; time < times; ++time)
        EXPECT_THAT(owner.save({makeRecord("r", "o")}, SavePolicy::AllKeys).failed, IsEmpty());
    other.join();
}

// What one remembers of rows may be what another one has changed since, or made, or erased.
TEST_F(ManyProcesses, WriteOverWhatIsThereAndNotOverWhatTheyRemember) {
    constexpr const char* account = "a";
    const auto add = [&](ServiceWorld& world, const char* name, int number) {
        std::string seen;
        writeAndWait(*world.storage, [&](Transaction& rows) {
            (void)rows.getForUpdate(account, Table::Account, {});
            seen = rows.get(account, Table::Record, name).value_or("");
            if (number > 0) {
                rows.put(account, Table::Record, name, seen + std::to_string(number));
            } else {
                rows.erase(account, Table::Record, name);
            }
            return Storage::Ending::Commit;
        });
        return seen;
    };
    writeAndWait(*first->storage, [](Transaction& rows) {
        rows.put(account, Table::Account, {}, "never changes");
        return Storage::Ending::Commit;
    });
    std::mt19937 random(1);
    std::map<std::string, std::string> truth;
    for (int step = 0; step < 600; ++step) {
        // One of them writes for a while, so that it comes to trust what it remembers.
        auto& world = step / 40 % 2 == 0 || random() % 20 == 0 ? *first : *second;
        const auto* name = random() % 2 == 0 ? "r" : "s";
        const int number = static_cast<int>(random() % 10);
        ASSERT_EQ(add(world, name, number), truth[name]) << "at step " << step;
        number > 0 ? void(truth[name] += std::to_string(number)) : truth[name].clear();
    }
    writeAndWait(*first->storage, [](Transaction& rows) {
        rows.erase(account, Table::Account, {});
        rows.erasePrefix(account, Table::Record, {});
        return Storage::Ending::Commit;
    });
    EXPECT_EQ(add(*second, "r", 0), "") << "what is remembered of an account that was deleted is of no use";
}

// A server that crashes under load: whatever was answered as saved is there afterwards, and the feed has no hole.
TEST_F(ManyProcesses, SurviveARestartOfTheDatabaseUnderLoad) {
    const TestDevice here(*first, "anna"), there(*second, "bert");
    for (const auto* device : {&here, &there})
        device->makeZone();
    std::atomic<bool> isOn{true};
    std::atomic<int> written{0};
    const auto write = [&](const TestDevice& device, std::set<std::string>& acknowledged) {
        for (int number = 0; isOn; ++number) {
            const auto name = "r" + std::to_string(number);
            const auto answer =
                device.codeOf(ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord(name, "x")}, {}});
            if (answer == 0) acknowledged.insert(name);
            EXPECT_TRUE(answer == 0 || answer == 6) << answer;
            ++written;
        }
    };
    std::set<std::string> ofHere, ofThere;
    std::thread one([&] { write(here, ofHere); }), two([&] { write(there, ofThere); });
    for (int restarts = 1; restarts <= 2; ++restarts) {
        while (written < restarts * 60)
            std::this_thread::yield();
        PostgresCluster::shared().restart();
    }
    while (written < 240)
        std::this_thread::yield();
    isOn = false;
    one.join();
    two.join();
    for (const auto& [device, acknowledged] : {std::pair(&here, &ofHere), std::pair(&there, &ofThere)}) {
        std::set<std::string> found;
        for (const auto& record : device->changes().changed)
            found.insert(record.recordID.recordName);
        EXPECT_TRUE(std::includes(found.begin(), found.end(), acknowledged->begin(), acknowledged->end()));
    }
}

// On a local socket nobody says that the other side has stopped: neither requests nor the end of the program wait for
// it for ever.
TEST_F(ManyProcesses, GiveUpADatabaseThatStandsStill) {
    using namespace std::chrono_literals;
    const PostgresServer impatient{address + " connect_timeout=2", 300ms};
    std::vector<std::unique_ptr<Storage>> storages;
    storages.push_back(std::make_unique<PostgresStorage>(impatient, 2));
    storages.push_back(askedInLoops(std::make_unique<PostgresStorage>(impatient, 2)));
    const auto put = [](Transaction& rows) {
        rows.put("a", Table::Record, "r", "x");
        return Storage::Ending::Commit;
    };
    const auto get = [](Transaction& rows) {
        (void)rows.get("a", Table::Record, "r");
        return Storage::Ending::Rollback;
    };
    for (const auto& storage : storages)
        writeAndWait(*storage, put);
    std::atomic<int> refused{0};
    std::latch ended(4);
    const auto note = [&](const std::optional<StorageFailure>& failure) {
        refused += failure ? 1 : 0;
        ended.count_down();
    };
    {
        const auto stillness = PostgresCluster::shared().standStill();
        for (const auto& storage : storages) {
            storage->write(put, note);
            storage->read(get, note);
        }
        ended.wait();
        EXPECT_EQ(refused, 4);
        // What ends with it has not been answered either.
        for (const auto& storage : storages)
            storage->read(get, [](const auto&) {});
        std::vector<std::jthread> ends;
        for (auto& storage : storages)
            ends.emplace_back([&storage] { storage.reset(); });
    }
    writeAndWait(*first->storage, [](Transaction& rows) {
        rows.erase("a", Table::Record, "r");
        return Storage::Ending::Commit;
    });
}

}  // namespace
}  // namespace zun::cloud
