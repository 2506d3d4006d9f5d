#include "sync/DeviceWorld.h"

#include <filesystem>
#include <utility>

#include "core/NotificationNames.h"
#include "server/model/ServiceIdentity.h"
#include "server/storage/StorageBackup.h"
#include "sync/ReminderRecord.h"

namespace zun {

namespace {

ReminderAttributes asSeen(ReminderAttributes reminder) {
    reminder.didPersistToiCloud = false;
    reminder.hasLocalChanges = false;
    reminder.shouldDeleteRemote.reset();
    reminder.sharedZoneID.reset();
    reminder.modified_date.reset();
    return reminder;
}

class SteadyReachability final : public Reachability {
  public:
    void setReachableBlock(std::function<void()> block) override { _reachable = std::move(block); }
    void setUnreachableBlock(std::function<void()> block) override { _unreachable = std::move(block); }
    void startNotifier() override {}
    NetworkStatus currentReachabilityStatus() const override { return NetworkStatus::ReachableViaWiFi; }
    void report(bool isOnline) { isOnline ? _reachable() : _unreachable(); }

  private:
    std::function<void()> _reachable, _unreachable;
};

}  // namespace

std::string differences(const ReminderState& one, const ReminderState& other) {
    std::string lines;
    const auto tell = [&](const std::string& id, const ReminderAttributes* left, const ReminderAttributes* right) {
        const auto text = [](const ReminderAttributes* reminder) {
            if (!reminder) return std::string("(none)");
            return "\"" + reminder->title + "\" rank " + std::to_string(reminder->rank) +
                   (reminder->completed_date ? " completed" : "");
        };
        lines += "  " + id + ": " + text(left) + " | " + text(right) + "\n";
    };
    for (const auto& [id, reminder] : one) {
        const auto found = other.find(id);
        if (found == other.end())
            tell(id, &reminder, nullptr);
        else if (found->second != reminder)
            tell(id, &reminder, &found->second);
    }
    for (const auto& [id, reminder] : other)
        if (!one.contains(id)) tell(id, nullptr, &reminder);
    return lines;
}

// Sees what becomes of reorderings: nobody else asks for no answer.
class Device::WatchedPushes final : public ReminderCloudPushes {
  public:
    WatchedPushes(Device& device, ReminderCloudPushes& next) : _device(device), _next(next) {}
    bool canPush() const override { return _next.canPush(); }
    void saveReminderToCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                Block withError) override {
        _next.saveReminderToCloudKit(reminder, shouldRetry, std::move(withSuccess), std::move(withError));
    }
    void updateReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override {
        _next.updateReminderOnCloudKit(reminder, shouldRetry, std::move(withSuccess), std::move(withError));
    }
    void deleteReminderOnCloudKit(const ReminderPtr& reminder, ShouldRetry shouldRetry, Block withSuccess,
                                  Block withError) override {
        _next.deleteReminderOnCloudKit(reminder, shouldRetry, std::move(withSuccess), std::move(withError));
    }
    void bulkUpdateRemindersOnCloudKit(std::vector<ReminderPtr> reminders, ShouldRetry shouldRetry,
                                       ShouldDelete shouldDelete, ShouldUpdatePersistenceStatus shouldUpdate,
                                       Block withCompletion, Block withError) override {
        // Of a split, success says little.
        if (!withCompletion && !withError && reminders.size() <= 200) {
            std::vector<std::string> sent;
            for (const auto& reminder : reminders)
                sent.push_back(reminder->reminderID().value_or(""));
            withCompletion = [&device = _device, sent, number = _device._reorderings] {
                for (const auto& id : sent)
                    if (const auto found = device._unsentOrder.find(id);
                        found != device._unsentOrder.end() && found->second <= number)
                        device._unsentOrder.erase(found);
            };
        }
        _next.bulkUpdateRemindersOnCloudKit(std::move(reminders), shouldRetry, shouldDelete, shouldUpdate,
                                            std::move(withCompletion), std::move(withError));
    }

  private:
    Device& _device;
    ReminderCloudPushes& _next;
};

// What ends with the program. Every other device keeps no cache from one run to the next.
struct Device::Running {
    Running(Device& device, const std::filesystem::path& home)
        : database(home / "data", {device._world.dispatch, notifications, device.environment}),
          defaults(home / "configuration"),
          cache(device._seed % 2 == 0 ? home / "cache" : std::filesystem::path()),
          container({*device._network, device._session, device._world.dispatch, notifications, cache}),
          settings(defaults, nullptr, nullptr),
          pushes(device._world.dispatch),
          watched(device, pushes),
          labels(device.environment, device._world.strings),
          clock(home / "state", device.environment),
          manager({database, settings, device._world.dispatch, notifications, device.environment, watched,
                   userNotifications, labels, device._world.strings, clock}),
          state(device._world.dispatch, reachability),
          subscriptions(device._world.dispatch, container) {
        settings.setShouldUseCloudKit(device._usesCloud);
        settings.save();
        for (const auto name :
             {ZNiCloudSyncFinished, ZNiCloudSyncFatalError, ZNiCloudSyncTimeoutError, ZNiCloudSyncUnreachableError})
            observations.push_back(notifications.addObserver(name, [&device, name](const NSNotification&) {
                device._told.emplace_back(name.substr(name.rfind("Sync") + 4));
            }));
        database.takeUnfinishedPushesForFailed();
        cloud = std::make_unique<ZNCloudKitManager>(
            ZNCloudKitManager::Collaborators{container, manager, settings, state, subscriptions, pushes, notifications,
                                             device.environment, device._world.dispatch, CanSupportCKSharing::Yes});
        receiver = std::make_unique<CKPushReceiver>(
            *device._network, device._session, device._world.dispatch,
            [this](const CKNotification& notification) { cloud->didReceiveRemoteNotification(notification); });
        receiver->start();
    }
    ~Running() {
        receiver.reset();
        cloud.reset();
    }

    NSNotificationCenter notifications;
    std::vector<Observation> observations;
    ZNDatabase database;
    ZNUserDefaults defaults;
    RecordCache cache;
    CloudContainer container;
    ZNSettingsObject settings;
    PushRelay pushes;
    WatchedPushes watched;
    MemoryNotificationCenter userNotifications;
    DateLabels labels;
    ClockWitness clock;
    ZNReminderManager manager;
    SteadyReachability reachability;
    ZNStateManager state;
    ZNCloudKitSubscriptionManager subscriptions;
    std::unique_ptr<ZNCloudKitManager> cloud;
    std::unique_ptr<CKPushReceiver> receiver;
};

Device::Device(CloudWorld& world, std::string name, std::uint64_t seed)
    : environment(world.environment, name),
      _world(world),
      _name(std::move(name)),
      _seed(seed),
      _home(std::make_unique<TemporaryFolder>(TemporaryFolder::Place::Memory)) {
    launch();
}

Device::~Device() = default;

void Device::launch() {
    _formerCounts = networkCounts();
    _network = std::make_unique<SimulatedNetwork>(_world.transport, _world.dispatch,
                                                  _seed * 1'000 + static_cast<std::uint64_t>(++_launches));
    _network->setOnline(_isOnline);
    _running = std::make_unique<Running>(*this, _home->path());
    _running->reachability.report(_isOnline);
}

void Device::restart() {
    _running.reset();
    launch();
}

void Device::crash() {
    // The home as it is at this moment is what is left. What the program still does on its way out, it does to the old
    // one, and off the network.
    if (!_left) takeHomeAsLeft();
    endRisk();
    _running.reset();
    _home = std::move(_left);
    launch();
}

void Device::takeHomeAsLeft() {
    _left = std::make_unique<TemporaryFolder>(TemporaryFolder::Place::Memory);
    std::filesystem::copy(_home->path(), _left->path(),
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
    _network->setOnline(false);
}

void Device::riskCrash(faults::Fault fault, std::uint64_t atCall) {
    faults::arm(fault, atCall, _home->path(), [this] { takeHomeAsLeft(); });
}

SimulatedNetwork::Counts Device::networkCounts() const {
    auto all = _formerCounts;
    if (_network) all += _network->counts();
    return all;
}

ZNReminderManager& Device::reminders() {
    return _running->manager;
}
ZNCloudKitManager& Device::cloud() {
    return *_running->cloud;
}
ZNDatabase& Device::database() {
    return _running->database;
}
ZNSettingsObject& Device::settings() {
    return _running->settings;
}

ReminderPtr Device::row(const std::string& reminderID) {
    const auto found = reminders().fetchReminderWithReminderID(reminderID);
    return found && !found->shouldDeleteRemote().value_or(false) ? found : nullptr;
}

std::string Device::create(const std::string& title, std::uint64_t repeatType) {
    ReminderAttributes attributes;
    attributes.reminderID = environment.newIdentifier();
    attributes.title = title;
    attributes.created_date = attributes.modified_date = environment.now();
    attributes.start_date = attributes.due_date = attributes.fire_date = environment.now() - std::chrono::hours(30);
    attributes.repeat_type = repeatType;
    reminders().saveReminder(std::make_shared<ZNReminderObject>(attributes), ShouldSyncWithiCloud::Yes);
    _world.dispatch.runUntilIdle();
    return *attributes.reminderID;
}

void Device::edit(const std::string& reminderID, const std::string& title) {
    if (const auto reminder = row(reminderID)) {
        reminder->setTitle(title);
        reminders().updateReminder(reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
    }
    _world.dispatch.runUntilIdle();
}

void Device::complete(const std::string& reminderID) {
    if (const auto reminder = row(reminderID)) reminders().completeReminder(reminder);
    _world.dispatch.runUntilIdle();
}

void Device::undoCompletion(const std::string& reminderID) {
    if (const auto reminder = row(reminderID)) reminders().undoCompletionForReminder(reminder);
    _world.dispatch.runUntilIdle();
}

void Device::remove(const std::string& reminderID) {
    if (const auto reminder = row(reminderID)) reminders().deleteReminder(reminder, ShouldSyncWithiCloud::Yes);
    _world.dispatch.runUntilIdle();
}

void Device::reorder(const std::vector<std::string>& reminderIDs) {
    std::vector<ReminderPtr> rows;
    for (const auto& reminderID : reminderIDs)
        if (auto found = row(reminderID)) rows.push_back(std::move(found));
    ++_reorderings;
    for (const auto& each : rows)
        _unsentOrder[each->reminderID().value_or("")] = _reorderings;
    reminders().bulkSortAndUpdate(rows, ShouldSyncWithiCloud::Yes);
    _world.dispatch.runUntilIdle();
}

void Device::setOnline(bool isOnline) {
    _isOnline = isOnline;
    _network->setOnline(isOnline);
    _running->reachability.report(isOnline);
}

void Device::setUsesCloud(bool usesCloud) {
    _usesCloud = usesCloud;
    settings().setShouldUseCloudKit(usesCloud);
    settings().save();
}

void Device::signIn(const std::string& account) {
    _session.setSession(_world.session(account, _name));
}

void Device::signOut() {
    _session.setSession(std::nullopt);
}

void Device::learnEpoch() {
    auto session = _session.currentSession();
    const auto account = _world.ask<cloud::Account>(session->deviceToken, cloud::FetchAccount{});
    if (account.accountID.empty()) return signIn();
    cloud().serviceWillHaveEpoch(account.accountID, account.serviceEpoch);
    session->serviceEpoch = account.serviceEpoch;
    _session.setSession(session);
}

ReminderState Device::state() {
    ReminderState all;
    for (const auto& reminder : reminders().fetchAllReminders()) {
        const auto attributes = reminder->attributes();
        if (attributes.shouldDeleteRemote.value_or(false)) continue;
        const bool isFirst = all.emplace(*attributes.reminderID, asSeen(attributes)).second;
        EXPECT_TRUE(isFirst) << _name << " has two of " << *attributes.reminderID;
    }
    return all;
}

std::vector<std::string> Device::openIDs() {
    std::vector<std::string> all;
    for (const auto& reminder : reminders().fetchAllIncompleteReminders())
        all.push_back(reminder->reminderID().value_or(""));
    return all;
}

std::vector<std::string> Device::unsent() {
    std::vector<std::string> all;
    for (const auto& reminder : reminders().fetchAllReminders()) {
        const auto row = reminder->attributes();
        if (!row.didPersistToiCloud || row.hasLocalChanges || row.shouldDeleteRemote.value_or(false))
            all.push_back(*row.reminderID);
    }
    return all;
}

CloudWorld::CloudWorld(std::uint64_t seed, cloud::ServiceOptions serviceOptions)
    : dispatch(seed),
      environment("2026-01-14T10:00:00Z", &dispatch),
      random(seed),
      options(std::move(serviceOptions)),
      transport(nullptr, dispatch),
      _seed(seed) {
    startService();
}

CloudWorld::~CloudWorld() {
    devices.clear();
    transport.setService(nullptr);
}

Device& CloudWorld::addDevice(const std::string& name) {
    devices.push_back(std::make_unique<Device>(*this, name, _seed * 100 + devices.size()));
    return *devices.back();
}

void CloudWorld::startService() {
    storage.start();
    service = std::make_unique<cloud::CloudService>(storage, environment, random, options);
    transport.setService(service.get());
}

void CloudWorld::stopService() {
    transport.setService(nullptr);
    service.reset();
}

void CloudWorld::backUpService() {
    cloud::backUp(rows, _backup.path() / "service");
}

void CloudWorld::restoreService() {
    stopService();
    _observers.clear();
    cloud::BackupFile(_backup.path() / "service").restoreTo(rows);
    cloud::renewServiceIdentity(rows, random);
    startService();
}

CloudSession CloudWorld::session(const std::string& account, const std::string& deviceName) {
    const auto password = "the password of " + account;
    auto signedIn = ask<cloud::SignedIn>({}, cloud::SignIn{account, password, deviceName});
    if (signedIn.deviceToken.empty())
        signedIn = ask<cloud::SignedIn>(
            {}, cloud::CreateAccount{account, account, account + "@example.org", password, {}, deviceName});
    return {signedIn.accountID, signedIn.deviceToken, signedIn.serviceEpoch};
}

ReminderState CloudWorld::state(const std::string& account) {
    auto& token = _observers[account];
    if (token.empty()) token = session(account, "observer").deviceToken;
    ReminderState all;
    for (const auto& zone : ask<cloud::Zones>(token, cloud::FetchZones{}).zones) {
        if (zone.zoneName != "Reminders") continue;
        cloud::QueryRecords query{cloud::DatabaseScope::Private, zone, "Reminder", {}};
        do {
            const auto page = ask<cloud::QueriedRecords>(token, query);
            for (const auto& record : page.records)
                all.emplace(record.recordID.recordName, asSeen(reminderWithRecord(record)));
            query.cursor = page.cursor;
        } while (!query.cursor.empty());
    }
    return all;
}

int CloudWorld::syncUntilQuiet(int most) {
    std::vector<ReminderState> before;
    for (int round = 1; round <= most; ++round) {
        for (const auto& device : devices) {
            device->sync();
            settle();
        }
        std::vector<ReminderState> now{state()};
        for (const auto& device : devices)
            now.push_back(device->state());
        if (now == before) return round;
        before = std::move(now);
    }
    return 0;
}

}  // namespace zun
