#include <fstream>
#include <random>

#include "cloudkit/CloudFixture.h"
#include "platform/cloudprotocol/MessageCodec.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// A zone of a service, as its feed tells it: each record once, at the place of its last change.
class FeedZone {
  public:
    void save(const CKRecord& record) { put(record.recordID.recordName, record); }
    void remove(const std::string& name) { put(name, std::nullopt); }
    // Tokens given so far are refused once each and taken for none after that.
    void expireTokens() { _expiredBefore = ++_generation; }

    cloud::ZoneChanges::Zone page(const CKRecordZoneID& zoneID, const OptionalToken& token, std::size_t size) {
        cloud::ZoneChanges::Zone result;
        result.zoneID = zoneID;
        std::size_t place = 0;
        if (token) {
            const auto colon = token->find(':');
            if (std::stoi(*token) >= _expiredBefore) {
                place = std::stoul(token->substr(colon + 1));
            } else if (_refused.insert(*token).second) {
                result.error = errorOf(CKErrorCode::ChangeTokenExpired);
                return result;
            }
        }
        result.fromBeginning = place == 0;
        auto entry = _feed.upper_bound(place);
        for (; entry != _feed.end() && result.changed.size() + result.deleted.size() < size; ++entry) {
            const auto& [name, record] = entry->second;
            if (record) result.changed.push_back(*record);
            if (!record && !result.fromBeginning) result.deleted.push_back({{name, zoneID}, "Reminder"});
            place = entry->first;
        }
        result.moreComing = entry != _feed.end();
        result.token = std::to_string(_generation) + ":" + std::to_string(place);
        return result;
    }
    std::map<std::string, CKRecord> records() const {
        std::map<std::string, CKRecord> result;
        for (const auto& [place, entry] : _feed)
            if (entry.second) result.emplace(entry.first, *entry.second);
        return result;
    }

  private:
    void put(const std::string& name, std::optional<CKRecord> record) {
        std::erase_if(_feed, [&](const auto& entry) { return entry.second.first == name; });
        _feed[++_last] = {name, std::move(record)};
    }

    std::map<std::size_t, std::pair<std::string, std::optional<CKRecord>>> _feed;
    std::size_t _last = 0;
    int _generation = 1, _expiredBefore = 0;
    std::set<std::string> _refused;
};

class ZoneReadingTest : public CloudFixture {
  protected:
    struct Told {
        std::map<std::string, CKRecord> changed;
        std::vector<std::string> deleted;
        OptionalToken token;
        OptionalError error;
        Block receipt;
        int finished = 0;
    };

    ZoneReadingTest() {
        transport.script = [this](const cloud::Request& request) { return answer(request); };
    }

    cloud::Answer answer(const cloud::Request& request) {
        const auto& asked = std::get<cloud::FetchZoneChanges>(request).zones.at(0);
        auto result = service.page(asked.zoneID, asked.previousToken, pageSize);
        if (answersUntilFailure && (*answersUntilFailure)-- == 0) {
            answersUntilFailure.reset();
            return errorOf(CKErrorCode::NetworkFailure);
        }
        return cloud::ZoneChanges{{result}};
    }
    std::shared_ptr<CKFetchRecordZoneChangesOperation> reading(Told& told, const OptionalToken& token = {}) {
        auto operation = std::make_shared<CKFetchRecordZoneChangesOperation>(
            std::vector{zone}, std::map<CKRecordZoneID, CKFetchRecordZoneChangesOptions>{{zone, {token}}});
        operation->setRecordChangedBlock(
            [&told](const CKRecord& each) { told.changed.insert_or_assign(each.recordID.recordName, each); });
        operation->setRecordWithIDWasDeletedBlock(
            [&told](const CKRecordID& recordID, const std::string&) { told.deleted.push_back(recordID.recordName); });
        operation->setRecordZoneFetchCompletionBlock(
            [&told, raw = operation.get()](const auto&, const OptionalToken& last, const Bytes&, MoreComing more,
                                           const OptionalError& error) {
                EXPECT_EQ(more, MoreComing::No);
                told.receipt = raw->takeReceipt();
                told.token = last;
                told.error = error;
                ++told.finished;
            });
        return operation;
    }
    Told readUnconfirmed(CloudContainer& from, const OptionalToken& token = {}) {
        Told told;
        from.privateCloudDatabase().addOperation(reading(told, token));
        dispatch.runUntilIdle();
        EXPECT_EQ(told.finished, 1);
        return told;
    }
    void confirm(const Told& told) {
        callIfSet(told.receipt);
        dispatch.runUntilIdle();
    }
    Told read(CloudContainer& from, const OptionalToken& token = {}) {
        const auto told = readUnconfirmed(from, token);
        confirm(told);
        return told;
    }
    Told read(const OptionalToken& token = {}) { return read(container, token); }
    std::size_t requestsOf(const std::function<void()>& block) {
        const auto before = transport.requests.size();
        block();
        return transport.requests.size() - before;
    }

    FeedZone service;
    std::size_t pageSize = 4;
    std::optional<int> answersUntilFailure;
};

TEST_F(ZoneReadingTest, ASecondReadingAsksForWhatIsNewAndTellsAll) {
    for (const std::string name : {"a", "b", "c", "d", "e"})
        service.save(record(name, "first"));
    EXPECT_EQ(requestsOf([&] { EXPECT_EQ(read().changed, service.records()); }), 2u);
    service.save(record("b", "second"));
    service.remove("c");
    EXPECT_EQ(requestsOf([&] {
                  const auto told = read();
                  EXPECT_EQ(told.changed, service.records());
                  EXPECT_THAT(told.deleted, ElementsAre("c"));
              }),
              1u);
    EXPECT_THAT(read().deleted, IsEmpty());
    // From a token, only what came after it, and nothing of it changes the cache.
    const auto token = read().token;
    service.save(record("f"));
    EXPECT_EQ(read(token).changed.size(), 1u);
    EXPECT_EQ(read().changed, service.records());
}

TEST_F(ZoneReadingTest, ADeletionIsToldUntilAReadingCameToItsEnd) {
    for (const std::string name : {"a", "b", "c", "d", "e", "f"})
        service.save(record(name));
    read();
    pageSize = 1;
    service.remove("a");
    service.remove("b");
    answersUntilFailure = 1;
    const auto broken = read();
    EXPECT_EQ(broken.error.value().code, CKErrorCode::NetworkFailure);
    EXPECT_THAT(broken.deleted, IsEmpty());
    EXPECT_THAT(read().deleted, UnorderedElementsAre("a", "b"));
    service.remove("c");
    service.save(record("c", "again"));
    EXPECT_THAT(read().deleted, IsEmpty());
}

TEST_F(ZoneReadingTest, ADeletionIsToldUntilItsReaderHasStoredIt) {
    for (const std::string name : {"a", "b", "c"})
        service.save(record(name));
    EXPECT_FALSE(read().receipt) << "nothing to confirm";
    service.remove("a");
    service.remove("b");
    const auto first = readUnconfirmed(container);
    EXPECT_THAT(first.deleted, ElementsAre("a", "b"));
    // Back and deleted again before the first reader has stored that it went: that is another deletion.
    service.save(record("b"));
    EXPECT_THAT(readUnconfirmed(container).deleted, ElementsAre("a"));
    service.remove("b");
    service.remove("c");
    EXPECT_THAT(readUnconfirmed(container).deleted, ElementsAre("a", "b", "c"));
    confirm(first);
    EXPECT_THAT(read().deleted, ElementsAre("b", "c"));
    EXPECT_THAT(read().deleted, IsEmpty());
}

TEST_F(ZoneReadingTest, AnExpiredTokenIsFollowedByTheWholeZone) {
    service.save(record("a"));
    service.save(record("b"));
    read();
    service.remove("a");
    service.expireTokens();
    EXPECT_EQ(read().changed, service.records());

    // The refusal was lost on the way, and the repeat is served from the beginning.
    service.remove("b");
    service.save(record("c"));
    service.expireTokens();
    answersUntilFailure = 0;
    EXPECT_TRUE(read().error);
    EXPECT_EQ(read().changed, service.records());
}

TEST_F(ZoneReadingTest, TheCacheOutlivesTheProgramAndItsFilesDamage) {
    const TemporaryFolder folder;
    const auto requestsOfAnotherRun = [&] {
        RecordCache kept(folder.path());
        CloudContainer another({transport, session, dispatch, notifications, kept});
        return requestsOf([&] { EXPECT_EQ(read(another).changed, service.records()); });
    };
    for (int i = 0; i < 40; ++i)
        service.save(record("r" + std::to_string(i), std::string(300, 'x')));
    EXPECT_EQ(requestsOfAnotherRun(), 10u);
    EXPECT_EQ(requestsOfAnotherRun(), 1u);

    // Held by one process; another one does without, and both read right.
    RecordCache first(folder.path());
    CloudContainer holder({transport, session, dispatch, notifications, first});
    EXPECT_EQ(requestsOf([&] { read(holder); }), 1u);
    EXPECT_EQ(requestsOfAnotherRun(), 10u);
    EXPECT_EQ(requestsOf([&] { read(holder); }), 1u);
    first.forgetAll();

    for (const auto offset : {0, 20, 4096, 5000}) {
        requestsOfAnotherRun();
        std::fstream file(folder.path() / "records.sqlite", std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(offset);
        file << std::string(3000, '\x5A');
        file.close();
        requestsOfAnotherRun();
        EXPECT_EQ(requestsOfAnotherRun(), 1u) << offset;
    }
}

TEST_F(ZoneReadingTest, AccountsDoNotSeeEachOthersRecords) {
    service.save(record("a"));
    read();
    session.setSession(CloudSession{"ben", "token-2"});
    service = FeedZone();
    service.save(record("b"));
    EXPECT_EQ(read().changed, service.records());
}

TEST_F(ZoneReadingTest, AZoneTooLargeForTheCacheIsStillRead) {
    RecordCache small("", 2000);
    CloudContainer limited({transport, session, dispatch, notifications, small});
    for (int i = 0; i < 20; ++i)
        service.save(record("r" + std::to_string(i), std::string(300, 'x')));
    EXPECT_EQ(read(limited).changed, service.records());
    EXPECT_EQ(read(limited).changed, service.records());
}

// Whatever happens, a reading that finishes has told exactly what the service held.
class EverySeed : public ZoneReadingTest, public testing::WithParamInterface<std::uint64_t> {};

TEST_P(EverySeed, ReadingsTellWhatTheServiceHolds) {
    std::mt19937_64 random(GetParam());
    const auto below = [&](std::size_t count) { return random() % count; };
    for (int step = 0; step < 60; ++step) {
        const auto name = "r" + std::to_string(below(12));
        switch (below(8)) {
            case 0:
                service.remove(name);
                break;
            case 1:
                service.expireTokens();
                break;
            case 2:
                answersUntilFailure = static_cast<int>(below(4));
                break;
            case 3:
                pageSize = 1 + below(6);
                break;
            default:
                service.save(record(name, std::to_string(step)));
                break;
        }
        if (below(2) == 0) continue;
        Told first, second;
        database().addOperation(reading(first));
        if (below(3) == 0) database().addOperation(reading(second));
        dispatch.runUntilIdle();
        for (const auto* told : {&first, &second}) {
            const bool hasEnded = told->finished == 1 && !told->error;
            ASSERT_TRUE(!hasEnded || told->changed == service.records()) << "step " << step;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, EverySeed, testing::Range<std::uint64_t>(1, 101));

}  // namespace
}  // namespace zun
