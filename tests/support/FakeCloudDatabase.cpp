#include "support/FakeCloudDatabase.h"

#include <algorithm>
#include <utility>

namespace zun {

namespace {

const CKError unknownItem{CKErrorCode::UnknownItem, "no such record", {}};

std::string names(const std::vector<CKRecordID>& recordIDs) {
    // Long lists are told by their length.
    if (recordIDs.size() > 5) return " " + std::to_string(recordIDs.size()) + " records";
    std::string all;
    for (const auto& recordID : recordIDs)
        all += " " + recordID.recordName;
    return all;
}

std::string names(const std::vector<CKRecordZoneID>& zones) {
    std::string all;
    for (const auto& zone : zones)
        all += " " + zone.zoneName;
    return all;
}

OptionalError partialFailure(const std::map<CKRecordID, CKError>& failed) {
    if (failed.empty()) return std::nullopt;
    return CKError{CKErrorCode::PartialFailure, "some failed", {{}, failed}};
}

}  // namespace

void FakeCloudDatabase::answer(const std::string& verb, const std::string& what,
                               std::function<void(OptionalError)> block) {
    _lines.push_back(_name + verb + what);
    wasAskedOnMain = _main->isCurrent();
    OptionalError error;
    if (auto& next = errors[verb]; !next.empty()) {
        error = next.front();
        next.pop_front();
    }
    Block later = [block = std::move(block), error] { block(error); };
    held == verb ? _waiting.push_back(std::move(later)) : _queue->async(std::move(later));
}

CKRecord& FakeCloudDatabase::put(CKRecord record) {
    record.recordChangeTag = std::to_string(++_lastTag);
    return records[record.recordID] = std::move(record);
}

void FakeCloudDatabase::addOperation(CKDatabaseOperationPtr operation) {
    const auto tryToRun = [&]<typename... Kinds>(std::type_identity<Kinds>...) {
        const auto attempt = [&]<typename Kind>(std::type_identity<Kind>) {
            if (const auto found = std::dynamic_pointer_cast<Kind>(operation)) run(found);
        };
        (attempt(std::type_identity<Kinds>()), ...);
    };
    tryToRun(std::type_identity<CKFetchDatabaseChangesOperation>(),
             std::type_identity<CKFetchRecordZoneChangesOperation>(),
             std::type_identity<CKFetchRecordChangesOperation>(), std::type_identity<CKFetchRecordsOperation>(),
             std::type_identity<CKModifyRecordsOperation>(), std::type_identity<CKFetchRecordZonesOperation>(),
             std::type_identity<CKModifyRecordZonesOperation>(), std::type_identity<CKQueryOperation>());
}

void FakeCloudDatabase::run(const std::shared_ptr<CKFetchDatabaseChangesOperation>& operation) {
    answer("changes", operation->previousServerChangeToken ? " from " + *operation->previousServerChangeToken : "",
           [this, operation](const OptionalError& error) {
               if (error) return operation->completion(std::nullopt, MoreComing::No, error);
               for (const auto& zone : std::exchange(changedZones, {}))
                   operation->changed(zone);
               for (const auto& zone : std::exchange(deletedZones, {}))
                   operation->deleted(zone);
               operation->completion(token, moreComing, std::nullopt);
           });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKFetchRecordZoneChangesOperation>& operation) {
    const bool isFromStart = std::ranges::all_of(
        operation->optionsByRecordZoneID, [](const auto& each) { return !each.second.previousServerChangeToken; });
    answer("zone changes", names(operation->recordZoneIDs) + (isFromStart ? "" : " from a token"),
           [this, operation](const OptionalError& error) {
               for (const auto& zone : operation->recordZoneIDs) {
                   if (error) {
                       operation->zoneCompletion(zone, std::nullopt, {}, MoreComing::No, error);
                       continue;
                   }
                   for (const auto& [recordID, record] : records)
                       if (recordID.zoneID == zone) operation->recordChanged(record);
                   for (const auto& recordID : deletedRecords)
                       if (recordID.zoneID == zone) operation->recordDeleted(recordID, "Reminder");
                   operation->zoneCompletion(zone, "zone-" + *token, {}, moreComing, std::nullopt);
               }
           });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKFetchRecordChangesOperation>& operation) {
    answer("record changes", " " + operation->recordZoneID.zoneName, [this, operation](const OptionalError& error) {
        if (!error) {
            for (const auto& [recordID, record] : records)
                if (recordID.zoneID == operation->recordZoneID) operation->recordChanged(record);
            for (const auto& recordID : deletedRecords)
                operation->recordDeleted(recordID);
        }
        operation->completion(token, {}, error);
    });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKFetchRecordsOperation>& operation) {
    answer(operation->desiredKeys ? "check" : "fetch", names(operation->recordIDs),
           [this, operation](const OptionalError& error) {
               if (error) return operation->completion({}, error);
               std::map<CKRecordID, CKRecord> found;
               std::map<CKRecordID, CKError> failed;
               for (const auto& recordID : operation->recordIDs) {
                   const auto record = records.find(recordID);
                   if (record != records.end())
                       found.insert(*record);
                   else
                       failed.emplace(recordID, unknownItem);
               }
               operation->completion(found, partialFailure(failed));
           });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKModifyRecordsOperation>& operation) {
    std::vector<CKRecordID> saves;
    for (const auto& record : operation->recordsToSave)
        saves.push_back(record.recordID);
    const bool deletes = !operation->recordIDsToDelete.empty();
    const bool overwrites = operation->savePolicy == CKRecordSavePolicy::CKRecordSaveAllKeys;
    answer(deletes ? "delete" : "save",
           names(deletes ? operation->recordIDsToDelete : saves) + (overwrites ? " over" : ""),
           [this, operation](OptionalError error) {
               const auto count = operation->recordsToSave.size() + operation->recordIDsToDelete.size();
               // As the service does: nobody writes to the default zone.
               const auto isDefault = [](const CKRecordID& recordID) { return recordID.zoneID == CKRecordZoneID(); };
               if (!error && std::ranges::any_of(operation->recordIDsToDelete, isDefault))
                   error = CKError{CKErrorCode::PermissionFailure, "the default zone is closed", {}};
               if (!error && count > mostItems) error = CKError{CKErrorCode::LimitExceeded, "too many", {}};
               if (error) return operation->completion({}, {}, error);
               std::vector<CKRecord> saved;
               for (const auto& record : operation->recordsToSave)
                   saved.push_back(put(record));
               for (const auto& recordID : operation->recordIDsToDelete)
                   records.erase(recordID);
               operation->completion(saved, operation->recordIDsToDelete, std::nullopt);
           });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKFetchRecordZonesOperation>& operation) {
    answer("zones", "", [this, operation](const OptionalError& error) {
        operation->completion(error ? std::vector<CKRecordZoneID>() : zones, error);
    });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKModifyRecordZonesOperation>& operation) {
    answer("make zone", names(operation->recordZonesToSave), [this, operation](const OptionalError& error) {
        if (error) return operation->completion({}, {}, error);
        zones.insert(zones.end(), operation->recordZonesToSave.begin(), operation->recordZonesToSave.end());
        operation->completion(operation->recordZonesToSave, {}, std::nullopt);
    });
}

void FakeCloudDatabase::run(const std::shared_ptr<CKQueryOperation>& operation) {
    answer("query", " " + operation->zoneID.zoneName + (operation->cursor ? " on" : ""),
           [this, operation](const OptionalError& error) {
               if (error) return operation->completion(std::nullopt, error);
               std::size_t skip = operation->cursor ? std::stoul(*operation->cursor) : 0;
               const std::size_t end = skip + mostQueried;
               std::size_t at = 0;
               for (const auto& [recordID, record] : records) {
                   if (recordID.zoneID != operation->zoneID || record.recordType != operation->query.recordType)
                       continue;
                   if (at >= skip && at < end) operation->recordFetched(record);
                   ++at;
               }
               operation->completion(at > end ? std::optional(std::to_string(end)) : std::nullopt, std::nullopt);
           });
}

void FakeCloudDatabase::saveRecord(CKRecord record, RecordHandler completionHandler) {
    answer("put", names(std::vector{record.recordID}), [this, record, completionHandler](OptionalError error) {
        if (!error && records.contains(record.recordID))
            error = CKError{CKErrorCode::ServerRecordChanged, "exists", {}};
        completionHandler(error ? std::nullopt : std::optional(put(record)), error);
    });
}

void FakeCloudDatabase::fetchRecordWithID(CKRecordID recordID, RecordHandler completionHandler) {
    answer("get", names(std::vector{recordID}), [this, recordID, completionHandler](OptionalError error) {
        const auto found = records.find(recordID);
        if (!error && found == records.end()) error = unknownItem;
        completionHandler(error ? std::nullopt : std::optional(found->second), error);
    });
}

void FakeCloudDatabase::deleteRecordWithID(CKRecordID recordID, RecordIDHandler completionHandler) {
    answer("erase", names(std::vector{recordID}), [this, recordID, completionHandler](OptionalError error) {
        if (!error && records.erase(recordID) == 0) error = unknownItem;
        completionHandler(error ? std::nullopt : std::optional(recordID), error);
    });
}

void FakeCloudDatabase::fetchAllRecordZonesWithCompletionHandler(ZonesHandler completionHandler) {
    answer("zones", "", [this, completionHandler](const OptionalError& error) {
        completionHandler(error ? std::vector<CKRecordZoneID>() : zones, error);
    });
}

void FakeCloudDatabase::saveSubscription(CKSubscription subscription, SubscriptionHandler completionHandler) {
    answer("subscribe", "", [this, subscription, completionHandler](OptionalError error) mutable {
        const bool isDuplicate = std::ranges::any_of(
            subscriptions, [&](const auto& each) { return each.data.kind == subscription.data.kind; });
        if (!error && isDuplicate)
            error = CKError{CKErrorCode::ServerRejectedRequest, "this subscription is duplicate", {}};
        if (error) return completionHandler(std::nullopt, error);
        if (subscription.data.subscriptionID.empty())
            subscription.data.subscriptionID = "subscription-" + std::to_string(++_lastTag);
        subscriptions.push_back(subscription);
        completionHandler(subscription, std::nullopt);
    });
}

void FakeCloudDatabase::fetchAllSubscriptionsWithCompletionHandler(SubscriptionsHandler completionHandler) {
    answer("subscriptions", "",
           [this, completionHandler](const OptionalError& error) { completionHandler(subscriptions, error); });
}

void FakeCloudDatabase::deleteSubscriptionWithID(std::string subscriptionID, ErrorHandler completionHandler) {
    answer("unsubscribe", " " + subscriptionID, [this, subscriptionID, completionHandler](OptionalError error) {
        const auto gone =
            std::erase_if(subscriptions, [&](const auto& each) { return each.subscriptionID() == subscriptionID; });
        if (!error && gone == 0) error = unknownItem;
        completionHandler(error);
    });
}

}  // namespace zun
