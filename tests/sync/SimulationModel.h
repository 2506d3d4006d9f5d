#pragma once

// What must be found at the end of a simulated life, by what people did in it. Every text that a device took is a
// promise: it stands, or sync kept it, or the person who wrote it replaced it. Of what devices may differ in for a
// while, each kind has its name here, and is counted.

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sync/DeviceWorld.h"

namespace zun {

class SimulationModel {
  public:
    using Counts = std::map<std::string, std::uint64_t>;

    SimulationModel(CloudWorld& world, Counts& counts) : _world(world), _counts(counts) {}

    // ---- what happened

    [[nodiscard]] static std::string titleOn(Device& where, const std::string& id);
    // The device's store has what was done by now; it said `formerTitle` before.
    void wrote(Device& where, const std::string& id, const std::string& formerTitle);
    void deleted(Device& where, const std::string& id, const std::string& formerTitle);
    // Before a deletion, to know whether nothing can undo it.
    void willDelete(Device& where, const std::string& id);
    // It was, or was not, brought back by undoing a completion: whether it stands is anybody's guess.
    void mayBeGone(const std::string& id) { _touchedByDeletion.insert(id); }
    // These went up in so many that the service had them split, and parts may fail.
    void wentUpInParts(const std::string& id) { _wentUpInParts.insert(id); }
    void serviceWasRestored();

    // ---- the end

    [[nodiscard]] bool agrees();
    // Whether each device differs from the service only by what lasts until the next change of anything. Counts it.
    [[nodiscard]] bool differsAsExpected();
    // Empty if all is as it must be.
    [[nodiscard]] std::vector<std::string> check();

  private:
    struct Version {
        std::string title;
        OptionalDate modified;
        bool isReplacedByHand = false;  // the person changed or deleted it where it stood
    };
    using Kept = std::multimap<std::string, std::string>;  // titles by identifier

    [[nodiscard]] std::optional<std::string> expected(Device& where, const std::string& id,
                                                      const ReminderAttributes* here,
                                                      const ReminderAttributes* atService);
    [[nodiscard]] ReminderState withoutMissedDeletions(ReminderState state, const ReminderState& service);
    [[nodiscard]] bool wasRemovedBySync(Device& where, const std::string& id);
    void checkDevice(Device& where, const ReminderState& service, Kept& kept);
    void checkVersions(const std::string& id, const std::vector<Version>& versions, const ReminderState& service,
                       const Kept& kept);
    void tellAll(const std::string& id);
    void fail(const std::string& what) { _failures.push_back(what); }

    CloudWorld& _world;
    Counts& _counts;
    std::map<std::string, std::vector<Version>> _versions;
    std::map<std::string, std::chrono::microseconds> _lastTouched;
    std::set<std::string> _touchedByDeletion, _goneForGood, _wentUpInParts;
    // By device: changed or deleted while its switch was off.
    std::map<std::string, std::set<std::string>> _changedQuietly, _deletedQuietly;
    bool _wasRestored = false;
    std::vector<std::string> _failures;
};

}  // namespace zun
