#pragma once

// One reading of the changes of zones, page by page. A zone that is to be read from its beginning is read through the
// cache of records: the service is asked for what is new since the last reading, then everything is told from the
// cache.
//
//     from the beginning:  asked since the cached token -> taken into the cache -> ... -> told from the cache
//       the token expired: the cached zone is forgotten, asked from the beginning
//       the cache fails, or others keep writing it: asked from the beginning, told as it comes
//     from a token:        told as it comes
//
// What was deleted stays in the cache, and is told again, until whoever was told confirms with the receipt that came
// with the end of the zone.
//
// Lives until it has finished every zone.

#include "platform/cloudkit/CKChangeOperations.h"
#include "platform/cloudkit/CloudRequests.h"
#include "platform/cloudkit/RecordCache.h"

namespace zun {

class ZoneReading : public std::enable_shared_from_this<ZoneReading> {
  public:
    struct Blocks {
        std::function<void(const CKRecord&)> changed;
        std::function<void(const CKRecordID&, const std::string& recordType)> deleted;
        // Without a receipt there is nothing to confirm.
        std::function<void(const CKRecordZoneID&, const OptionalToken&, MoreComing, const OptionalError&,
                           const Block& receipt)>
            finished;
    };

    // Without `readsAllPages`, a zone that is read from a token ends after one page.
    ZoneReading(CloudCaller caller, cloud::DatabaseScope scope, RecordCache& cache, Blocks blocks, bool readsAllPages);

    void addZone(const CKRecordZoneID& zoneID, OptionalToken token);
    void start();

  private:
    enum class Road { ThroughCache, Direct };
    struct Zone {
        CKRecordZoneID zoneID;
        OptionalToken token;
        Road road = Road::Direct;
        int restarts = 0;
    };

    void ask();
    void receive(cloud::Answer& answer);
    // These return true if the zone needs another request.
    bool take(Zone& zone, const cloud::ZoneChanges::Zone& page);
    bool takeDirectly(Zone& zone, const cloud::ZoneChanges::Zone& page);
    bool takeThroughCache(Zone& zone, const cloud::ZoneChanges::Zone& page);
    bool tellFromCache(Zone& zone);
    bool restart(Zone& zone);
    bool readWithoutCache(Zone& zone);
    bool fail(const Zone& zone, const CKError& error);
    void finish(const Zone& zone, const OptionalToken& token, MoreComing more, const Block& receipt = {});
    [[nodiscard]] CachedZoneKey keyOf(const Zone& zone) const;

    const CloudCaller _caller;
    const cloud::DatabaseScope _scope;
    RecordCache& _cache;
    const Blocks _blocks;
    const bool _readsAllPages;
    std::vector<Zone> _zones;  // those that are not finished
};

}  // namespace zun
