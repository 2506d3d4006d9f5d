#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/NotificationNames.h"
#include "core/ZNReminderManager.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "support/FakeCloudDatabase.h"
#include "support/MemoryNotificationCenter.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"
#include "sync/ReminderRecord.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

class ScriptedReachability final : public Reachability {
  public:
    void setReachableBlock(std::function<void()> block) override { _reachable = std::move(block); }
    void setUnreachableBlock(std::function<void()> block) override { _unreachable = std::move(block); }
    void startNotifier() override {}
    NetworkStatus currentReachabilityStatus() const override { return _status; }

    void report(NetworkStatus status) {
        _status = status;
        status == NetworkStatus::NotReachable ? _unreachable() : _reachable();
    }

  private:
    NetworkStatus _status = NetworkStatus::NotReachable;
    std::function<void()> _reachable, _unreachable;
};

// One device over a store of its own and a cloud that takes notes, in virtual time. The switch is on, the network
// reported as there, and the zone known, unless a test says otherwise.
class SyncWorld {
  public:
    struct Start {
        bool wantsCloud = true;
        bool isConnected = true;
        bool hasZone = true;
        CanSupportCKSharing canSupportCKSharing = CanSupportCKSharing::Yes;
        std::uint64_t seed = 1;
    };
    SyncWorld() : SyncWorld(Start()) {}
    explicit SyncWorld(Start start)
        : dispatch(start.seed), environment("2026-01-14T10:00:00Z", &dispatch), sharing(start.canSupportCKSharing) {
        zone.zoneName = "Reminders";
        settings.setShouldUseCloudKit(start.wantsCloud);
        if (start.hasZone) container.privateDatabase.zones = {zone};
        launch();
        for (const auto name : {ZNiCloudSyncFinished, ZNiCloudSyncError, ZNiCloudSyncFatalError,
                                ZNiCloudSyncTimeoutError, ZNiCloudSyncUnreachableError})
            observations.push_back(notifications.addObserver(
                name, [this, name](const NSNotification&) { told.emplace_back(name.substr(name.rfind("Sync") + 4)); }));
        defaults.onSetDidClearCacheForTwoOh(true);
        defaults.onSetUseriCloudIdentityToken(container.identity);
        defaults.onSetIdentityOfSentReminders(container.identity);
        if (start.isConnected) connect();
    }

    // The program's start: what is only in memory is new.
    void launch() {
        cloud.reset();
        state = std::make_unique<ZNStateManager>(dispatch, reachability);
        cloud = std::make_unique<ZNCloudKitManager>(
            ZNCloudKitManager::Collaborators{container, manager, settings, *state, subscriptions, pushes, notifications,
                                             environment, dispatch, sharing});
    }

    // The network is there; without the pass that the first report starts.
    void connect() {
        const auto status = std::exchange(container.status, AccountStatus::NoAccount);
        reachability.report(NetworkStatus::ReachableViaWiFi);
        container.status = status;
    }

    NSDate at(std::string_view text) const { return environment.date(text); }
    // A row or record whose last change was at that time of the first day.
    ReminderAttributes reminder(const std::string& reminderID, std::string_view modified = "2026-01-14T09:00:00Z",
                                const std::string& title = "as it was") const {
        ReminderAttributes attributes;
        attributes.reminderID = reminderID;
        attributes.title = title;
        attributes.modified_date = at(modified);
        attributes.didPersistToiCloud = true;
        return attributes;
    }
    void store(const ReminderAttributes& attributes) {
        database.addReminder(std::make_shared<ZNReminderObject>(attributes));
        database.waitForWrites();
    }
    CKRecord record(const ReminderAttributes& attributes, const CKRecordZoneID& in) const {
        CKRecord made;
        made.recordType = "Reminder";
        made.recordID = {*attributes.reminderID, in};
        combineCloudKitRecord(made, attributes);
        return made;
    }
    void putInCloud(const ReminderAttributes& attributes) {
        auto made = record(attributes, zone);
        made.recordChangeTag = "1";
        container.privateDatabase.records[made.recordID] = made;
    }
    void fail(const std::string& verb, CKErrorCode code, std::optional<double> wait = {}) {
        container.privateDatabase.errors[verb].push_back(CKError{code, "as told", {wait, {}}});
    }

    // Lets everything that is due now come to its end, without moving time.
    void settle() { dispatch.runUntilIdle(); }
    // One pass to its end, or to where it hangs; then what it asked of the cloud.
    std::vector<std::string> sync() {
        container.takeLines();
        told.clear();
        cloud->syncChangesFromCloudKit();
        settle();
        return container.takeLines();
    }
    std::optional<ReminderAttributes> stored(const std::string& reminderID) const {
        const auto found = manager.fetchReminderWithReminderID(reminderID);
        return found ? std::optional(found->attributes()) : std::nullopt;
    }
    ReminderPtr row(const std::string& reminderID) const { return manager.fetchReminderWithReminderID(reminderID); }
    std::string title(const std::string& reminderID) const {
        const auto row = stored(reminderID);
        return row ? row->title : "(none)";
    }
    std::string titleInCloud(const std::string& reminderID) const {
        const auto& records = container.privateDatabase.records;
        const auto found = records.find({reminderID, zone});
        return found == records.end() ? "(none)" : reminderWithRecord(found->second).title;
    }

    SimulatedDispatch dispatch;
    TestEnvironment environment;
    CKRecordZoneID zone;
    const CanSupportCKSharing sharing;
    std::vector<std::string> log;
    ScopedLogSink sink{[this](std::string_view line) { log.emplace_back(line); }};
    TemporaryFolder folder;
    NSNotificationCenter notifications;
    std::vector<std::string> told;  // "Finished", "Error", "FatalError", "TimeoutError", "UnreachableError"
    std::vector<Observation> observations;
    ZNDatabase database{folder.path() / "data", {dispatch, notifications, environment}};
    ZNUserDefaults defaults{folder.path() / "configuration"};
    FakeCloudContainer container{dispatch};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    PushRelay pushes{dispatch};
    MemoryNotificationCenter userNotifications;
    LocalizedStrings strings{{"en"}};
    DateLabels labels{environment, strings};
    ClockWitness clock{folder.path() / "state", environment};
    ZNReminderManager manager{
        {database, settings, dispatch, notifications, environment, pushes, userNotifications, labels, strings, clock}};
    ScriptedReachability reachability;
    ZNCloudKitSubscriptionManager subscriptions{dispatch, container};
    std::unique_ptr<ZNStateManager> state;
    std::unique_ptr<ZNCloudKitManager> cloud;
};

}  // namespace zun
