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

// One page of a query: records by their names, from a place on, that are of the type asked for.
class QueryPage {
  public:
    QueryPage(RequestWork& work, const QueryRecords& request, const ZoneView& view)
        : _work(work), _request(request), _view(view) {}

    QueriedRecords answer;
    std::string last;  // the name that was looked at last
    bool isAtEnd = true;

    void readOwn(const std::string& after) {
        const auto prefix = zonePrefix(_view.ownerIncarnation);
        _work.rows.scan(_view.ownerID, Table::Record, prefix, after.empty() ? after : prefix + after, rowsPerQuery + 1,
                        [&](std::string_view name, std::string_view row) {
                            isAtEnd = !isFull();
                            if (isAtEnd) look(std::string(name.substr(prefix.size())), decodeStored(row));
                            return isAtEnd;
                        });
    }

    // By what the asker sees, so that not even the places of the pages tell of what else the owner has.
    void readShared(const std::string& after) {
        const auto prefix = zonePrefix(_view.incarnation);
        std::vector<std::string> names;
        _work.rows.scan(_work.accountID, Table::Visible, prefix, after.empty() ? after : prefix + after, SIZE_MAX,
                        [&](std::string_view name, std::string_view row) {
                            if (!decodeVisible(row).isGone) names.emplace_back(name.substr(prefix.size()));
                            return names.size() <= rowsPerQuery;
                        });
        ZoneRecords records(_work, _view.ownerID, _view.ownerIncarnation);
        for (auto& name : names) {
            isAtEnd = !isFull();
            if (!isAtEnd) return;
            if (const auto* stored = records.findLive(name)) look(std::move(name), *stored);
        }
    }

  private:
    [[nodiscard]] bool isFull() const {
        const auto& limits = _work.facts.options.limits;
        return answer.records.size() >= limits.recordsPerPage || _bytes >= limits.bytesPerPage || _seen >= rowsPerQuery;
    }

    void look(std::string name, const StoredRecord& stored) {
        ++_seen;
        last = std::move(name);
        if (stored.isDeleted || stored.recordType != _request.recordType) return;
        _bytes += stored.body.size();
        auto record = asSeen(_work, _view, stored.record());
        record.recordID = {last, _request.zoneID};
        answer.records.push_back(std::move(record));
    }

    RequestWork& _work;
    const QueryRecords& _request;
    const ZoneView& _view;
    std::size_t _bytes = 0, _seen = 0;
};

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
    QueryPage page(work, request, *view);
    view->isOwn() ? page.readOwn(after) : page.readShared(after);
    if (!page.isAtEnd) page.answer.cursor = seal(page.last, binding, work.facts.secret);
    return std::move(page.answer);
}

}  // namespace zun::cloud
