#include "platform/cloudkit/ZoneReading.h"

#include <algorithm>

#include "platform/cloudprotocol/MessageCodec.h"

namespace zun {
namespace {

// Others that read the same zone at the same time can come between; after that the cache is left alone.
constexpr int restartsBeforeDirect = 3;

}  // namespace

ZoneReading::ZoneReading(CloudCaller caller, cloud::DatabaseScope scope, RecordCache& cache, Blocks blocks,
                         bool readsAllPages)
    : _caller(std::move(caller)),
      _scope(scope),
      _cache(cache),
      _blocks(std::move(blocks)),
      _readsAllPages(readsAllPages) {}

void ZoneReading::addZone(const CKRecordZoneID& zoneID, OptionalToken token) {
    const auto road = token || !_caller.session() ? Road::Direct : Road::ThroughCache;
    _zones.push_back({zoneID, std::move(token), road, 0});
}

CachedZoneKey ZoneReading::keyOf(const Zone& zone) const {
    return {_caller.session()->accountID, _scope, zone.zoneID};
}

void ZoneReading::start() {
    _caller.run([self = shared_from_this()] {
        for (auto& zone : self->_zones)
            if (zone.road == Road::ThroughCache) zone.token = self->_cache.tokenOf(self->keyOf(zone));
        self->ask();
    });
}

void ZoneReading::ask() {
    if (_zones.empty()) return;
    cloud::FetchZoneChanges request{_scope, {}};
    for (const auto& zone : _zones)
        request.zones.push_back({zone.zoneID, zone.token});
    _caller.ask(std::move(request), [self = shared_from_this()](cloud::Answer& answer) { self->receive(answer); });
}

void ZoneReading::receive(cloud::Answer& answer) {
    const Received<cloud::ZoneChanges> received(answer);
    std::vector<Zone> unfinished;
    for (auto& zone : _zones) {
        const auto& pages = received.content.zones;
        const auto page =
            std::find_if(pages.begin(), pages.end(), [&zone](const auto& each) { return each.zoneID == zone.zoneID; });
        const bool goesOn = received.error ? fail(zone, *received.error)
                            : page == pages.end()
                                ? fail(zone, makeCKError(CKErrorCode::InternalError, "an answer without the zone"))
                                : take(zone, *page);
        if (goesOn) unfinished.push_back(std::move(zone));
    }
    _zones = std::move(unfinished);
    ask();
}

bool ZoneReading::take(Zone& zone, const cloud::ZoneChanges::Zone& page) {
    if (!page.error) return zone.road == Road::Direct ? takeDirectly(zone, page) : takeThroughCache(zone, page);
    if (zone.road == Road::ThroughCache) {
        const bool isExpired = page.error->code == CKErrorCode::ChangeTokenExpired;
        const bool isGone = page.error->code == CKErrorCode::ZoneNotFound;
        if (isExpired || isGone) _cache.forget(keyOf(zone));
        if (isExpired && zone.token) return restart(zone);
    }
    return fail(zone, *page.error);
}

bool ZoneReading::takeDirectly(Zone& zone, const cloud::ZoneChanges::Zone& page) {
    for (const auto& record : page.changed)
        callIfSet(_blocks.changed, record);
    for (const auto& deleted : page.deleted)
        callIfSet(_blocks.deleted, deleted.recordID, deleted.recordType);
    zone.token = page.token;
    if (page.moreComing && _readsAllPages) return true;
    finish(zone, page.token, page.moreComing ? MoreComing::Yes : MoreComing::No);
    return false;
}

bool ZoneReading::takeThroughCache(Zone& zone, const cloud::ZoneChanges::Zone& page) {
    switch (_cache.apply(keyOf(zone), zone.token, page)) {
        case RecordCache::Outcome::Failed:
            return readWithoutCache(zone);
        case RecordCache::Outcome::OtherToken:
            return restart(zone);
        case RecordCache::Outcome::Applied:
            break;
    }
    zone.token = page.token;
    return page.moreComing || tellFromCache(zone);
}

bool ZoneReading::tellFromCache(Zone& zone) {
    const auto key = keyOf(zone);
    const auto contents = _cache.contentsOf(key, *zone.token);
    if (!contents) return restart(zone);
    for (const auto& body : contents->records) {
        const auto record = cloud::decodeRecord(body);
        if (!std::holds_alternative<CKRecord>(record)) {
            _cache.forget(key);
            return readWithoutCache(zone);
        }
        callIfSet(_blocks.changed, std::get<CKRecord>(record));
    }
    for (const auto& deleted : contents->deleted)
        callIfSet(_blocks.deleted, deleted.recordID, deleted.recordType);
    const auto confirm = [caller = _caller, &cache = _cache, key, last = contents->lastDeletion] {
        caller.run([&cache, key, last] { cache.forgetDeletions(key, last); });
    };
    finish(zone, zone.token, MoreComing::No, contents->deleted.empty() ? Block() : confirm);
    return false;
}

bool ZoneReading::restart(Zone& zone) {
    if (++zone.restarts > restartsBeforeDirect) return readWithoutCache(zone);
    zone.token = _cache.tokenOf(keyOf(zone));
    return true;
}

bool ZoneReading::readWithoutCache(Zone& zone) {
    zone.road = Road::Direct;
    zone.token.reset();
    return true;
}

bool ZoneReading::fail(const Zone& zone, const CKError& error) {
    callIfSet(_blocks.finished, zone.zoneID, std::nullopt, MoreComing::No, error, Block());
    return false;
}

void ZoneReading::finish(const Zone& zone, const OptionalToken& token, MoreComing more, const Block& receipt) {
    callIfSet(_blocks.finished, zone.zoneID, token, more, std::nullopt, receipt);
}

}  // namespace zun
