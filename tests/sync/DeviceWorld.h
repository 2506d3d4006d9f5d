#pragma once

// Devices of one account around one service, all in one virtual time: each with its own store, clock and network, which
// a test can break, and the same verbs. What a device shows and what the service holds can be compared as a whole.

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/ZNReminderManager.h"
#include "platform/cloudkit/CKPushReceiver.h"
#include "platform/cloudkit/CloudContainer.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "server/transport/InProcessTransport.h"
#include "support/CrashingStorage.h"
#include "support/FaultySystem.h"
#include "support/MemoryNotificationCenter.h"
#include "support/ServiceWorld.h"
#include "support/SimulatedNetwork.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

// What users see of all reminders, by identifier: without the marks and without `modified_date`.
using ReminderState = std::map<std::string, ReminderAttributes>;
// One line for each reminder that the two do not have alike.
[[nodiscard]] std::string differences(const ReminderState& one, const ReminderState& other);

class CloudWorld;

// The world's time, off by what this device's clock is off, and identifiers that no other device gives.
class DeviceEnvironment final : public Environment {
  public:
    DeviceEnvironment(const Environment& world, std::string name) : _world(world), _name(std::move(name)) {}
    NSDate now() const override { return _world.now() + skew; }
    BootTime bootTime() const override { return _world.bootTime(); }
    std::shared_ptr<const NSTimeZone> timeZone() const override { return _world.timeZone(); }
    NSLocale locale() const override { return _world.locale(); }
    std::string newIdentifier() const override { return _name + "-" + std::to_string(++_last); }

    std::chrono::microseconds skew{0};

  private:
    const Environment& _world;
    const std::string _name;
    mutable int _last = 0;
};

class Device {
  public:
    Device(CloudWorld& world, std::string name, std::uint64_t seed);
    ~Device();

    [[nodiscard]] const std::string& name() const { return _name; }
    [[nodiscard]] ZNReminderManager& reminders();
    [[nodiscard]] ZNCloudKitManager& cloud();
    [[nodiscard]] ZNDatabase& database();
    [[nodiscard]] ZNSettingsObject& settings();
    [[nodiscard]] SimulatedNetwork& network() { return *_network; }
    // Of all its runs.
    [[nodiscard]] SimulatedNetwork::Counts networkCounts() const;
    [[nodiscard]] const std::vector<std::string>& told() const { return _told; }

    std::string create(const std::string& title, std::uint64_t repeatType = 0);
    void edit(const std::string& reminderID, const std::string& title);
    void complete(const std::string& reminderID);
    void undoCompletion(const std::string& reminderID);
    void remove(const std::string& reminderID);
    void reorder(const std::vector<std::string>& reminderIDs);
    void sync() { cloud().syncChangesFromCloudKit(); }

    void setOnline(bool isOnline);
    // The user's switch.
    void setUsesCloud(bool usesCloud);
    [[nodiscard]] bool usesCloud() const { return _usesCloud; }
    void signIn(const std::string& account = "anna");
    void signOut();
    // What the account does when the service refuses a request for its epoch: learns the present one. A service that
    // does not know the device is signed in to anew.
    void learnEpoch();
    [[nodiscard]] bool isSignedIn() const { return _session.currentSession().has_value(); }
    // Ends the program properly, or by cutting the power, and starts it again.
    void restart();
    void crash();
    // Until crash() or the end of the risk: of its calls that change files the n-th is the last one that counts, and is
    // done by half or, in a power cut, lost with what was not synced. The program does not notice, but from then on
    // it is off the network, and crash() goes on from what was left.
    void riskCrash(faults::Fault fault, std::uint64_t atCall);
    void endRisk() { faults::disarm(); }
    [[nodiscard]] bool isStruck() const { return _left != nullptr; }

    [[nodiscard]] ReminderPtr row(const std::string& reminderID);
    [[nodiscard]] ReminderState state();
    // What is open, in the order of the cards.
    [[nodiscard]] std::vector<std::string> openIDs();
    // Rows that wait for something to be sent.
    [[nodiscard]] std::vector<std::string> unsent();
    // Its place was changed by a reordering of which no upload has succeeded.
    [[nodiscard]] bool hasUnsentOrder(const std::string& reminderID) const { return _unsentOrder.contains(reminderID); }

    DeviceEnvironment environment;

  private:
    struct Running;
    class WatchedPushes;
    void launch();
    void takeHomeAsLeft();

    CloudWorld& _world;
    const std::string _name;
    const std::uint64_t _seed;
    std::unique_ptr<TemporaryFolder> _home;
    HeldCloudSession _session;
    std::vector<std::string> _told;
    bool _isOnline = true, _usesCloud = true;
    int _launches = 0;
    std::unique_ptr<TemporaryFolder> _left;
    std::map<std::string, int> _unsentOrder;  // with the number of the reordering
    int _reorderings = 0;
    SimulatedNetwork::Counts _formerCounts;
    std::unique_ptr<SimulatedNetwork> _network;
    std::unique_ptr<Running> _running;
};

class CloudWorld {
  public:
    explicit CloudWorld(std::uint64_t seed = 1, cloud::ServiceOptions serviceOptions = cloud::quickOptions());
    ~CloudWorld();

    Device& addDevice(const std::string& name);
    void settle(std::chrono::microseconds time = std::chrono::seconds(5)) { dispatch.advance(time); }
    // The service's process dies, what it answered stays. It starts with the options as they are then.
    void stopService();
    void startService();
    // All that it holds, and back to that.
    void backUpService();
    void restoreService();
    // What the service holds of an account.
    [[nodiscard]] ReminderState state(const std::string& account = "anna");
    // A device token of the account, which is made where it does not exist.
    CloudSession session(const std::string& account, const std::string& deviceName);
    template <class Expected>
    Expected ask(const std::string& deviceToken, cloud::Request request) {
        std::optional<cloud::Answer> answer;
        transport.send(deviceToken, std::move(request), [&](cloud::Answer given) { answer = std::move(given); });
        dispatch.waitUntil([&] { return answer.has_value(); });
        const auto* error = std::get_if<CKError>(&*answer);
        if (!error) return std::get<Expected>(*std::move(answer));
        if (error->code != CKErrorCode::NotAuthenticated) ADD_FAILURE() << error->description;
        return {};
    }
    // Every device syncs, in turn, until neither they nor the service change; gives the number of rounds, or 0 after
    // `most` of them.
    int syncUntilQuiet(int most);
    // Requests that have reached the service.
    [[nodiscard]] std::uint64_t requests() const { return service->counters().requests; }

    SimulatedDispatch dispatch;
    TestEnvironment environment;
    const LocalizedStrings strings{{"en"}};
    cloud::SeededRandomSource random;
    cloud::MemoryStorage rows;
    cloud::CrashingStorage storage{rows};
    cloud::ServiceOptions options;
    std::unique_ptr<cloud::CloudService> service;
    InProcessTransport transport;
    std::vector<std::unique_ptr<Device>> devices;

  private:
    ScopedLogSink _sink{[](std::string_view) {}};
    const std::uint64_t _seed;
    TemporaryFolder _backup{TemporaryFolder::Place::Memory};
    std::map<std::string, std::string> _observers;  // tokens with which the world looks, by account
};

}  // namespace zun
