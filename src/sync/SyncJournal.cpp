#include "sync/SyncJournal.h"

#include <utility>

#include "core/NotificationNames.h"

namespace zun {

SyncJournal::SyncJournal(const Collaborators& collaborators)
    : _with(collaborators), _formerGood(collaborators.defaults.onGetLastSyncDate()), _guard(collaborators.dispatch) {
    const auto on = [this](std::string_view name, auto act) {
        _observations.push_back(_with.notifications.addObserver(name, _guard.guarded(act)));
    };
    on(ZNiCloudSyncError, [this](const NSNotification& notification) {
        const auto* error = std::any_cast<CKError>(&notification.object);
        if (!error) return;
        const std::lock_guard lock(_mutex);
        _error = *error;
    });
    on(ZNiCloudSyncFinished, [this](const NSNotification&) {
        passEnded(wasGood() ? SyncOutcome::Ending::Done : SyncOutcome::Ending::Failed);
    });
    on(ZNiCloudSyncTimeoutError, [this](const NSNotification&) { passEnded(SyncOutcome::Ending::TimedOut); });
    on(ZNiCloudSyncUnreachableError, [this](const NSNotification&) {
        // Of a pass that has begun the end follows; the others end with this.
        {
            const std::lock_guard lock(_mutex);
            _wasUnreachable = true;
        }
        if (!_with.manager.isPassUnderWay()) passEnded(SyncOutcome::Ending::Unreachable);
    });
    // No pass begins while a single record is being fetched, and nothing else tells when that has ended.
    _observations.push_back(_with.manager.observe({"isSyncing"}, _guard.guarded([this](std::string_view) {
        if (!_with.manager.isSyncing() && !_with.manager.isPassUnderWay()) goOn();
    })));
}

bool SyncJournal::wasGood() {
    // The end of a pass is told alike whether it went well; the date of the last good one is set only then. It may be
    // an earlier one, where the clock was set back.
    const auto good = _with.defaults.onGetLastSyncDate();
    const std::lock_guard lock(_mutex);
    return std::exchange(_formerGood, good) != good && good;
}

void SyncJournal::goOn() {
    {
        const std::lock_guard lock(_mutex);
        if (_waiting.empty()) return;
    }
    // A pass that has run out of time still drops its steps after it has said so, and would drop those of the next.
    _with.dispatch.main()->async(_guard.guarded([this] { _with.manager.syncChangesFromCloudKit(); }));
}

void SyncJournal::syncNow(Block completion) {
    const auto before = _with.manager.traffic();
    if (!_with.sessions.currentSession())
        return completion(
            {_with.sessions.knownAccount() ? SyncOutcome::Ending::KeyringLocked : SyncOutcome::Ending::NobodySignedIn,
             {},
             {}});
    {
        const std::lock_guard lock(_mutex);
        auto& list = _with.manager.isPassUnderWay() ? _waitingNext : _waiting;
        list.push_back({std::move(completion), before});
    }
    _with.manager.syncChangesFromCloudKit();
}

SyncOutcome SyncJournal::lastOutcome() const {
    const std::lock_guard lock(_mutex);
    return _last;
}

void SyncJournal::passEnded(SyncOutcome::Ending ending) {
    const auto failure = _with.manager.failure();
    std::vector<Waiting> ended;
    SyncOutcome outcome;
    {
        const std::lock_guard lock(_mutex);
        if (ending == SyncOutcome::Ending::Failed && _wasUnreachable) ending = SyncOutcome::Ending::Unreachable;
        _wasUnreachable = false;
        outcome = {ending, std::exchange(_error, std::nullopt), {}};
        if (!outcome.error) outcome.error = failure;
        if (ending == SyncOutcome::Ending::Done) outcome.error.reset();
        _last = outcome;
        ended = std::exchange(_waiting, std::exchange(_waitingNext, {}));
    }
    const auto after = _with.manager.traffic();
    for (const Waiting& each : ended) {
        outcome.traffic = {after.sent - each.before.sent, after.received - each.before.received};
        each.completion(outcome);
    }
    goOn();
}

}  // namespace zun
