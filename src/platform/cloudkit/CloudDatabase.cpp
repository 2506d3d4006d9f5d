#include "platform/cloudkit/CloudDatabase.h"

#include <cassert>

#include "platform/cloudkit/ZoneReading.h"

namespace zun {
namespace {

// Asks for page after page; each answer's block runs before the next question.
void readDatabaseChanges(const CloudCaller& caller, cloud::DatabaseScope scope,
                         const std::shared_ptr<CKFetchDatabaseChangesOperation>& operation,
                         const OptionalToken& token) {
    caller.ask(cloud::FetchDatabaseChanges{scope, token}, [=](cloud::Answer& answer) {
        const Received<cloud::DatabaseChanges> page(answer);
        if (page.error) return callIfSet(operation->completion, std::nullopt, MoreComing::No, page.error);
        for (const auto& zone : page.content.changed)
            callIfSet(operation->changed, zone);
        for (const auto& zone : page.content.deleted)
            callIfSet(operation->deleted, zone);
        if (!page.content.moreComing || !operation->fetchAllChanges)
            return callIfSet(operation->completion, page.content.token,
                             page.content.moreComing ? MoreComing::Yes : MoreComing::No, std::nullopt);
        callIfSet(operation->tokenUpdated, page.content.token);
        readDatabaseChanges(caller, scope, operation, page.content.token);
    });
}

}  // namespace

template <class Operation>
bool CloudDatabase::startIf(const CKDatabaseOperationPtr& operation) {
    auto known = std::dynamic_pointer_cast<Operation>(operation);
    if (known) start(known);
    return known != nullptr;
}

void CloudDatabase::addOperation(CKDatabaseOperationPtr operation) {
    const bool isKnown =
        startIf<CKFetchDatabaseChangesOperation>(operation) || startIf<CKFetchRecordZoneChangesOperation>(operation) ||
        startIf<CKFetchRecordChangesOperation>(operation) || startIf<CKFetchRecordsOperation>(operation) ||
        startIf<CKModifyRecordsOperation>(operation) || startIf<CKFetchRecordZonesOperation>(operation) ||
        startIf<CKModifyRecordZonesOperation>(operation) || startIf<CKQueryOperation>(operation);
    assert(isKnown);
    (void)isKnown;
}

void CloudDatabase::start(const std::shared_ptr<CKFetchDatabaseChangesOperation>& operation) {
    readDatabaseChanges(caller(operation->qualityOfService), _scope, operation, operation->previousServerChangeToken);
}

void CloudDatabase::start(const std::shared_ptr<CKFetchRecordZoneChangesOperation>& operation) {
    ZoneReading::Blocks blocks;
    blocks.changed = operation->recordChanged;
    blocks.deleted = operation->recordDeleted;
    blocks.finished = [operation](const CKRecordZoneID& zoneID, const OptionalToken& token, MoreComing more,
                                  const OptionalError& error, const Block& receipt) {
        operation->receipt = receipt;
        callIfSet(operation->zoneCompletion, zoneID, token, Bytes(), more, error);
    };
    auto reading = std::make_shared<ZoneReading>(caller(operation->qualityOfService), _scope, _cache, std::move(blocks),
                                                 operation->fetchAllChanges);
    for (const auto& zoneID : operation->recordZoneIDs) {
        const auto options = operation->optionsByRecordZoneID.find(zoneID);
        reading->addZone(zoneID, options == operation->optionsByRecordZoneID.end()
                                     ? std::nullopt
                                     : options->second.previousServerChangeToken);
    }
    reading->start();
}

void CloudDatabase::start(const std::shared_ptr<CKFetchRecordChangesOperation>& operation) {
    ZoneReading::Blocks blocks;
    blocks.changed = operation->recordChanged;
    blocks.deleted = [operation](const CKRecordID& recordID, const std::string&) {
        callIfSet(operation->recordDeleted, recordID);
    };
    blocks.finished = [operation](const CKRecordZoneID&, const OptionalToken& token, MoreComing more,
                                  const OptionalError& error, const Block& receipt) {
        operation->receipt = receipt;
        operation->hasMore = more == MoreComing::Yes;
        callIfSet(operation->completion, token, Bytes(), error);
    };
    auto reading =
        std::make_shared<ZoneReading>(caller(operation->qualityOfService), _scope, _cache, std::move(blocks), false);
    reading->addZone(operation->recordZoneID, operation->previousServerChangeToken);
    reading->start();
}

void CloudDatabase::start(const std::shared_ptr<CKFetchRecordZonesOperation>& operation) {
    caller(operation->qualityOfService).ask(cloud::FetchZones{_scope}, [operation](cloud::Answer& answer) {
        const Received<cloud::Zones> zones(answer);
        callIfSet(operation->completion, zones.content.zones, zones.error);
    });
}

void CloudDatabase::start(const std::shared_ptr<CKModifyRecordZonesOperation>& operation) {
    caller(operation->qualityOfService)
        .ask(cloud::ModifyZones{_scope, operation->recordZonesToSave, operation->recordZoneIDsToDelete},
             [operation](cloud::Answer& answer) {
                 const Received<cloud::ModifiedZones> zones(answer);
                 callIfSet(operation->completion, zones.content.saved, zones.content.deleted, zones.error);
             });
}

void CloudDatabase::fetchAllRecordZonesWithCompletionHandler(ZonesHandler completionHandler) {
    const auto operation = CKFetchRecordZonesOperation::fetchAllRecordZonesOperation();
    operation->setFetchRecordZonesCompletionBlock(std::move(completionHandler));
    start(operation);
}

void CloudDatabase::saveSubscription(CKSubscription subscription, SubscriptionHandler completionHandler) {
    caller().ask(cloud::SaveSubscription{_scope, std::move(subscription.data)},
                 [handler = std::move(completionHandler)](cloud::Answer& answer) {
                     Received<cloud::SavedSubscription> saved(answer);
                     if (saved.error) return callIfSet(handler, std::nullopt, saved.error);
                     callIfSet(handler, CKSubscription{std::move(saved.content.subscription)}, std::nullopt);
                 });
}

void CloudDatabase::fetchAllSubscriptionsWithCompletionHandler(SubscriptionsHandler completionHandler) {
    caller().ask(cloud::FetchSubscriptions{_scope}, [handler = std::move(completionHandler)](cloud::Answer& answer) {
        Received<cloud::Subscriptions> received(answer);
        std::vector<CKSubscription> subscriptions;
        for (auto& data : received.content.subscriptions)
            subscriptions.push_back({std::move(data)});
        callIfSet(handler, subscriptions, received.error);
    });
}

void CloudDatabase::deleteSubscriptionWithID(std::string subscriptionID, ErrorHandler completionHandler) {
    caller().ask(cloud::DeleteSubscription{_scope, std::move(subscriptionID)},
                 [handler = std::move(completionHandler)](cloud::Answer& answer) {
                     callIfSet(handler, Received<cloud::Done>(answer).error);
                 });
}

}  // namespace zun
