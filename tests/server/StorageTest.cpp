// What every storage promises, asked of each of them.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "server/Storages.h"
#include "server/model/ServiceIdentity.h"

namespace zun::cloud {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Ending = Storage::Ending;

class StorageContract : public testing::TestWithParam<StorageKind> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(GetParam().isAvailable()) << GetParam().name << " is not installed";
        _place = GetParam().makePlace();
        storage = _place->open();
    }
    void reopen() {
        storage.reset();
        storage = _place->open();
    }
    void write(const Storage::Work& work) { writeAndWait(*storage, work); }
    void put(const std::string& account, const std::string& name, const std::string& value) {
        write([&](Transaction& rows) {
            rows.put(account, Table::Record, name, value);
            return Ending::Commit;
        });
    }
    [[nodiscard]] std::optional<std::string> get(const std::string& account, const std::string& name,
                                                 Table table = Table::Record) {
        std::optional<std::string> value;
        readAndWait(*storage, [&](Transaction& rows) {
            value = rows.get(account, table, name);
            return Ending::Rollback;
        });
        return value;
    }
    [[nodiscard]] std::vector<std::string> names(const std::string& account, const std::string& prefix,
                                                 const std::string& after = {}, std::size_t limit = SIZE_MAX) {
        std::vector<std::string> found;
        readAndWait(*storage, [&](Transaction& rows) {
            found.clear();
            rows.scan(account, Table::Record, prefix, after, limit, [&](std::string_view name, std::string_view) {
                found.emplace_back(name);
                return true;
            });
            return Ending::Rollback;
        });
        return found;
    }

    std::unique_ptr<StoragePlace> _place;
    std::unique_ptr<Storage> storage;
};

const std::string anything("\0\xff\x80'\"\\", 6);

TEST_P(StorageContract, RowsAreWhatWasPut) {
    EXPECT_EQ(get("a", "1"), std::nullopt);
    put("a", anything, anything);
    put("", "", "");
    put("a", anything, anything + "2");
    reopen();
    EXPECT_EQ(get("a", anything), anything + "2");
    EXPECT_EQ(get("", ""), "");
    EXPECT_EQ(get("b", anything), std::nullopt);
    EXPECT_EQ(get("a", anything, Table::Feed), std::nullopt);
}

TEST_P(StorageContract, ATransactionSeesItsOwnChangesAndEndsAsAWhole) {
    put("a", "kept", "1");
    put("a", "erased", "1");
    const auto work = [](Ending ending) {
        return [ending](Transaction& rows) {
            rows.put("a", Table::Record, "kept", "2");
            rows.put("a", Table::Record, "new", "2");
            rows.erase("a", Table::Record, "erased");
            EXPECT_EQ(rows.get("a", Table::Record, "new"), "2");
            EXPECT_EQ(rows.get("a", Table::Record, "erased"), std::nullopt);
            std::vector<std::string> seen;
            rows.scan("a", Table::Record, {}, {}, 10, [&](std::string_view name, std::string_view value) {
                seen.push_back(std::string(name) + "=" + std::string(value));
                return true;
            });
            EXPECT_THAT(seen, ElementsAre("kept=2", "new=2"));
            const auto many = rows.getMany("a", Table::Record, {"new", "erased", "kept"});
            EXPECT_THAT(many, ElementsAre("2", std::nullopt, "2"));
            return ending;
        };
    };
    write(work(Ending::Rollback));
    EXPECT_THAT(names("a", ""), ElementsAre("erased", "kept"));
    EXPECT_THROW(write([&](Transaction& rows) -> Ending {
                     (void)work(Ending::Commit)(rows);
                     throw StorageFailure("broken");
                 }),
                 StorageFailure);
    EXPECT_THAT(names("a", ""), ElementsAre("erased", "kept"));
    write(work(Ending::Commit));
    EXPECT_THAT(names("a", ""), ElementsAre("kept", "new"));
}

TEST_P(StorageContract, NamesComeInTheOrderOfTheirBytes) {
    const std::string last = "b\xff";
    for (const auto& name :
         {std::string("b1"), std::string("a"), last, std::string("c"), std::string("b\xc3\xa4"), std::string("b")})
        put("x", name, name);
    put("y", "b2", "another account's");
    EXPECT_THAT(names("x", "b"), ElementsAre("b", "b1", "b\xc3\xa4", last));
    EXPECT_THAT(names("x", "b", "b1"), ElementsAre("b\xc3\xa4", last));
    EXPECT_THAT(names("x", "", "b1", 2), ElementsAre("b\xc3\xa4", last));
    EXPECT_THAT(names("x", last), ElementsAre(last));
    write([](Transaction& rows) {
        rows.erasePrefix("x", Table::Record, "b");
        rows.put("x", Table::Record, "b3", "");
        return Ending::Commit;
    });
    EXPECT_THAT(names("x", ""), ElementsAre("a", "b3", "c"));
    EXPECT_THAT(names("y", ""), ElementsAre("b2"));
}

TEST_P(StorageContract, WritesOfOneAccountTakeTurns) {
    put("a", "count", "0");
    constexpr int threads = 4, times = 25;
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([&] {
            for (int time = 0; time < times; ++time)
                write([](Transaction& rows) {
                    const auto count = rows.getForUpdate("a", Table::Record, "count");
                    rows.put("a", Table::Record, "count", std::to_string(std::stoi(*count) + 1));
                    return Ending::Commit;
                });
        });
    for (auto& thread : running)
        thread.join();
    EXPECT_EQ(get("a", "count"), std::to_string(threads * times));
}

TEST_P(StorageContract, WritesThatMeetInTheOppositeOrderBothSucceed) {
    put("a", "n", "0");
    put("b", "n", "0");
    const auto swap = [&](std::string first, std::string second) {
        for (int time = 0; time < 20; ++time)
            write([&](Transaction& rows) {
                const auto one = rows.getForUpdate(first, Table::Record, "n");
                const auto two = rows.getForUpdate(second, Table::Record, "n");
                rows.put(first, Table::Record, "n", std::to_string(std::stoi(*one) + 1));
                rows.put(second, Table::Record, "n", std::to_string(std::stoi(*two) + 1));
                return Ending::Commit;
            });
    };
    std::thread other([&] { swap("b", "a"); });
    swap("a", "b");
    other.join();
    EXPECT_EQ(get("a", "n"), "40");
    EXPECT_EQ(get("b", "n"), "40");
}

// What waits at the same time may be done together: each still begins on what those before it have left, and neither
// one that changes its mind nor one that fails takes others with it.
TEST_P(StorageContract, WritesThatWaitTogetherStayApart) {
    constexpr int jobs = 60;
    std::mutex mutex;
    std::condition_variable news;
    int ended = 0, failed = 0;
    const auto start = [&](int number) {
        const auto account = "account" + std::to_string(number % 3);
        const auto work = [account, number](Transaction& rows) {
            const auto count = rows.getForUpdate(account, Table::Account, {});
            const int before = count ? std::stoi(*count) : 0;
            rows.put(account, Table::Account, {}, std::to_string(before + 1));
            rows.put(account, Table::Record, std::to_string(number), "x");
            int seen = 0;
            rows.scan(account, Table::Record, {}, {}, SIZE_MAX, [&](std::string_view, std::string_view) {
                ++seen;
                return true;
            });
            EXPECT_EQ(seen, before + 1);
            if (number % 10 == 9) rows.erasePrefix(account, Table::Record, {});
            if (number % 10 == 8) throw StorageFailure("this one fails");
            return number % 10 >= 7 ? Ending::Rollback : Ending::Commit;
        };
        storage->write(work, [&](const std::optional<StorageFailure>& failure) {
            std::lock_guard lock(mutex);
            failed += failure ? 1 : 0;
            ++ended;
            news.notify_all();
        });
    };
    for (int number = 0; number < jobs; ++number)
        start(number);
    {
        std::unique_lock lock(mutex);
        news.wait(lock, [&] { return ended == jobs; });
    }
    EXPECT_EQ(failed, jobs / 10);
    for (int account = 0; account < 3; ++account) {
        const auto name = "account" + std::to_string(account);
        EXPECT_EQ(get(name, "", Table::Account), std::to_string(names(name, "").size()));
        for (const auto& number : names(name, ""))
            EXPECT_LT(std::stoi(number) % 10, 7);
    }
}

TEST_P(StorageContract, ACommitWakesAndARollbackDoesNot) {
    std::mutex mutex;
    std::condition_variable news;
    std::vector<std::string> woken;
    storage->setWakeListener([&](const std::string& account) {
        if (account.empty()) return;  // that there may be something
        std::lock_guard lock(mutex);
        woken.push_back(account);
        news.notify_all();
    });
    const auto wake = [&](const std::string& account, Ending ending) {
        write([&](Transaction& rows) {
            rows.put(account, Table::Record, "w", "1");
            rows.wake(account);
            return ending;
        });
    };
    wake("rolled back", Ending::Rollback);
    wake("a", Ending::Commit);
    wake("b", Ending::Commit);
    std::unique_lock lock(mutex);
    news.wait(lock, [&] { return woken.size() >= 2; });
    EXPECT_THAT(woken, testing::UnorderedElementsAre("a", "b"));
    lock.unlock();
    storage->setWakeListener(nullptr);
}

TEST_P(StorageContract, ADumpLoadedElsewhereIsTheSame) {
    put("a", anything, "1");
    put("b", "2", anything);
    const auto dump = [](Storage& from) {
        std::vector<std::string> rows;
        from.dump([&](std::string_view account, Table table, std::string_view name, std::string_view value) {
            rows.push_back(std::string(account) + "/" + std::to_string(static_cast<int>(table)) + "/" +
                           std::string(name) + "/" + std::string(value));
        });
        return rows;
    };
    const auto before = dump(*storage);
    EXPECT_EQ(before.size(), 2U);
    const auto place = GetParam().makePlace();
    const auto other = place->open();
    writeAndWait(*other, [](Transaction& rows) {
        rows.put("a", Table::Record, "of another life", "x");
        return Ending::Commit;
    });
    other->load([&](const Storage::RowVisitor& add) { storage->dump(add); });
    EXPECT_EQ(dump(*other), before);
    EXPECT_THROW(other->load([](const Storage::RowVisitor& add) {
        add("a", Table::Record, "half", "x");
        throw StorageFailure("the backup is damaged");
    }),
                 StorageFailure);
    EXPECT_EQ(dump(*other), before);
    EXPECT_THAT(storage->check(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, StorageContract, testing::ValuesIn(allStorages()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace zun::cloud
