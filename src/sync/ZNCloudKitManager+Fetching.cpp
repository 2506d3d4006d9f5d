#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/foundation/Log.h"
#include "sync/ArchivedZoneID.h"
#include "sync/Reporting.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

struct ZNCloudKitManager::ZoneFetch {
    std::vector<CKRecordZoneID> zones;
    CloudDatabaseKind kind;
    QualityOfService quality;
    ChangeTokens::ReadingPtr reading;
    Block success;
    Failure failure;
};

// Gathers what a fetch delivers, so that thousands of records cost a few commits, in the order of their delivery.
class ZNCloudKitManager::Intake {
  public:
    // More make the user's own writes wait longer, fewer make more commits.
    static constexpr std::size_t mostAtOnce = 1'000;

    Intake(ZNCloudKitManager& manager, ChangeTokens::ReadingPtr reading)
        : _manager(manager), _reading(std::move(reading)) {}

    void add(RemoteChange change) {
        const std::lock_guard lock(_mutex);
        _changes.push_back(std::move(change));
        if (_changes.size() >= mostAtOnce) store({});
    }
    // The zone was read to its end. The receipt is given once all that was added is durable; never, if the store has
    // refused some of it or it is no longer wanted.
    void finish(const std::optional<CKRecordZoneID>& wholeZone, Block receipt) {
        const std::lock_guard lock(_mutex);
        store([reading = _reading, wholeZone, receipt = std::move(receipt)] {
            if (wholeZone) reading->didReadZone(*wholeZone);
            if (receipt && reading->isWanted()) receipt();
        });
    }

  private:
    // Under the lock, so that the parts get to the store in their order, in which it also ends them.
    void store(Block done) {
        _manager.applyRemoteChanges(std::exchange(_changes, {}), _reading,
                                    [stored = _stored, number = ++_parts, done = std::move(done)] {
                                        if (++*stored == number && done) done();
                                    });
    }

    ZNCloudKitManager& _manager;
    const ChangeTokens::ReadingPtr _reading;
    std::mutex _mutex;
    std::vector<RemoteChange> _changes;
    int _parts = 0;
    const std::shared_ptr<std::atomic<int>> _stored = std::make_shared<std::atomic<int>>(0);
};

void ZNCloudKitManager::fetchRemoteChangesAndDeletions(QualityOfService quality, Block success, Failure failure) {
    const auto token = _privateTokens->token();
    NSLog(fmt::format("Fetch remote changes started after {:f} seconds", elapsed()));
    const auto finished = [this, success = std::move(success)] {
        NSLog(fmt::format("Fetch remote changes finished after {:f} seconds", elapsed()));
        if (success) success();
    };
    fetchChangesForDatabase(CloudDatabaseKind::Private, token, ShouldRetry::Yes, quality,
                            std::make_shared<ChangeTokens::Reading>(_privateTokens), finished, failure);
}

void ZNCloudKitManager::fetchChangesForDatabase(CloudDatabaseKind kind, const OptionalToken& serverToken,
                                                ShouldRetry shouldRetry, QualityOfService quality,
                                                const ChangeTokens::ReadingPtr& reading, const Block& success,
                                                const Failure& failure) {
    if (!canShare()) return fetchChangesOfPrivateZone(serverToken, shouldRetry, quality, reading, success, failure);
    struct Zones {
        std::mutex mutex;
        std::vector<CKRecordZoneID> changed, deleted;
    };
    const auto zones = std::make_shared<Zones>();
    const auto operation = std::make_shared<CKFetchDatabaseChangesOperation>(serverToken);
    operation->setFetchAllChanges(true);
    operation->setQualityOfService(quality);
    operation->setRecordZoneWithIDChangedBlock([zones](const CKRecordZoneID& zone) {
        const std::lock_guard lock(zones->mutex);
        zones->changed.push_back(zone);
    });
    operation->setRecordZoneWithIDWasDeletedBlock([zones](const CKRecordZoneID& zone) {
        const std::lock_guard lock(zones->mutex);
        zones->deleted.push_back(zone);
    });
    operation->setChangeTokenUpdatedBlock(
        guarded([reading](const CKServerChangeToken& token) { reading->setToken(token); }));
    const auto again = [=, this](const OptionalToken& token) {
        fetchChangesForDatabase(kind, token, ShouldRetry::Yes, quality, reading, success, failure);
    };
    operation->setFetchDatabaseChangesCompletionBlock(
        guarded([=, this](const OptionalToken& token, MoreComing moreComing, const OptionalError& error) {
            const auto type = ZNCloudKitErrorHandler::handleError(error);
            if (kind == CloudDatabaseKind::Private)
                NSLog(fmt::format("Finished fetching Zone changes after {:f} seconds", elapsed()));
            if (type == ZNCloudKitErrorType::None) {
                reading->expectZones(zones->changed);
                reading->setToken(token);
                if (kind == CloudDatabaseKind::Shared) removeRemindersInZones(zones->deleted);
                if (!zones->changed.empty()) {
                    fetchZoneChanges(std::make_shared<const ZoneFetch>(
                        ZoneFetch{zones->changed, kind, quality, reading, success, failure}));
                } else if (moreComing == MoreComing::No && success) {
                    success();
                }
                return;
            }
            if (type == ZNCloudKitErrorType::ChangeTokenExpired) {
                reading->setToken(std::nullopt);
                // The service answers so once for a token and then from the beginning.
                return again(serverToken);
            }
            const bool mayWait = type == ZNCloudKitErrorType::Retry && shouldRetry == ShouldRetry::Yes;
            const auto givenUp = reporting(failure, error);
            if (mayWait && retryAfter(
                               error, [again, serverToken] { again(serverToken); }, givenUp))
                return;
            givenUp();
        }));
    database(kind).addOperation(operation);
}

void ZNCloudKitManager::fetchChangesOfPrivateZone(const OptionalToken& serverToken, ShouldRetry shouldRetry,
                                                  QualityOfService quality, const ChangeTokens::ReadingPtr& reading,
                                                  const Block& success, const Failure& failure) {
    const auto zone = ckRecordIDWithRecordName({}).zoneID;
    reading->expectZones({zone});
    const auto intake = std::make_shared<Intake>(*this, reading);
    const auto operation = std::make_shared<CKFetchRecordChangesOperation>(zone, serverToken);
    operation->setQualityOfService(quality);
    operation->setRecordChangedBlock(guarded([intake, zone](const CKRecord& record) {
        // What is unknown here is not taken in on this way.
        if (!record.isShare()) intake->add(RemoteChange::changed(record, RemoteChange::Kind::Merged, zone));
    }));
    operation->setRecordWithIDWasDeletedBlock(
        guarded([intake](const CKRecordID& recordID) { intake->add(RemoteChange::deleted(recordID.recordName)); }));
    operation->setFetchRecordChangesCompletionBlock(
        guarded([=, this, raw = operation.get()](const OptionalToken& token, const Bytes&, const OptionalError& error) {
            const auto type = ZNCloudKitErrorHandler::handleError(error);
            if (type == ZNCloudKitErrorType::None) {
                reading->setToken(token);
                const bool isWhole = !raw->moreComing();
                intake->finish(isWhole ? std::optional(zone) : std::nullopt, raw->takeReceipt());
                if (isWhole && success) success();
                return;
            }
            const bool mayWait = type == ZNCloudKitErrorType::Retry && shouldRetry == ShouldRetry::Yes;
            const auto again = [=, this] {
                fetchChangesOfPrivateZone(serverToken, ShouldRetry::Yes, quality, reading, success, failure);
            };
            const auto givenUp = reporting(failure, error);
            if (mayWait && retryAfter(error, again, givenUp)) return;
            givenUp();
        }));
    database(CloudDatabaseKind::Private).addOperation(operation);
}

void ZNCloudKitManager::fetchZoneChanges(const std::shared_ptr<const ZoneFetch>& fetch) {
    const bool takesDeletions = _with.settings.onGetCloudKitStatus();
    // Each zone that has changed is read from its beginning; the merge finds what is new.
    CKFetchRecordZoneChangesOptions options;
    options.setPreviousServerChangeToken(std::nullopt);
    std::map<CKRecordZoneID, CKFetchRecordZoneChangesOptions> optionsByZone;
    for (const auto& zone : fetch->zones)
        optionsByZone[zone] = options;

    const auto intake = std::make_shared<Intake>(*this, fetch->reading);
    const auto operation = std::make_shared<CKFetchRecordZoneChangesOperation>(fetch->zones, optionsByZone);
    operation->setFetchAllChanges(true);
    operation->setQualityOfService(fetch->quality);
    operation->setRecordWithIDWasDeletedBlock(
        guarded([intake, takesDeletions](const CKRecordID& recordID, const std::string&) {
            if (takesDeletions) intake->add(RemoteChange::deleted(recordID.recordName));
        }));
    const auto privateZone = privateRecordZoneID();
    // An error of the whole request is told for each of its zones, and all of them are fetched again together.
    const auto isFetchedAgain = std::make_shared<std::atomic<bool>>(false);
    operation->setRecordChangedBlock(guarded([intake, privateZone](const CKRecord& record) {
        if (!record.isShare()) intake->add(RemoteChange::changed(record, RemoteChange::Kind::Changed, privateZone));
    }));
    operation->setRecordZoneFetchCompletionBlock(
        guarded([this, fetch, intake, isFetchedAgain, raw = operation.get()](
                    const CKRecordZoneID& zone, const OptionalToken& token, const Bytes&, MoreComing moreComing,
                    const OptionalError& error) {
            if (fetch->kind == CloudDatabaseKind::Private)
                NSLog(fmt::format("Finished fetch record changes after {:f} seconds", elapsed()));
            const auto type = ZNCloudKitErrorHandler::handleError(error);
            if (type == ZNCloudKitErrorType::None) {
                if (fetch->reading->isWanted()) storeZoneToken(fetch->kind, token);
                const bool isWhole = moreComing == MoreComing::No;
                intake->finish(isWhole ? std::optional(zone) : std::nullopt, raw->takeReceipt());
                if (isWhole && fetch->success) fetch->success();
                return;
            }
            const auto again = [this, fetch] { fetchZoneChanges(fetch); };
            const auto givenUp = reporting(fetch->failure, error);
            if (type == ZNCloudKitErrorType::Retry && (*isFetchedAgain || retryAfter(error, again, givenUp))) {
                *isFetchedAgain = true;
                return;
            }
            givenUp();
        }));
    database(fetch->kind).addOperation(operation);
}

void ZNCloudKitManager::storeZoneToken(CloudDatabaseKind kind, const OptionalToken& token) {
    const auto bytes = token ? std::optional(Bytes(token->begin(), token->end())) : std::nullopt;
    kind == CloudDatabaseKind::Private ? defaults().onSetPrivateZoneToken(bytes)
                                       : defaults().onSetSharedZoneToken(bytes);
}

void ZNCloudKitManager::removeRemindersInZones(const std::vector<CKRecordZoneID>& zones) {
    if (zones.empty()) return;
    std::vector<std::string> reminderIDs;
    for (const auto& reminder : _with.reminders.fetchAllSharedReminders()) {
        const auto archive = reminder->sharedZoneID();
        const auto zone = archive ? unarchivedZoneID(*archive) : std::nullopt;
        if (zone && std::ranges::find(zones, *zone) != zones.end())
            reminderIDs.push_back(reminder->reminderID().value_or(""));
    }
    removeReminders(reminderIDs);
}

}  // namespace zun
