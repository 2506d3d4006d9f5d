#include "SyncFloors.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <chrono>

#include "store/HandWritten.h"
#include "sync/ReminderRecord.h"

namespace zun {
namespace {

using namespace cloud;
using Clock = std::chrono::steady_clock;

const CKRecordZoneID zone{"Reminders", std::string(CKCurrentUserDefaultName)};
constexpr std::size_t mostInARequest = 5'000;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

CKRecord recordOf(const ReminderAttributes& reminder) {
    CKRecord record;
    record.recordType = reminderRecordType;
    record.recordID = {reminder.reminderID.value_or(""), zone};
    combineCloudKitRecord(record, reminder);
    return record;
}

}  // namespace

SyncFloors::SyncFloors(unsigned short port, const std::string& account, const std::filesystem::path& folder)
    : _client(port), _other(port), _stream(port) {
    _client.token = _client.ask<SignedIn>(CreateAccount{account, "", "", "the password", "", "one"}).deviceToken;
    _other.token = _other.ask<SignedIn>(SignIn{account, "the password", "other"}).deviceToken;
    (void)_client.ask<ModifiedZones>(ModifyZones{DatabaseScope::Private, {zone}, {}});
    _database = std::make_unique<SQLite::Database>((folder / (account + ".sqlite")).native(),
                                                   SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    _database->exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
    _database->exec("CREATE TABLE floor (name TEXT PRIMARY KEY, body BLOB NOT NULL)");
}

SyncFloors::~SyncFloors() = default;

double SyncFloors::sendAll(const std::filesystem::path& store) {
    const auto start = Clock::now();
    const auto rows = HandWritten(store.native()).fetchAll();
    for (std::size_t from = 0; from < rows.size(); from += mostInARequest) {
        ModifyRecords request{DatabaseScope::Private, SavePolicy::AllKeys, {}, {}};
        for (std::size_t i = from; i < std::min(rows.size(), from + mostInARequest); ++i) {
            request.recordsToSave.push_back(recordOf(rows[i]));
            _recordIDs.push_back(request.recordsToSave.back().recordID);
        }
        (void)_client.ask<ModifiedRecords>(request);
    }
    return millisecondsSince(start);
}

double SyncFloors::receiveAll() {
    const auto start = Clock::now();
    SQLite::Transaction transaction(*_database);
    SQLite::Statement insert(*_database, "INSERT INTO floor VALUES (?, ?)");
    for (bool isMore = true; isMore;) {
        const auto token = _lastToken.empty() ? std::nullopt : std::optional(_lastToken);
        const auto page =
            _client.ask<ZoneChanges>(FetchZoneChanges{DatabaseScope::Private, {{zone, token}}}).zones.at(0);
        for (const auto& record : page.changed) {
            insert.bind(1, record.recordID.recordName);
            insert.bind(2, encode(record));
            insert.exec();
            insert.reset();
        }
        _lastToken = page.token;
        isMore = page.moreComing;
    }
    transaction.commit();
    return millisecondsSince(start);
}

double SyncFloors::askForAll(std::size_t count, std::size_t smallQuestions) {
    const auto start = Clock::now();
    count = std::min(count, _recordIDs.size());
    for (std::size_t from = 0; from < count; from += mostInARequest) {
        const auto begin = _recordIDs.begin() + static_cast<std::ptrdiff_t>(from);
        const auto end = _recordIDs.begin() + static_cast<std::ptrdiff_t>(std::min(count, from + mostInARequest));
        (void)_client.ask<FetchedRecords>(
            FetchRecords{DatabaseScope::Private, {begin, end}, std::vector<std::string>()});
    }
    for (std::size_t i = 0; i < smallQuestions; ++i)
        (void)_client.ask<Zones>(FetchZones{DatabaseScope::Private});
    return millisecondsSince(start);
}

double SyncFloors::readAgain(const std::filesystem::path& store) {
    const auto start = Clock::now();
    (void)_client.ask<DatabaseChanges>(FetchDatabaseChanges{DatabaseScope::Private, std::nullopt});
    (void)_client.ask<ZoneChanges>(FetchZoneChanges{DatabaseScope::Private, {{zone, _lastToken}}});
    (void)HandWritten(store.native()).fetchAll();
    return millisecondsSince(start);
}

std::vector<double> SyncFloors::pass(int times) {
    (void)_other.ask<SavedSubscription>(SaveSubscription{
        DatabaseScope::Private, {{}, CKSubscriptionData::Kind::Query, std::string(reminderRecordType), 7, {}, true}});
    _stream.token = _other.token;
    _stream.openPushStream();
    std::vector<double> took;
    for (int i = 0; i < times; ++i) {
        ReminderAttributes reminder;
        reminder.reminderID = "floor-" + std::to_string(i);
        reminder.title = "Water the plants on the balcony";
        const auto start = Clock::now();
        const auto record = recordOf(reminder);
        commit(record.recordID.recordName, encode(record));
        (void)_client.ask<ModifiedRecords>(ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {record}, {}});
        (void)_stream.readUntil("\n\n");
        const auto fetched =
            _other.ask<FetchedRecords>(FetchRecords{DatabaseScope::Private, {record.recordID}, std::nullopt});
        commit("other-" + record.recordID.recordName, encode(fetched.records.at(0)));
        took.push_back(millisecondsSince(start));
    }
    return took;
}

void SyncFloors::commit(const std::string& name, const std::string& body) {
    SQLite::Statement insert(*_database, "INSERT INTO floor VALUES (?, ?)");
    insert.bind(1, name);
    insert.bind(2, body);
    insert.exec();
}

}  // namespace zun
