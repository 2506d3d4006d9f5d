#include "sync/Simulation.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <iostream>

#include "sync/DeviceWorld.h"
#include "sync/SimulationModel.h"

namespace zun {

namespace {

using namespace std::chrono_literals;

// With which a service splits what a crowd of reminders takes.
constexpr std::size_t fewItemsPerRequest = 200;

class Life {
  public:
    Life(std::uint64_t seed, SimulationSize size, Tell tell)
        : _random(seed), _size(size), _tell(tell), _world(seed, optionsOf(seed)) {
        _isCrowded = isCrowded(seed);
        _mayRestore = seed % 5 == 3;
        for (int i = 0; i < size.devices; ++i)
            _world.addDevice(fmt::format("d{}", i + 1)).signIn();
        // They begin with something in common.
        for (int i = 0; i < 4; ++i)
            write(device());
        for (const auto& each : _world.devices)
            each->sync();
        _world.settle();
        if (_mayRestore) _world.backUpService();
    }

    SimulationOutcome run() {
        for (const auto& each : _world.devices)
            each->environment.skew = std::chrono::seconds(between(-3'600, 3'600));
        for (int i = 0; i < _size.steps; ++i)
            step();
        heal();
        settle();
        _outcome.failures = _model.check();
        for (const auto& each : _world.devices)
            count(*each);
        return std::move(_outcome);
    }

  private:
    static bool isCrowded(std::uint64_t seed) { return seed % 50 == 7; }
    static cloud::ServiceOptions optionsOf(std::uint64_t seed) {
        auto options = cloud::quickOptions();
        // Some services forget soon.
        if (seed % 4 == 1) options.limits.keepDeletions = std::chrono::hours(1);
        if (isCrowded(seed)) options.limits.itemsPerRequest = options.limits.outlinesPerRequest = fewItemsPerRequest;
        return options;
    }

    int between(int least, int most) {
        return least + static_cast<int>(_random() % static_cast<std::uint64_t>(most - least + 1));
    }
    bool happens(int percent) { return between(1, 100) <= percent; }
    Device& device() { return *_world.devices[static_cast<std::size_t>(between(0, _size.devices - 1))]; }

    void note(const std::string& kind, const std::string& where, const std::string& what = {}) {
        ++_outcome.counts[kind];
        if (_tell == Tell::Yes)
            std::cerr << fmt::format("{:>10.3f} {} {} {}\n",
                                     std::chrono::duration<double>(_world.dispatch.uptime()).count(), where, kind,
                                     what);
    }
    void did(const std::string& what, const Device& where, const std::string& to = {}) {
        note("steps: " + what, where.name(), to);
    }
    void fault(const std::string& what, const std::string& where) { note("faults: " + what, where); }

    std::string anyOf(const ReminderState& state, bool isCompleted) {
        std::vector<std::string> ids;
        for (const auto& [id, reminder] : state)
            if (reminder.completed_date.has_value() == isCompleted) ids.push_back(id);
        return ids.empty() ? std::string()
                           : ids[static_cast<std::size_t>(between(0, static_cast<int>(ids.size()) - 1))];
    }
    std::string newText() { return fmt::format("text {}", ++_texts); }

    // ---- what people do

    // What a device took counts from here on. One that was cut off within it starts again first.
    void land(Device& where) {
        if (where.isStruck()) {
            fault(_strikeIsPowerCut ? "power cuts within a write" : "kills within a write", where.name());
            where.crash();
            setFaults(where);
        }
        where.endRisk();
    }

    void write(Device& where) {
        const auto id = where.create(newText(), happens(25) ? RepeatType::daily : RepeatType::none);
        did("create", where, id);
        land(where);
        _model.wrote(where, id, {});
    }
    void change(Device& where, const std::string& id) {
        const auto former = SimulationModel::titleOn(where, id);
        const auto text = newText();
        did("edit", where, id + " to " + text);
        where.edit(id, text);
        land(where);
        _model.wrote(where, id, former);
    }
    void complete(Device& where, const std::string& id) {
        did("complete", where, id);
        const auto before = where.state();
        where.complete(id);
        land(where);
        _model.wrote(where, id, SimulationModel::titleOn(where, id));
        for (const auto& [other, reminder] : where.state())
            if (!before.contains(other)) _model.wrote(where, other, {});
    }
    void undo(Device& where, const std::string& id) {
        did("undo", where, id);
        const auto series = id.substr(0, id.find('+'));
        if (series != id) _model.mayBeGone(id);
        const auto former = SimulationModel::titleOn(where, id);
        const auto formerSeries = SimulationModel::titleOn(where, series);
        where.undoCompletion(id);
        land(where);
        _model.wrote(where, id, former);
        if (series != id) _model.wrote(where, series, formerSeries);
    }
    void erase(Device& where, const std::string& id) {
        did("delete", where, id);
        const auto former = SimulationModel::titleOn(where, id);
        _model.willDelete(where, id);
        where.remove(id);
        land(where);
        _model.deleted(where, id, former);
    }
    void reorder(Device& where) {
        auto ids = where.openIDs();
        if (ids.size() < 2) return;
        std::ranges::shuffle(ids, _random);
        did("reorder", where);
        where.reorder(ids);
        land(where);
        // The whole records are written, with what they say here.
        for (const auto& id : ids)
            _model.wrote(where, id, SimulationModel::titleOn(where, id));
    }
    // More than one request of this service takes: a person moves in with a file, or changes all at once.
    void moveIn(Device& where) {
        std::vector<ReminderPtr> crowd;
        const int size = between(201, 430);
        for (int i = 0; i < size; ++i) {
            ReminderAttributes attributes;
            attributes.reminderID = where.environment.newIdentifier();
            attributes.title = newText();
            attributes.created_date = attributes.modified_date = where.environment.now();
            crowd.push_back(std::make_shared<ZNReminderObject>(attributes));
        }
        did("import", where, std::to_string(size));
        // What waits goes up with the crowd.
        for (const auto& id : where.unsent())
            _model.wentUpInParts(id);
        where.reminders().importReminders(crowd);
        _world.dispatch.runUntilIdle();
        land(where);
        for (const auto& each : crowd) {
            _model.wentUpInParts(*each->reminderID());
            _model.wrote(where, *each->reminderID(), {});
        }
    }
    void changeAll(Device& where) {
        std::vector<ReminderPtr> all;
        std::map<std::string, std::string> former;
        for (const auto& each : where.reminders().fetchAllIncompleteReminders()) {
            if (each->shouldDeleteRemote().value_or(false)) continue;
            former[*each->reminderID()] = each->title();
            each->setTitle(newText());
            all.push_back(each);
        }
        did("edit all", where, std::to_string(all.size()));
        where.reminders().bulkUpdateReminders(all, ShouldSyncWithiCloud::Yes, {});
        _world.dispatch.runUntilIdle();
        land(where);
        for (const auto& [id, title] : former) {
            if (all.size() > fewItemsPerRequest) _model.wentUpInParts(id);
            _model.wrote(where, id, title);
        }
    }

    void actOn(Device& where) {
        const auto state = where.state();
        const auto open = anyOf(state, false), done = anyOf(state, true);
        if (_isCrowded && happens(15)) return state.size() < fewItemsPerRequest ? moveIn(where) : changeAll(where);
        const int what = between(1, 100);
        if (what <= 25 || open.empty()) return write(where);
        if (what <= 60) return change(where, open);
        if (what <= 75) return complete(where, open);
        if (what <= 85) return erase(where, happens(70) || done.empty() ? open : done);
        if (what <= 93) return reorder(where);
        if (!done.empty()) undo(where, done);
    }

    // ---- what goes wrong

    void step() {
        auto& where = device();
        comeBack(where);
        const int what = between(1, 1'000);
        // Nobody writes twice in one instant; at equal dates the service's version would win over the later one.
        if (what <= 540) {
            if (happens(8)) riskCrash(where, 25);
            actOn(where);
            land(where);
            _world.settle(1ms);
        } else if (what <= 670) {
            if (happens(15)) riskCrash(where, 60);
            did("sync", where);
            where.sync();
            _world.settle(std::chrono::milliseconds(between(0, 2'000)));
            land(where);
        } else if (what <= 730) {
            setOnline(where, _isOffline[where.name()]);
        } else if (what <= 780) {
            did(where.isSignedIn() ? "sign out" : "sign in", where);
            where.isSignedIn() ? where.signOut() : where.signIn();
        } else if (what <= 830) {
            restart(where);
        } else if (what <= 855) {
            fault("power cuts between writes", where.name());
            where.crash();
            setFaults(where);
        } else if (what <= 875) {
            did(where.usesCloud() ? "switch off" : "switch on", where);
            where.setUsesCloud(!where.usesCloud());
        } else if (what <= 890) {
            fault("clocks set anew", where.name());
            where.environment.skew = std::chrono::seconds(between(-3'600, 3'600));
        } else if (what <= 935) {
            endService();
        } else if (what <= 945) {
            setQuota(!_isFull);
        } else if (what <= 955) {
            timePasses();
        } else if (what <= 965) {
            if (_mayRestore) restore();
        } else {
            changeNetwork();
        }
        // Often at once, sometimes after a while.
        const int wait = between(1, 10);
        if (wait > 4) _world.settle(std::chrono::milliseconds(wait > 8 ? between(0, 60'000) : between(0, 1'500)));
    }
    // Nobody stays away for long.
    void comeBack(Device& where) {
        if (_isOffline[where.name()] && happens(15)) setOnline(where, true);
        if (!where.isSignedIn() && happens(30)) {
            did("sign in", where);
            where.signIn();
        }
        if (!where.usesCloud() && happens(40)) {
            did("switch on", where);
            where.setUsesCloud(true);
        }
    }
    void setOnline(Device& where, bool isOnline) {
        did(isOnline ? "comes online" : "goes offline", where);
        _isOffline[where.name()] = !isOnline;
        where.setOnline(isOnline);
    }
    void setFaults(Device& where) { where.network().setFaults(_isHealed ? SimulatedNetwork::Faults() : _faults); }
    void riskCrash(Device& where, int mostCalls) {
        _strikeIsPowerCut = happens(50);
        where.riskCrash(_strikeIsPowerCut ? faults::Fault::PowerCut : faults::Fault::Kill,
                        static_cast<std::uint64_t>(between(1, mostCalls)));
    }
    void restart(Device& where) {
        did("restart", where);
        if (happens(30)) riskCrash(where, 60);
        where.restart();
        _world.dispatch.runUntilIdle();
        land(where);
        setFaults(where);
    }
    void changeNetwork() {
        note("steps: network changes", "all");
        _faults = {between(0, 15),
                   between(0, 15),
                   between(0, 10),
                   between(0, 10),
                   between(0, 20),
                   between(0, 10),
                   std::chrono::milliseconds(between(1, 3'000))};
        for (const auto& each : _world.devices)
            setFaults(*each);
    }
    // In the midst of what it is asked, or of writing it down.
    void endService() {
        if (happens(50)) {
            const bool isDurable = happens(50);
            _world.storage.crashAtCommit(between(1, 3), isDurable ? cloud::CrashingStorage::Rows::AreDurable
                                                                  : cloud::CrashingStorage::Rows::AreLost);
            actOn(device());
            device().sync();
            _world.settle(std::chrono::milliseconds(between(10, 3'000)));
            if (_world.storage.hasCrashed())
                fault(isDurable ? "service ends after a commit that nobody hears of" : "service ends within a commit",
                      "service");
        } else {
            device().sync();
            _world.settle(std::chrono::milliseconds(between(0, 200)));
            if (happens(30)) {
                fault("service refuses since it is stopping", "service");
                _world.service->stop();
                _world.settle(std::chrono::milliseconds(between(0, 3'000)));
            }
            fault("service ends between commits", "service");
        }
        _world.stopService();
        _world.settle(std::chrono::milliseconds(between(0, 20'000)));
        _world.startService();
    }
    void setQuota(bool isFull) {
        _isFull = isFull;
        if (isFull) fault("full quotas", "service");
        _world.options.limits.bytesPerAccount = isFull ? 1 : cloud::ServiceLimits().bytesPerAccount;
        _world.stopService();
        _world.startService();
    }
    // As long as it takes until a service that forgets soon has forgotten.
    void timePasses() {
        if (_world.options.limits.keepDeletions < std::chrono::hours(24)) fault("expired tokens", "service");
        _world.settle(2h);
    }
    void restore() {
        if (happens(50)) return _world.backUpService();
        fault("service restored from a backup", "service");
        _world.restoreService();
        _model.serviceWasRestored();
        for (const auto& each : _world.devices)
            if (each->isSignedIn() && happens(50)) each->learnEpoch();
        _mayHaveNewEpoch = true;
    }

    // ---- the end

    void heal() {
        _isHealed = true;
        if (_isFull) setQuota(false);
        for (const auto& each : _world.devices) {
            each->environment.skew = 0s;
            setFaults(*each);
            each->setOnline(true);
            if (!each->usesCloud()) each->setUsesCloud(true);
            if (!each->isSignedIn()) each->signIn();
            if (_mayHaveNewEpoch) each->learnEpoch();
        }
        // What waits for a retry or a watchdog comes to its end.
        _world.settle(3min);
    }

    // The number of passes that it took, at most four and one more for each two hundred edited reminders.
    int pass() {
        std::size_t unsent = 0;
        for (const auto& each : _world.devices)
            unsent = std::max(unsent, each->unsent().size());
        const int most = 4 + static_cast<int>(unsent / 200);
        for (int passes = 1;; ++passes) {
            for (const auto& each : _world.devices)
                each->sync();
            _world.settle(70s);
            if (passes == most || _model.agrees()) return passes;
        }
    }
    void settle() {
        ++_outcome.counts[fmt::format("agree after {} passes", pass())];
        if (_model.agrees() || !_model.differsAsExpected()) return;
        ++_outcome.counts["lives that need one change more to agree"];
        write(*_world.devices.front());
        _world.settle();
        pass();
    }

    void count(Device& where) {
        const auto counts = where.networkCounts();
        _outcome.counts["faults: lost requests"] += counts.lostRequests;
        _outcome.counts["faults: lost answers"] += counts.lostAnswers;
        _outcome.counts["faults: doubled requests"] += counts.doubled;
        _outcome.counts["faults: throttled"] += counts.throttled;
        _outcome.counts["faults: requests off the network"] += counts.offline;
        _outcome.counts["faults: lost pushes"] += counts.lostPushes;
        _outcome.counts["faults: doubled pushes"] += counts.doubledPushes;
        _outcome.counts["requests"] += counts.requests;
    }

    std::mt19937_64 _random;
    const SimulationSize _size;
    const Tell _tell;
    SimulationOutcome _outcome;
    CloudWorld _world;
    SimulationModel _model{_world, _outcome.counts};
    SimulatedNetwork::Faults _faults;
    std::map<std::string, bool> _isOffline;
    bool _isCrowded = false, _mayRestore = false, _mayHaveNewEpoch = false;
    bool _isHealed = false, _isFull = false, _strikeIsPowerCut = false;
    int _texts = 0;
};

}  // namespace

SimulationOutcome simulate(std::uint64_t seed, SimulationSize size, Tell tell) {
    return Life(seed, size, tell).run();
}

}  // namespace zun
