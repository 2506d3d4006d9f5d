// What has changed since a token: zones of a database, records of a zone. A token is a place in a feed and the time at
// which it was given, sealed for the account, the database, the zone and the service's epoch.

#include <algorithm>
#include <set>

#include "server/model/Operations.h"
#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

// Of the time after which a token is expired, one is fresh.
constexpr int partsOfFreshness = 30;
constexpr std::size_t hashBytes = 8;
constexpr std::size_t expiredTokensKept = 64;
constexpr std::size_t zonesPerRequest = 200;
constexpr std::size_t rowsAtOnce = 512;

std::string bindingOf(const RequestWork& work, DatabaseScope scope, std::uint64_t incarnation) {
    return RowWriter()
        .text("feed")
        .text(work.facts.epoch)
        .text(work.accountID)
        .number(static_cast<std::uint64_t>(scope))
        .number(incarnation)
        .take();
}

// Where a reader of a feed stands.
struct Place {
    std::uint64_t sequence = 0;
    // Deletions up to here are of no concern to it: it saw them, or began to read after them.
    std::uint64_t knownThrough = 0;
    bool isFresh = false;  // its token was given a short time ago
};

Token makeToken(const RequestWork& work, const std::string& binding, Place place) {
    const auto known = std::max(place.sequence, place.knownThrough);
    return seal(RowWriter().number(place.sequence).number(known).date(work.now).take(), binding, work.facts.secret);
}

// The same one again for who is where it was, so that it has nothing to store; now and then a new one, since tokens
// grow old.
Token nextToken(const RequestWork& work, const std::string& binding, const Place& place, std::uint64_t reached,
                const std::optional<Token>& previous) {
    if (previous && place.isFresh && reached == place.sequence) return *previous;
    return makeToken(work, binding, {reached, place.knownThrough});
}

// True the first time that this device shows this token to this feed.
bool tellExpired(RequestWork& work, const Token& token, const std::string& binding) {
    const auto hash = hashSecret(token + binding).substr(0, hashBytes);
    auto told = work.rows.get(work.accountID, Table::ExpiredToken, work.deviceID).value_or("");
    for (std::size_t place = 0; place + hashBytes <= told.size(); place += hashBytes)
        if (std::string_view(told).substr(place, hashBytes) == hash) return false;
    work.requireWriting();
    told += hash;
    if (told.size() > expiredTokensKept * hashBytes) told.erase(0, hashBytes);
    work.rows.put(work.accountID, Table::ExpiredToken, work.deviceID, std::move(told));
    return true;
}

// The place from which to go on; nothing if the device is to be told that its token is expired.
std::optional<Place> placeOf(RequestWork& work, const std::optional<Token>& token, const std::string& binding,
                             std::uint64_t sequence, std::uint64_t forgottenThrough) {
    if (!token) return Place{0, sequence};
    if (const auto content = unseal(*token, binding, work.facts.secret)) {
        RowReader row(*content);
        Place place{row.number(), row.number()};
        const auto age = work.now - row.date();
        const auto& keepDeletions = work.facts.options.limits.keepDeletions;
        const bool isOld = age > keepDeletions;
        place.isFresh = age < keepDeletions / partsOfFreshness;
        if (!isOld && place.knownThrough >= forgottenThrough && place.sequence <= sequence) return place;
    }
    if (tellExpired(work, *token, binding)) return std::nullopt;
    return Place{0, sequence};
}

CKError expired() {
    return makeError(CKErrorCode::ChangeTokenExpired, "the change token has expired");
}

// What is left of an answer.
struct Room {
    std::size_t records, bytes;
    std::size_t taken = 0;  // in bytes; each zone may have one record even if there is no room

    [[nodiscard]] bool isFull() const { return records == 0 || bytes == 0; }
    void take(std::size_t size) {
        size += bytesOfName;
        records -= std::min<std::size_t>(records, 1);
        bytes -= std::min(bytes, size);
        taken += size;
    }
    static constexpr std::size_t bytesOfName = 64;
};

// One zone's page.
class Page {
  public:
    Page(RequestWork& work, const ZoneView& view, ZoneChanges::Zone& answer)
        : _work(work), _view(view), _records(work, view.ownerID, view.ownerIncarnation), _answer(answer) {}

    // Returns the place that was reached.
    std::uint64_t fill(std::uint64_t from, std::uint64_t sequence, Room& room) {
        const bool isFromStart = from == 0;
        auto place = from;
        while (place < sequence) {
            Entries entries;
            _work.rows.scan(_work.accountID, Table::Feed, zonePrefix(_view.incarnation),
                            feedRow(_view.incarnation, place), rowsAtOnce,
                            [&](std::string_view name, std::string_view value) {
                                entries.emplace_back(numberAtEnd(name), decodeEntry(value));
                                return true;
                            });
            auto read = entries.cbegin();
            for (auto next = entries.cbegin(); next != entries.cend(); ++next) {
                const auto& [number, entry] = *next;
                const bool isFirst = _answer.changed.empty() && _answer.deleted.empty();
                if (!isFirst && room.isFull()) return place;
                if (next == read) read = readAhead(next, entries.cend(), room);
                // Who starts at the beginning knows of nothing that could be deleted.
                if (!entry.isDeleted || !isFromStart) add(entry, room);
                place = number;
            }
            if (entries.size() < rowsAtOnce) place = sequence;
        }
        return sequence;
    }

  private:
    using Entries = std::vector<std::pair<std::uint64_t, FeedEntry>>;

    // Reads the records for which there is room, and one at least. Returns where it ended.
    Entries::const_iterator readAhead(Entries::const_iterator from, Entries::const_iterator end, Room room) {
        std::vector<std::string> names;
        do {
            const auto& entry = from->second;
            if (!entry.isDeleted) names.push_back(entry.recordName);
            room.take(entry.bytes);
        } while (++from != end && !room.isFull());
        _records.prefetch(names);
        return from;
    }

    void add(const FeedEntry& entry, Room& room) {
        CKRecordID recordID{entry.recordName, _answer.zoneID};
        std::size_t bytes = 0;
        if (entry.isDeleted) {
            _answer.deleted.push_back({std::move(recordID), entry.recordType});
        } else if (const auto* stored = _records.findLive(entry.recordName)) {
            bytes = stored->body.size();
            auto record = asSeen(_work, _view, stored->record());
            record.recordID = std::move(recordID);
            _answer.changed.push_back(std::move(record));
        }
        room.take(bytes);
    }

    RequestWork& _work;
    const ZoneView _view;
    ZoneRecords _records;
    ZoneChanges::Zone& _answer;
};

}  // namespace

Answer fetchDatabaseChanges(RequestWork& work, const FetchDatabaseChanges& request) {
    const auto& database = work.me().database(request.database);
    const auto binding = bindingOf(work, request.database, 0);
    const auto place = placeOf(work, request.previousToken, binding, database.sequence, database.forgottenThrough);
    if (!place) return expired();
    std::vector<const ZoneState*> zones;
    for (const auto& zone : database.zones) {
        if (zone.databaseSequence <= place->sequence || zone.name == CKRecordZoneDefaultName) continue;
        if (!zone.isDeleted || place->sequence > 0) zones.push_back(&zone);
    }
    std::sort(zones.begin(), zones.end(), [](const ZoneState* left, const ZoneState* right) {
        return left->databaseSequence < right->databaseSequence;
    });
    DatabaseChanges answer;
    auto reached = database.sequence;
    const auto perPage = work.facts.options.limits.zonesPerPage;
    if (zones.size() > perPage) {
        zones.resize(perPage);
        reached = zones.back()->databaseSequence;
        answer.moreComing = true;
    }
    for (const auto* zone : zones) {
        CKRecordZoneID zoneID{zone->name,
                              zone->ownerID.empty() ? std::string(CKCurrentUserDefaultName) : zone->ownerID};
        (zone->isDeleted ? answer.deleted : answer.changed).push_back(std::move(zoneID));
    }
    answer.token = nextToken(work, binding, *place, reached, request.previousToken);
    return answer;
}

Answer fetchZoneChanges(RequestWork& work, const FetchZoneChanges& request) {
    const auto& limits = work.facts.options.limits;
    if (request.zones.size() > zonesPerRequest) refuse(CKErrorCode::LimitExceeded, "too many zones in one request");
    ZoneChanges answer;
    Room room{limits.recordsPerPage, limits.bytesPerPage};
    std::set<CKRecordZoneID> seen;
    for (const auto& asked : request.zones) {
        auto& zone = answer.zones.emplace_back();
        zone.zoneID = asked.zoneID;
        if (!seen.insert(asked.zoneID).second)
            refuse(CKErrorCode::InvalidArguments, "a zone is named twice in one request");
        if (room.taken > limits.bytesPerRequest) {
            zone.error = makeError(CKErrorCode::LimitExceeded, "the answer is too large");
            continue;
        }
        const auto view = work.findZone(request.database, asked.zoneID);
        if (!view) {
            zone.error = noSuchZone();
            continue;
        }
        if (view->isDefaultZone) {
            zone.error = makeError(CKErrorCode::InvalidArguments, "the default zone has no feed");
            continue;
        }
        const auto state = *work.me().database(request.database).incarnation(view->incarnation);
        const auto binding = bindingOf(work, request.database, view->incarnation);
        const auto place = placeOf(work, asked.previousToken, binding, state.sequence, state.forgottenThrough);
        if (!place) {
            zone.error = expired();
            continue;
        }
        const auto reached = Page(work, *view, zone).fill(place->sequence, state.sequence, room);
        zone.token = nextToken(work, binding, *place, reached, asked.previousToken);
        zone.moreComing = reached < state.sequence;
        zone.fromBeginning = place->sequence == 0;
    }
    return answer;
}

}  // namespace zun::cloud
