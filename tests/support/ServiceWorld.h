#pragma once

// A record service in this process, over any storage, with a clock and a chance that the test holds; and devices that
// ask it and wait for the answer.

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "server/model/CloudService.h"
#include "server/storage/MemoryStorage.h"
#include "support/TestEnvironment.h"

namespace zun::cloud {

// The same sequence for the same seed.
class SeededRandomSource final : public RandomSource {
  public:
    explicit SeededRandomSource(std::uint64_t seed = 1) : _engine(seed) {}
    [[nodiscard]] std::string bytes(std::size_t count) override {
        std::lock_guard lock(_mutex);
        std::string random(count, '\0');
        for (auto& byte : random)
            byte = static_cast<char>(_engine());
        return random;
    }

  private:
    std::mutex _mutex;
    std::mt19937_64 _engine;
};

// Passwords that are quick to check, and no limit of requests.
[[nodiscard]] inline ServiceOptions quickOptions() {
    ServiceOptions options;
    options.passwordCost = {1, 8'192};
    options.limits.requestsPerSecond = 0;
    options.limits.strangersPerSecond = 0;
    return options;
}

inline const CKRecordZoneID remindersZone{"Reminders", std::string(CKCurrentUserDefaultName)};

[[nodiscard]] inline CKRecord makeRecord(std::string name, std::string title, CKRecordZoneID zoneID = remindersZone) {
    CKRecord record;
    record.recordType = "Reminder";
    record.recordID = {std::move(name), std::move(zoneID)};
    record.setObject("title", CKRecordValue(std::move(title)));
    return record;
}

class ServiceWorld {
  public:
    explicit ServiceWorld(std::unique_ptr<Storage> rows = std::make_unique<MemoryStorage>(),
                          ServiceOptions serviceOptions = quickOptions(), std::uint64_t seed = 1)
        : random(seed), storage(std::move(rows)), options(std::move(serviceOptions)) {
        restart();
    }

    void restart() {
        service.reset();
        service = std::make_unique<CloudService>(*storage, environment, random, options);
    }

    [[nodiscard]] Answer ask(const std::string& deviceToken, Request request) {
        std::mutex mutex;
        std::condition_variable answered;
        std::optional<Answer> answer;
        service->handle(deviceToken, "peer", std::move(request), [&](Answer given) {
            std::lock_guard lock(mutex);
            answer = std::move(given);
            answered.notify_all();
        });
        std::unique_lock lock(mutex);
        answered.wait(lock, [&] { return answer.has_value(); });
        return std::move(*answer);
    }

    TestEnvironment environment;
    SeededRandomSource random;
    std::unique_ptr<Storage> storage;
    ServiceOptions options;
    std::unique_ptr<CloudService> service;
};

// A signed-in device.
class TestDevice {
  public:
    TestDevice(ServiceWorld& world, const std::string& account, const std::string& email = {}) : _world(&world) {
        const auto created =
            world.ask({}, CreateAccount{account, account, email, "password of " + account, {}, "first"});
        const auto* answer = std::get_if<SignedIn>(&created);
        const auto answered = answer ? *answer : get<SignedIn>(world.ask({}, signInRequest(account)));
        token = answered.deviceToken;
        accountID = answered.accountID;
        deviceID = answered.deviceID;
    }
    [[nodiscard]] static SignIn signInRequest(const std::string& account) {
        return {account, "password of " + account, "another"};
    }

    // The answer must be of this kind.
    template <class Wanted>
    [[nodiscard]] Wanted ask(Request request) const {
        auto answer = _world->ask(token, std::move(request));
        if (const auto* error = std::get_if<CKError>(&answer); error && !std::is_same_v<Wanted, CKError>) {
            ADD_FAILURE() << "code " << static_cast<int>(error->code) << ": " << error->description;
            return {};
        }
        return std::get<Wanted>(std::move(answer));
    }
    // 0 if the request succeeds.
    [[nodiscard]] int codeOf(Request request) const {
        const auto answer = _world->ask(token, std::move(request));
        const auto* error = std::get_if<CKError>(&answer);
        return error ? static_cast<int>(error->code) : 0;
    }
    void makeZone(const CKRecordZoneID& zoneID = remindersZone) const {
        EXPECT_EQ(codeOf(ModifyZones{DatabaseScope::Private, {zoneID}, {}}), 0);
    }
    ModifiedRecords save(std::vector<CKRecord> records, SavePolicy policy = SavePolicy::IfServerRecordUnchanged,
                         DatabaseScope database = DatabaseScope::Private) const {
        return ask<ModifiedRecords>(ModifyRecords{database, policy, std::move(records), {}});
    }
    ModifiedRecords remove(std::vector<CKRecordID> recordIDs, DatabaseScope database = DatabaseScope::Private) const {
        return ask<ModifiedRecords>(ModifyRecords{database, SavePolicy::AllKeys, {}, std::move(recordIDs)});
    }
    [[nodiscard]] FetchedRecords fetch(std::vector<CKRecordID> recordIDs,
                                       DatabaseScope database = DatabaseScope::Private) const {
        return ask<FetchedRecords>(FetchRecords{database, std::move(recordIDs), std::nullopt});
    }
    [[nodiscard]] ZoneChanges::Zone changes(std::optional<Token> since = std::nullopt,
                                            DatabaseScope database = DatabaseScope::Private,
                                            const CKRecordZoneID& zoneID = remindersZone) const {
        auto answer = ask<ZoneChanges>(FetchZoneChanges{database, {{zoneID, std::move(since)}}});
        return answer.zones.empty() ? ZoneChanges::Zone{} : std::move(answer.zones.front());
    }

    std::string token, accountID, deviceID;

  private:
    ServiceWorld* _world;
};

}  // namespace zun::cloud
