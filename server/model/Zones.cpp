// The zones of a database.

#include <algorithm>

#include "server/model/Operations.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

constexpr std::size_t longestZoneName = 255;

void checkZone(RequestWork& work, DatabaseScope scope, const CKRecordZoneID& zoneID) {
    if (scope == DatabaseScope::Shared)
        refuse(CKErrorCode::PermissionFailure, "zones of the shared database are their owners'");
    if (zoneID.ownerName != CKCurrentUserDefaultName && zoneID.ownerName != work.accountID)
        throw RequestRefused{noSuchZone()};
}

void deleteZone(RequestWork& work, ZoneState& zone) {
    auto& me = work.me();
    const auto incarnation = zone.incarnation;
    stopSharesOfZone(work, me.id, incarnation);
    std::uint64_t bytes = 0;
    work.rows.scan(me.id, Table::Record, zonePrefix(incarnation), {}, SIZE_MAX,
                   [&](std::string_view, std::string_view row) {
                       bytes += decodeStored(row).bytesTaken();
                       return true;
                   });
    for (auto table : {Table::Record, Table::Feed, Table::Grave})
        work.rows.erasePrefix(me.id, table, zonePrefix(incarnation));
    me.usedBytes -= std::min(me.usedBytes, bytes);
    zone.isDeleted = true;
    zone.databaseSequence = ++me.privateDatabase.sequence;
    zone.changed = work.now;
    work.noteManyChanges(me.id, DatabaseScope::Private);
}

}  // namespace

Answer fetchZones(RequestWork& work, const FetchZones& request) {
    Zones answer;
    for (const auto& zone : work.me().database(request.database).zones) {
        if (zone.isDeleted) continue;
        answer.zones.push_back(
            {zone.name, zone.ownerID.empty() ? std::string(CKCurrentUserDefaultName) : zone.ownerID});
    }
    return answer;
}

Answer modifyZones(RequestWork& work, const ModifyZones& request) {
    const auto& limits = work.facts.options.limits;
    if (request.zonesToSave.size() + request.zonesToDelete.size() > limits.zonesPerAccount)
        refuse(CKErrorCode::LimitExceeded, "too many zones in one request");
    auto& me = work.me();
    auto& database = me.privateDatabase;
    ModifiedZones answer;
    for (const auto& zoneID : request.zonesToSave) {
        checkZone(work, request.database, zoneID);
        if (zoneID.zoneName.empty() || zoneID.zoneName.size() > longestZoneName)
            refuse(CKErrorCode::InvalidArguments, "the name of a zone has 1 to 255 bytes");
        const auto* zone = database.zone({}, zoneID.zoneName);
        if (!zone || zone->isDeleted) {
            if (zoneID.zoneName.starts_with('_')) refuse(CKErrorCode::InvalidArguments, "this name is reserved");
            const auto inUse = std::count_if(database.zones.begin(), database.zones.end(),
                                             [](const ZoneState& each) { return !each.isDeleted; });
            if (static_cast<std::size_t>(inUse) >= limits.zonesPerAccount)
                refuse(CKErrorCode::LimitExceeded, "too many zones");
            me.addZone(DatabaseScope::Private, {}, zoneID.zoneName, work.now);
        }
        answer.saved.push_back(zoneID);
    }
    for (const auto& zoneID : request.zonesToDelete) {
        checkZone(work, request.database, zoneID);
        if (zoneID.zoneName == CKRecordZoneDefaultName)
            refuse(CKErrorCode::PermissionFailure, "the default zone cannot be deleted");
        auto* zone = database.zone({}, zoneID.zoneName);
        if (!zone || zone->isDeleted) throw RequestRefused{noSuchZone()};
        deleteZone(work, *zone);
        answer.deleted.push_back(zoneID);
    }
    return answer;
}

}  // namespace zun::cloud
