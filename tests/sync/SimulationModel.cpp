#include "sync/SimulationModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <ranges>

#include "platform/foundation/ISO8601.h"

namespace zun {

namespace {

using namespace std::chrono_literals;

// After which nothing of a write is under way any more: longer than the longest retry, and the slowest network.
constexpr std::chrono::minutes longestJourney{3};

std::string textOf(const OptionalDate& date) {
    return date ? iso8601WithMillisecondsFromDate(*date) : "no date";
}

}  // namespace

std::string SimulationModel::titleOn(Device& where, const std::string& id) {
    const auto row = where.row(id);
    return row ? row->title() : std::string();
}

void SimulationModel::wrote(Device& where, const std::string& id, const std::string& formerTitle) {
    for (auto& version : _versions[id])
        if (version.title == formerTitle) version.isReplacedByHand = true;
    const auto row = where.row(id);
    if (row) _versions[id].push_back({row->title(), row->modified_date(), false});
    if (row) _goneForGood.erase(id);
    if (!where.usesCloud()) _changedQuietly[where.name()].insert(id);
    _lastTouched[id] = _world.dispatch.uptime();
}

void SimulationModel::willDelete(Device& where, const std::string& id) {
    if (_wasRestored) return;  // who has not heard of it yet will send it again
    const auto touched = _lastTouched.find(id);
    if (touched == _lastTouched.end() || _world.dispatch.uptime() - touched->second < longestJourney) return;
    if (!where.usesCloud()) return;
    const auto here = where.state();
    const auto isAlike = [&](const auto& each) {
        const auto there = each->state();
        const auto found = there.find(id);
        return found != there.end() && found->second == here.at(id) && std::ranges::count(each->unsent(), id) == 0 &&
               !each->hasUnsentOrder(id) && !_changedQuietly[each->name()].contains(id);
    };
    if (std::ranges::all_of(_world.devices, isAlike)) _goneForGood.insert(id);
}

void SimulationModel::deleted(Device& where, const std::string& id, const std::string& formerTitle) {
    const bool isForGood = _goneForGood.contains(id);
    _touchedByDeletion.insert(id);
    wrote(where, id, formerTitle);
    if (where.row(id)) return;
    if (isForGood) ++_counts["deletions that nothing may undo"];
    if (!where.usesCloud()) _deletedQuietly[where.name()].insert(id);
}

void SimulationModel::serviceWasRestored() {
    _wasRestored = true;
    _goneForGood.clear();
}

// A row whose deletion the device was not told of stays if no check looks at it: it is completed, or one of more open
// ones than a request may ask for.
ReminderState SimulationModel::withoutMissedDeletions(ReminderState state, const ReminderState& service) {
    const auto open = std::ranges::count_if(state, [](const auto& each) { return !each.second.completed_date; });
    const bool isChecked = static_cast<std::size_t>(open) <= _world.options.limits.itemsPerRequest;
    std::erase_if(state, [&](const auto& each) {
        const auto& [id, reminder] = each;
        const bool mayBeMissing = _touchedByDeletion.contains(id) || _wentUpInParts.contains(id) || _wasRestored;
        return (reminder.completed_date || !isChecked) && mayBeMissing && !service.contains(id);
    });
    return state;
}

bool SimulationModel::agrees() {
    const auto service = _world.state();
    return std::ranges::all_of(_world.devices, [&](const auto& each) {
        return each->unsent().empty() && differences(withoutMissedDeletions(each->state(), service), service).empty();
    });
}

bool SimulationModel::wasRemovedBySync(Device& where, const std::string& id) {
    return std::ranges::any_of(where.database().keptVersions(), [&](const KeptVersion& version) {
        return version.reason == KeptReason::Deleted && version.record.reminderID == id;
    });
}

std::optional<std::string> SimulationModel::expected(Device& where, const std::string& id,
                                                     const ReminderAttributes* here,
                                                     const ReminderAttributes* atService) {
    if (!here) {
        // A save that is answered while the check's answer is under way: the check has not seen the row, which by then
        // counts as sent.
        if (wasRemovedBySync(where, id)) return "rows removed by a stale check until their zone changed";
        if (_deletedQuietly[where.name()].contains(id)) return "deletions with the switch off that returned";
        return std::nullopt;
    }
    if (!atService) return std::nullopt;
    if (_changedQuietly[where.name()].contains(id)) return "changes with the switch off, here until the next change";
    auto reordered = *atService;
    reordered.rank = here->rank;
    if (where.hasUnsentOrder(id) && reordered == *here)
        return "reorders whose upload failed, here until the next change";
    return std::nullopt;
}

bool SimulationModel::differsAsExpected() {
    const auto service = _world.state();
    Counts found;
    for (const auto& each : _world.devices) {
        if (!each->unsent().empty()) return false;
        const auto state = withoutMissedDeletions(each->state(), service);
        std::set<std::string> ids;
        for (const auto* side : {&state, &service})
            for (const auto& [id, reminder] : *side)
                ids.insert(id);
        for (const auto& id : ids) {
            const auto here = state.find(id), there = service.find(id);
            const auto* mine = here == state.end() ? nullptr : &here->second;
            const auto* other = there == service.end() ? nullptr : &there->second;
            if (mine && other && *mine == *other) continue;
            const auto kind = expected(*each, id, mine, other);
            if (!kind) return false;
            ++found["passed: " + *kind];
        }
    }
    for (const auto& [kind, number] : found)
        _counts[kind] += number;
    return true;
}

std::vector<std::string> SimulationModel::check() {
    const auto service = _world.state();
    Kept kept;
    for (const auto& each : _world.devices)
        checkDevice(*each, service, kept);
    for (const auto& id : _goneForGood) {
        if (!service.contains(id)) continue;
        fail(fmt::format("{} was deleted everywhere and is back", id));
    }
    for (const auto& [id, versions] : _versions)
        checkVersions(id, versions, service, kept);
    return std::move(_failures);
}

void SimulationModel::checkDevice(Device& where, const ReminderState& service, Kept& kept) {
    const auto state = where.state();
    const auto apart = differences(withoutMissedDeletions(state, service), service);
    if (!apart.empty()) fail(where.name() + " | service\n" + apart);
    for (const auto& id : where.unsent())
        fail(where.name() + " has not sent " + id);
    for (const auto& [id, reminder] : state) {
        if (service.contains(id)) continue;
        ++_counts[_wentUpInParts.contains(id) ? "passed: rows of a partly failed split that no check looks at"
                  : reminder.completed_date   ? "passed: completed rows whose deletion was missed"
                                              : "passed: deletions missed by one with too many rows for the check"];
        kept.emplace(id, reminder.title);  // where it stands
    }
    for (const auto& version : where.database().keptVersions())
        kept.emplace(*version.record.reminderID, version.record.title);
}

void SimulationModel::checkVersions(const std::string& id, const std::vector<Version>& versions,
                                    const ReminderState& service, const Kept& kept) {
    const auto found = service.find(id);
    const auto current = found == service.end() ? std::string() : found->second.title;
    const auto [first, last] = kept.equal_range(id);
    for (const auto& version : versions) {
        if (version.isReplacedByHand || version.title == current) continue;
        const bool isKept = std::any_of(first, last, [&](const auto& each) { return each.second == version.title; });
        if (!isKept) fail(fmt::format("lost: \"{}\" of {}, now \"{}\"", version.title, id, current));
    }
    // The newest by the writers' clocks stands, unless somebody deleted it.
    if (_touchedByDeletion.contains(id)) return;
    // Of two at one instant it is the later one of the same person.
    auto latestFirst = versions | std::views::reverse;
    const auto newest = std::ranges::max_element(latestFirst, {}, &Version::modified);
    // By a clock that was set back since, what the person wrote over it is older.
    if (newest == latestFirst.end() || newest->isReplacedByHand || newest->title == current) return;
    if (found == service.end() && _wentUpInParts.contains(id)) {
        ++_counts["passed: rows of a partly failed split, kept only"];
        return;
    }
    // Nobody deleted it, so the answer of the check was stale that took it from the device it was written on.
    const auto wasRemoved = [&](const KeptVersion& version) {
        return version.reason == KeptReason::Deleted && version.record.reminderID == id &&
               version.record.title == newest->title;
    };
    if (std::ranges::any_of(_world.devices, [&](const auto& each) {
            return std::ranges::any_of(each->database().keptVersions(), wasRemoved);
        })) {
        ++_counts["passed: versions removed by a stale check, kept only"];
        return;
    }
    fail(fmt::format("{} says \"{}\", the newest is \"{}\" of {}", id, current, newest->title,
                     textOf(newest->modified)));
    tellAll(id);
}

void SimulationModel::tellAll(const std::string& id) {
    for (const auto& each : _world.devices)
        for (const auto& version : each->database().keptVersions())
            if (version.record.reminderID == id)
                fail(fmt::format("  {} kept \"{}\" of {} at {}, {}", each->name(), version.record.title,
                                 textOf(version.record.modified_date), iso8601WithMillisecondsFromDate(version.date),
                                 version.reason == KeptReason::Deleted ? "deleted" : "replaced"));
    if (const auto row = _world.devices.front()->row(id)) fail("  stands with " + textOf(row->modified_date()));
}

}  // namespace zun
