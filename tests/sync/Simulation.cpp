#include "sync/Simulation.h"

#include <fmt/format.h>

#include <functional>
#include <iostream>
#include <ranges>
#include <set>

#include "platform/foundation/ISO8601.h"
#include "sync/DeviceWorld.h"

namespace zun {

namespace {

using namespace std::chrono_literals;

// What a person wrote on a device, whose store has it since.
struct Version {
    std::string title;
    OptionalDate modified;
    bool isReplacedByHand = false;  // the person changed or deleted it where it stood
};

class Life {
  public:
    Life(std::uint64_t seed, SimulationSize size, Tell tell) : _random(seed), _size(size), _tell(tell), _world(seed) {
        for (int i = 0; i < size.devices; ++i)
            _world.addDevice(fmt::format("d{}", i + 1)).signIn();
        // Most begin with something in common.
        for (int i = 0; i < 4; ++i)
            write(device());
        _world.syncUntilQuiet(2);
    }

    SimulationOutcome run() {
        for (const auto& each : _world.devices)
            each->environment.skew = std::chrono::seconds(between(-3'600, 3'600));
        for (int i = 0; i < _size.steps; ++i)
            step();
        heal();
        settle();
        check();
        for (const auto& each : _world.devices)
            count(*each);
        return std::move(_outcome);
    }

  private:
    int between(int least, int most) {
        return least + static_cast<int>(_random() % static_cast<std::uint64_t>(most - least + 1));
    }
    bool happens(int percent) { return between(1, 100) <= percent; }
    Device& device() { return *_world.devices[static_cast<std::size_t>(between(0, _size.devices - 1))]; }

    void note(const std::string& kind, const Device& where, const std::string& what = {}) {
        ++_outcome.counts["steps: " + kind];
        if (_tell == Tell::Yes)
            std::cerr << fmt::format("{:>10.3f} {} {} {}\n",
                                     std::chrono::duration<double>(_world.dispatch.uptime()).count(), where.name(),
                                     kind, what);
    }

    std::string anyOf(const ReminderState& state, bool isCompleted) {
        std::vector<std::string> ids;
        for (const auto& [id, reminder] : state)
            if (reminder.completed_date.has_value() == isCompleted) ids.push_back(id);
        return ids.empty() ? std::string()
                           : ids[static_cast<std::size_t>(between(0, static_cast<int>(ids.size()) - 1))];
    }

    // ---- what people do

    // The store has what was done when this returns: it is a promise from now on.
    void remember(Device& where, const std::string& id, const std::string& formerTitle) {
        for (auto& version : _versions[id])
            if (version.title == formerTitle) version.isReplacedByHand = true;
        if (const auto row = where.row(id)) _versions[id].push_back({row->title(), row->modified_date(), false});
    }
    std::string titleOn(Device& where, const std::string& id) {
        const auto row = where.row(id);
        return row ? row->title() : std::string();
    }

    void write(Device& where) {
        const auto id =
            where.create(fmt::format("text {}", ++_texts), happens(25) ? RepeatType::daily : RepeatType::none);
        note("create", where, id);
        remember(where, id, {});
    }
    void change(Device& where, const std::string& id) {
        const auto former = titleOn(where, id);
        where.edit(id, fmt::format("text {}", ++_texts));
        note("edit", where, id + " to " + titleOn(where, id));
        remember(where, id, former);
    }
    void complete(Device& where, const std::string& id) {
        note("complete", where, id);
        const auto before = where.state();
        where.complete(id);
        remember(where, id, titleOn(where, id));
        for (const auto& [other, reminder] : where.state())
            if (!before.contains(other)) remember(where, other, {});
    }
    void undo(Device& where, const std::string& id) {
        note("undo", where, id);
        const auto series = id.substr(0, id.find('+'));
        if (series != id) _touchedByDeletion.insert(id);
        const auto former = titleOn(where, id);
        const auto formerSeries = titleOn(where, series);
        where.undoCompletion(id);
        remember(where, id, former);
        if (series != id) remember(where, series, formerSeries);
    }
    void erase(Device& where, const std::string& id) {
        note("delete", where, id);
        const auto former = titleOn(where, id);
        _touchedByDeletion.insert(id);
        where.remove(id);
        remember(where, id, former);
    }
    void reorder(Device& where) {
        auto ids = where.openIDs();
        if (ids.size() < 2) return;
        std::ranges::shuffle(ids, _random);
        note("reorder", where);
        where.reorder(ids);
        // The whole records are written, with what they say here.
        for (const auto& id : ids)
            remember(where, id, titleOn(where, id));
    }

    void actOn(Device& where) {
        const auto state = where.state();
        const auto open = anyOf(state, false), done = anyOf(state, true);
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
        const int what = between(1, 100);
        if (what <= 55) {
            actOn(where);
            // Nobody writes twice in one instant; at equal dates the service's version would win over the later one.
            _world.settle(1ms);
        } else if (what <= 68) {
            note("sync", where);
            where.sync();
        } else if (what <= 74) {
            _isOffline[&where] = !_isOffline[&where];
            note(_isOffline[&where] ? "goes offline" : "comes online", where);
            where.setOnline(!_isOffline[&where]);
        } else if (what <= 80) {
            note(where.isSignedIn() ? "sign out" : "sign in", where);
            where.isSignedIn() ? where.signOut() : signIn(where);
        } else if (what <= 85) {
            note("restart", where);
            where.restart();
            setFaults(where);
        } else if (what <= 90) {
            note("power cut", where);
            where.crash();
            setFaults(where);
        } else if (what <= 93) {
            note("service dies", where);
            _world.stopService();
            _world.settle(std::chrono::milliseconds(between(0, 20'000)));
            _world.startService();
        } else {
            note("network changes", where);
            _faults = {between(0, 15),
                       between(0, 15),
                       between(0, 10),
                       between(0, 10),
                       between(0, 20),
                       between(0, 10),
                       std::chrono::milliseconds(between(1, 3'000))};
            setFaults(where);
        }
        // Often at once, sometimes after a while.
        const int wait = between(1, 10);
        if (wait > 4) _world.settle(std::chrono::milliseconds(wait > 8 ? between(0, 60'000) : between(0, 1'500)));
    }
    void setFaults(Device& where) { where.network().setFaults(_isHealed ? SimulatedNetwork::Faults() : _faults); }
    void signIn(Device& where) { where.signIn(); }

    // ---- the end

    void heal() {
        _isHealed = true;
        for (const auto& each : _world.devices) {
            each->environment.skew = 0s;
            setFaults(*each);
            each->setOnline(true);
            if (!each->isSignedIn()) signIn(*each);
        }
        // What waits for a retry or a watchdog comes to its end.
        _world.settle(3min);
    }

    bool agrees() {
        const auto service = _world.state();
        for (const auto& each : _world.devices) {
            if (!each->unsent().empty()) return false;
            if (!differences(withoutMissedDeletions(each->state(), service), service).empty()) return false;
        }
        return true;
    }
    // A completed row whose deletion nobody was told of stays: no check looks at those.
    ReminderState withoutMissedDeletions(ReminderState state, const ReminderState& service) {
        std::erase_if(state,
                      [&](const auto& each) { return each.second.completed_date && !service.contains(each.first); });
        return state;
    }
    void settle() {
        constexpr int mostPasses = 4;
        int passes = 0;
        do {
            for (const auto& each : _world.devices)
                each->sync();
            _world.settle(70s);
            ++passes;
        } while (passes < mostPasses && !agrees());
        ++_outcome.counts[fmt::format("agree after {} passes", passes)];
        if (!agrees() && missesOnlyWhatAStaleCheckRemoved()) {
            // Such a row is back as soon as anything in its zone changes.
            ++_outcome.counts["passed: rows removed by a stale check until their zone changed"];
            write(*_world.devices.front());
            _world.settle();
            for (const auto& each : _world.devices)
                each->sync();
            _world.settle(70s);
        }
    }
    // A save that is answered while the check's answer is under way: the check has not seen the row, which by then
    // counts as sent.
    bool missesOnlyWhatAStaleCheckRemoved() {
        const auto service = _world.state();
        for (const auto& each : _world.devices) {
            std::set<std::string> removed;
            for (const auto& version : each->database().keptVersions())
                if (version.reason == KeptReason::Deleted) removed.insert(*version.record.reminderID);
            auto expected = service;
            const auto state = each->state();
            std::erase_if(expected,
                          [&](const auto& row) { return !state.contains(row.first) && removed.contains(row.first); });
            if (!each->unsent().empty()) return false;
            if (!differences(withoutMissedDeletions(state, service), expected).empty()) return false;
        }
        return true;
    }

    void fail(const std::string& what) { _outcome.failures.push_back(what); }

    void check() {
        const auto service = _world.state();
        std::multimap<std::string, std::string> kept;
        for (const auto& each : _world.devices) {
            const auto state = each->state();
            const auto apart = differences(withoutMissedDeletions(state, service), service);
            if (!apart.empty()) fail(each->name() + " | service\n" + apart);
            for (const auto& id : each->unsent())
                fail(each->name() + " has not sent " + id);
            for (const auto& [id, reminder] : state)
                if (!service.contains(id)) ++_outcome.counts["passed: completed rows whose deletion was missed"];
            for (const auto& version : each->database().keptVersions())
                kept.emplace(*version.record.reminderID, version.record.title);
        }
        for (const auto& [id, versions] : _versions)
            checkVersions(id, versions, service, kept);
    }

    void checkVersions(const std::string& id, const std::vector<Version>& versions, const ReminderState& service,
                       const std::multimap<std::string, std::string>& kept) {
        const auto found = service.find(id);
        const auto current = found == service.end() ? std::string() : found->second.title;
        const auto [first, last] = kept.equal_range(id);
        for (const auto& version : versions) {
            if (version.isReplacedByHand || version.title == current) continue;
            const bool isKept =
                std::any_of(first, last, [&](const auto& each) { return each.second == version.title; });
            if (!isKept) fail(fmt::format("lost: \"{}\" of {}, now \"{}\"", version.title, id, current));
        }
        // The newest by the writers' clocks stands, unless somebody deleted it.
        if (_touchedByDeletion.contains(id)) return;
        // Of two at one instant it is the later one of the same person.
        auto latestFirst = versions | std::views::reverse;
        const auto newest = std::ranges::max_element(latestFirst, {}, &Version::modified);
        // By a clock that was set back since, what the person wrote over it is older.
        if (newest == latestFirst.end() || newest->isReplacedByHand || newest->title == current) return;
        fail(fmt::format("{} says \"{}\", the newest is \"{}\" of {}", id, current, newest->title,
                         newest->modified ? iso8601WithMillisecondsFromDate(*newest->modified) : "no date"));
        for (const auto& each : _world.devices)
            for (const auto& version : each->database().keptVersions())
                if (version.record.reminderID == id)
                    fail(fmt::format("  {} kept \"{}\" of {} at {}", each->name(), version.record.title,
                                     version.record.modified_date
                                         ? iso8601WithMillisecondsFromDate(*version.record.modified_date)
                                         : "no date",
                                     iso8601WithMillisecondsFromDate(version.date)));
        if (const auto row = _world.devices.front()->row(id); row && row->modified_date())
            fail("  stands with " + iso8601WithMillisecondsFromDate(*row->modified_date()));
    }

    void count(Device& where) {
        const auto& counts = where.network().counts();
        _outcome.counts["faults: lost requests"] += counts.lostRequests;
        _outcome.counts["faults: lost answers"] += counts.lostAnswers;
        _outcome.counts["faults: doubled requests"] += counts.doubled;
        _outcome.counts["faults: throttled"] += counts.throttled;
        _outcome.counts["faults: lost pushes"] += counts.lostPushes;
        _outcome.counts["requests"] += counts.requests;
    }

    std::mt19937_64 _random;
    const SimulationSize _size;
    const Tell _tell;
    SimulationOutcome _outcome;
    CloudWorld _world;
    SimulatedNetwork::Faults _faults;
    std::map<Device*, bool> _isOffline;
    bool _isHealed = false;
    int _texts = 0;
    std::map<std::string, std::vector<Version>> _versions;
    std::set<std::string> _touchedByDeletion;
};

}  // namespace

SimulationOutcome simulate(std::uint64_t seed, SimulationSize size, Tell tell) {
    return Life(seed, size, tell).run();
}

}  // namespace zun
