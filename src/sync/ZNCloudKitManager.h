#pragma once

// Brings the reminders of this device and those of the cloud into step. syncChangesFromCloudKit() runs one pass; the
// pushes of ReminderCloudPushes send single changes as they happen, and what fails there is marked on its row and goes
// up with the next pass. What comes from the cloud is never sent back by the store.
//
// A pass is a graph of steps, each queued by the success of the one before it:
//
//   zone -> migration -> additions -> changes -> remote fetch -> shared changes -> join
//       \-> deleted items
//   deletions -> join            (at once, with de-duplication and the two subscriptions)
//
// The pass ends where the join counts two, where a step fails, or with the watchdog after 60 seconds. A step that
// fails simply queues nothing. With the user's switch off, the chain runs from the zone straight to the remote fetch,
// so that shared reminders stay current; what runs at once runs all the same.
//
// Observable: "isSyncing", told each time it is set. Any thread may call; blocks run on whatever thread the cloud calls
// back on, the end of a pass on the main queue. What copies or reads thousands of records leaves the main thread: a
// retry, which has waited there, and fitting the store to another account. Nothing here waits for the cloud. The
// collaborators outlive the manager; once it is destroyed no block runs any more, and pushes whose outcome is open then
// never report.

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/ZNReminderManager.h"
#include "platform/cloudkit/CKContainer.h"
#include "platform/cloudkit/CKOperations.h"
#include "sync/ChangeTokens.h"
#include "sync/LifeGuard.h"
#include "sync/PushRelay.h"
#include "sync/RemoteChange.h"
#include "sync/StepQueue.h"
#include "sync/ZNCloudKitErrorHandler.h"
#include "sync/ZNCloudKitSubscriptionManager.h"
#include "sync/ZNStateManager.h"

namespace zun {

enum class CanSupportCKSharing { No, Yes };
enum class OverwriteValues { No, Yes };

class ZNCloudKitManager final : public ReminderCloudPushes,
                                public CloudAccount,
                                public SyncCache,
                                public KeyValueObservable {
  public:
    using Failure = std::function<void(const OptionalError&)>;
    using RecordBlock = std::function<void(const CKRecord&)>;
    // What to save, or what to delete.
    using CloudItems = std::variant<std::vector<CKRecord>, std::vector<CKRecordID>>;
    using ItemsBlock = std::function<void(const CloudItems&)>;

    static constexpr std::chrono::seconds watchdogTime{60};
    // Reminders in one fetch of the changes step, and in one part of a save that the service found too large.
    static constexpr std::size_t batchSize = 200;

    struct Collaborators {
        CKContainer& container;
        ZNReminderManager& reminders;
        ZNSettingsObject& settings;
        ZNStateManager& stateManager;
        ZNCloudKitSubscriptionManager& subscriptions;
        PushRelay& pushes;
        NSNotificationCenter& notifications;
        const Environment& environment;
        Dispatch& dispatch;
        CanSupportCKSharing canSupportCKSharing = CanSupportCKSharing::Yes;
    };
    // What moved, for whoever wants to tell; counted since the manager was made.
    struct Traffic {
        std::size_t sent = 0;      // records saved or deleted at the service
        std::size_t received = 0;  // reminders that were added, changed or removed here, but for shared ones
    };

    // Takes the pushes of the relay from now on.
    explicit ZNCloudKitManager(Collaborators collaborators);
    ~ZNCloudKitManager() override;
    ZNCloudKitManager(const ZNCloudKitManager&) = delete;
    ZNCloudKitManager& operator=(const ZNCloudKitManager&) = delete;

    // Starts a pass unless there is no account, no connection, or one under way. On the main thread it begins a moment
    // later if the account has changed.
    void syncChangesFromCloudKit();
    [[nodiscard]] bool isSyncing() const { return _isSyncing; }
    // Also while one for shares alone runs, which is not told as syncing.
    [[nodiscard]] bool isPassUnderWay() const;
    [[nodiscard]] bool hasiCloudAccess() const { return _hasiCloudAccess; }
    // The last that a step of the pass met, also one that did not end it, until the next begins; not all are told.
    [[nodiscard]] OptionalError failure() const;
    [[nodiscard]] Traffic traffic() const { return {_sent, _received}; }

    // What a push of the service leads to: a named record is fetched, a change of the shared database starts the shared
    // step, and anything else a pass.
    void didReceiveRemoteNotification(const CKNotification& notification);
    // A pass, right after the present one if that comes to its end before the watchdog.
    void syncChangesMadeElsewhere();
    void remoteRecordIDWasUpdated(const CKRecordID& recordID);
    void handleRemoteShareNotification();
    // Before anything is sent to a service that was set back to an earlier state: what it was sent since is sent again.
    void serviceWillHaveEpoch(const std::string& accountID, const std::string& epoch);

    void saveReminderToCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                Block withError) override;
    void updateReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override;
    void deleteReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override;
    void bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr> reminders, ShouldRetry shouldRetry,
                                       ShouldDelete shouldDelete,
                                       ShouldUpdatePersistenceStatus shouldUpdatePersistenceStatus,
                                       Block withCompletion, Block withError) override;

    void accountStatusWithCompletionHandler(StatusHandler handler) override;
    void resetSyncCache() override;

    // One modify operation. A refusal for its size splits it into parts that run at once; then the outcome of the last
    // part alone is reported, with its items. Not called at all for an empty list that is refused so.
    void saveRecordsToCloudkit(CloudItems items, OverwriteValues overwriteValues, CloudDatabaseKind database,
                               ShouldRetry shouldRetry, ItemsBlock withSuccess, Failure withError);
    // A failure without an error means that the device has no account.
    void fetchRecordOnCloudkit(const CKRecordID& recordID, CloudDatabaseKind database, ShouldRetry shouldRetry,
                               std::function<void(const std::optional<CKRecord>&)> withSuccess, Failure withFailure);
    // Without the identifier of the share it is looked up by the reminder's URL. The local reminder stays.
    void leaveCKShareForReminder(const ReminderPtr& reminder, const std::optional<CKRecordID>& shareRecordID,
                                 Block withSuccess, Failure withFailure);
    void fetchCKShareMetaDataWithURL(const std::string& URL, CKContainer::MetadataBlock withShareMetaBlock,
                                     Failure withFailure);
    // In the private zone once that is known, before that in the default zone.
    [[nodiscard]] CKRecordID ckRecordIDWithRecordName(const std::string& recordName) const;

  private:
    struct ZoneFetch;
    struct SharedSurvey;
    class Intake;
    enum class Asked { ByCaller, ByPush };

    template <typename Function>
    [[nodiscard]] auto guarded(Function function) const {
        return _guard.guarded(std::move(function));
    }
    [[nodiscard]] CKDatabase& database(CloudDatabaseKind kind) const;
    [[nodiscard]] bool canShare() const { return _with.canSupportCKSharing == CanSupportCKSharing::Yes; }
    [[nodiscard]] ZNUserDefaults& defaults() const { return _with.settings.defaults(); }
    [[nodiscard]] double elapsed() const;
    [[nodiscard]] std::optional<CKRecordZoneID> privateRecordZoneID() const;

    // The pass.
    void startPassIfAllowed();
    void startGraph();
    void startWatchdog();
    void setIsSyncing(bool isSyncing);
    void handleError(const OptionalError& error);
    void postSyncError(const OptionalError& error);
    void onSyncComplete();
    void endPass();
    void timeoutPeriodReached();
    // False, and nothing scheduled, if the error asks for no wait. Where another account has signed in meanwhile, the
    // second block runs in place of the first.
    bool retryAfter(const OptionalError& error, Block block, Block givenUp);

    // Its steps.
    void fetchPrivateRecordZone(Block completion, Failure failure);
    void createPrivateZone(Block success, Failure failure);
    void migrateCloudKitDataToPrivateZone(Block completion, Block migrationCompleted, Failure failure);
    void saveMigratedRecords(std::vector<CKRecord> records, const Block& completion, const Block& migrationCompleted,
                             const Failure& failure);
    void queryOperation(std::shared_ptr<CKQueryOperation> operation, CloudDatabaseKind database, CKRecordZoneID zoneID,
                        RecordBlock recordSuccess, Block completion, Failure failure);
    void pushLocalAdditions(Block success, Failure failure, ShouldRetry shouldRetry);
    void pushLocalChanges(const Block& success, const Failure& failure, ShouldRetry shouldRetry);
    void handleChangeError(const OptionalError& error, const Block& success, const Failure& failure,
                           ShouldRetry shouldRetry);
    void handleLocalDeletions(Block completion);
    void checkForDeletedItemsBecauseCloudKitNotificationsSometimesFail();
    void fetchRemoteChangesAndDeletions(QualityOfService quality, Block success, Failure failure);
    void fetchChangesForDatabase(CloudDatabaseKind kind, const OptionalToken& serverToken, ShouldRetry shouldRetry,
                                 QualityOfService quality, const ChangeTokens::ReadingPtr& reading,
                                 const Block& success, const Failure& failure);
    void fetchChangesOfPrivateZone(const OptionalToken& serverToken, ShouldRetry shouldRetry, QualityOfService quality,
                                   const ChangeTokens::ReadingPtr& reading, const Block& success,
                                   const Failure& failure);
    void fetchZoneChanges(const std::shared_ptr<const ZoneFetch>& fetch);
    void storeZoneToken(CloudDatabaseKind kind, const OptionalToken& token);
    void removeRemindersInZones(const std::vector<CKRecordZoneID>& zones);
    void handleSharedChanges(Block success, ShouldRetry shouldRetry, QualityOfService quality);
    void checkForMissingShares(const std::vector<ReminderPtr>& shared);
    void fetchNewShares(const std::shared_ptr<SharedSurvey>& survey);
    void takeInSharedRecord(const CKRecord& record);

    // Taking in.
    void applyRemoteChanges(std::vector<RemoteChange> changes, const ChangeTokens::ReadingPtr& reading, Block done);
    void sendLocalVersion(const RemoteChange& lost, const ReminderAttributes& local);
    void removeReminders(const std::vector<std::string>& reminderIDs,
                         const std::function<bool(const ReminderAttributes&)>& condition = {});
    void markReminders(const std::vector<std::string>& reminderIDs,
                       const std::function<bool(ReminderAttributes&)>& mark);

    // Sending.
    void saveRecordToCloudkit(const CKRecord& record, ShouldRetry shouldRetry, RecordBlock success, Failure failure);
    void updateReminder(const ReminderAttributes& reminder, ShouldRetry shouldRetry, Block success, Failure failure);
    void splitSave(CloudItems items, OverwriteValues overwriteValues, CloudDatabaseKind database,
                   const ItemsBlock& withSuccess, const Failure& withError);
    void deleteRecord(const CKRecordID& recordID, ShouldRetry shouldRetry, Block success, Failure failure);
    [[nodiscard]] CKRecord createRecordFromReminder(const ReminderAttributes& reminder) const;
    [[nodiscard]] std::vector<CKRecord> recordsOf(const std::vector<ReminderPtr>& reminders) const;
    [[nodiscard]] std::vector<CKRecordID> recordIDsOf(const std::vector<ReminderPtr>& reminders) const;

    // Subscriptions and identity.
    void createSubscriptionForReminders();
    void removeSubscriptionForReminders();
    void createSharedSubscriptionForReminders();
    void removeSharedSubscriptionForReminders();
    void checkForUpdatedUbiquityIdentity();
    // Runs the block once that is done; at once, unless the main thread would have to wait.
    void takeUpIdentity(Block then);
    [[nodiscard]] bool isIdentityTakenUp() const;
    void forgetZone();
    void fitMarksTo(const Bytes& identity, const std::string& epoch);
    void identityDidChange(ShouldDelete shouldDeleteData);

    const Collaborators _with;
    const std::shared_ptr<ChangeTokens> _privateTokens;
    const std::shared_ptr<ChangeTokens> _sharedTokens;
    std::atomic<bool> _isSyncing = false;
    std::atomic<bool> _hasiCloudAccess = false;
    std::atomic<bool> _didReceiveCriticalError = false;
    std::atomic<bool> _didMigrate = false;
    std::atomic<bool> _isAnotherPassWanted = false;
    std::atomic<std::chrono::microseconds> _syncStart = std::chrono::microseconds{0};
    std::atomic<std::size_t> _sent = 0;
    std::atomic<std::size_t> _received = 0;
    mutable std::mutex _mutex;
    std::optional<CKRecordZoneID> _privateRecordZoneID;  // known from the first pass on
    OptionalError _failure;
    NSTimer _timeoutTimer;
    bool _isWatchdogAwaited = false;  // a pass has begun, and the main queue is yet to start its timer
    std::mutex _identityMutex;        // one look at the account at a time
    Bytes _takenIdentity;             // to which the store's marks are being or have been fitted
    const LifeGuard _guard;
    StepQueue _syncQueue;
    std::vector<Observation> _observations;
};

}  // namespace zun
