// Reading records: by identifier, and by type.

#include "platform/cloudprotocol/ProtocolLimits.h"
#include "server/model/Operations.h"
#include "server/model/RowCoding.h"
#include "server/model/Secrets.h"
#include "server/model/SharedRecords.h"

namespace zun::cloud {
namespace {

static_assert(ServiceLimits().itemsPerRequest == mostItems);

// How many rows a page of a query looks at, whatever it finds.
constexpr std::size_t rowsPerQuery = 20'000;

void keepOnly(CKRecord& record, const std::optional<std::vector<std::string>>& desiredKeys) {
    if (!desiredKeys) return;
    CKRecordFields kept;
    for (const auto& key : *desiredKeys) {
        if (auto* value = record.fields.find(key)) kept.set(key, *value);
    }
    record.fields = std::move(kept);
}

bool isVisible(RequestWork& work, const ZoneView& view, const std::string& name) {
    if (view.isOwn()) return true;
    const auto visible = findVisible(work, view, name);
    return visible && !visible->isGone;
}

}  // namespace

Answer fetchRecords(RequestWork& work, const FetchRecords& request) {
    const auto& limits = work.facts.options.limits;
    const bool wantsOutlines = request.desiredKeys && request.desiredKeys->empty();
    if (request.recordIDs.size() > (wantsOutlines ? limits.outlinesPerRequest : limits.itemsPerRequest))
        refuse(CKErrorCode::LimitExceeded, "too many items in one request");
    struct Zone {
        std::optional<ZoneView> view;
        std::optional<ZoneRecords> records;
        std::vector<std::string> names;
    };
    std::map<CKRecordZoneID, Zone> zones;
    for (const auto& recordID : request.recordIDs)
        zones[recordID.zoneID].names.push_back(recordID.recordName);
    for (auto& [zoneID, zone] : zones) {
        zone.view = work.findZone(request.database, zoneID);
        if (!zone.view) continue;
        zone.records.emplace(work, zone.view->ownerID, zone.view->ownerIncarnation);
        zone.records->prefetch(zone.names);
    }
    FetchedRecords answer;
    std::size_t bytes = 0;
    for (const auto& recordID : request.recordIDs) {
        auto& zone = zones[recordID.zoneID];
        const auto* stored = zone.view && isVisible(work, *zone.view, recordID.recordName)
                                 ? zone.records->findLive(recordID.recordName)
                                 : nullptr;
        if (!stored) {
            answer.failed.emplace(recordID, zone.view ? noSuchRecord() : noSuchZone());
        } else if (wantsOutlines) {
            answer.records.push_back(stored->outline(recordID));
        } else if (bytes > limits.bytesPerRequest) {
            answer.failed.emplace(recordID, makeError(CKErrorCode::ResultsTruncated, "the answer is too large"));
        } else {
            bytes += stored->body.size();
            auto record = asSeen(work, *zone.view, stored->record());
            record.recordID = recordID;
            keepOnly(record, request.desiredKeys);
            answer.records.push_back(std::move(record));
        }
    }
    return answer;
}

Answer queryRecords(RequestWork& work, const QueryRecords& request) {
    const auto& limits = work.facts.options.limits;
    const auto view = work.findZone(request.database, request.zoneID);
    if (!view) throw RequestRefused{noSuchZone()};
    const auto binding = RowWriter()
                             .text("query")
                             .text(work.facts.epoch)
                             .text(work.accountID)
                             .number(view->incarnation)
                             .text(request.recordType)
                             .take();
    std::string after;
    if (!request.cursor.empty()) {
        auto opened = unseal(request.cursor, binding, work.facts.secret);
        if (!opened) refuse(CKErrorCode::InvalidArguments, "this cursor belongs to another query");
        after = std::move(*opened);
    }
    QueriedRecords answer;
    std::size_t bytes = 0, seen = 0;
    std::string last;
    std::vector<std::pair<std::string, StoredRecord>> found;
    const auto prefix = zonePrefix(view->ownerIncarnation);
    bool isAtEnd = true;
    work.rows.scan(view->ownerID, Table::Record, prefix, after.empty() ? after : prefix + after, rowsPerQuery + 1,
                   [&](std::string_view name, std::string_view row) {
                       isAtEnd =
                           found.size() < limits.recordsPerPage && bytes < limits.bytesPerPage && seen < rowsPerQuery;
                       if (!isAtEnd) return false;
                       ++seen;
                       last = name.substr(prefix.size());
                       auto stored = decodeStored(row);
                       if (stored.isDeleted || stored.recordType != request.recordType) return true;
                       bytes += stored.body.size();
                       found.emplace_back(last, std::move(stored));
                       return true;
                   });
    for (auto& [name, stored] : found) {
        if (!isVisible(work, *view, name)) continue;
        auto record = asSeen(work, *view, stored.record());
        record.recordID = {name, request.zoneID};
        answer.records.push_back(std::move(record));
    }
    if (!isAtEnd) answer.cursor = seal(last, binding, work.facts.secret);
    return answer;
}

}  // namespace zun::cloud
