#include "sync/SyncJournal.h"

#include <utility>

#include "core/NotificationNames.h"

namespace zun {

SyncJournal::SyncJournal(const Collaborators& collaborators)
    : _with(collaborators), _formerEnd(collaborators.environment.now()) {
    const auto on = [this](std::string_view name, auto act) {
        _observations.push_back(_with.notifications.addObserver(name, act));
    };
    on(ZNiCloudSyncError, [this](const NSNotification& notification) {
        const auto* error = std::any_cast<CKError>(&notification.object);
        if (!error) return;
        const std::lock_guard lock(_mutex);
        _error = *error;
    });
    on(ZNiCloudSyncFinished, [this](const NSNotification&) {
        // The end of a pass is told alike whether it went well; the date of the last good one is set only then.
        const auto good = _with.defaults.onGetLastSyncDate();
        bool isGood = false;
        {
            const std::lock_guard lock(_mutex);
            isGood = good && *good >= _formerEnd;
        }
        passEnded(isGood ? SyncOutcome::Ending::Done : SyncOutcome::Ending::Failed);
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
}

void SyncJournal::syncNow(Block completion) {
    const auto before = _with.manager.traffic();
    if (!_with.sessions.currentSession()) return completion({SyncOutcome::Ending::NobodySignedIn, {}, {}});
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
    bool goesOn = false;
    {
        const std::lock_guard lock(_mutex);
        if (ending == SyncOutcome::Ending::Failed && _wasUnreachable) ending = SyncOutcome::Ending::Unreachable;
        _wasUnreachable = false;
        outcome = {ending, std::exchange(_error, std::nullopt), {}};
        if (!outcome.error) outcome.error = failure;
        if (ending == SyncOutcome::Ending::Done) outcome.error.reset();
        _formerEnd = _with.environment.now();
        _last = outcome;
        ended = std::exchange(_waiting, std::exchange(_waitingNext, {}));
        goesOn = !_waiting.empty();
    }
    const auto after = _with.manager.traffic();
    for (const Waiting& each : ended) {
        outcome.traffic = {after.sent - each.before.sent, after.received - each.before.received};
        each.completion(outcome);
    }
    if (goesOn) _with.manager.syncChangesFromCloudKit();
}

}  // namespace zun
