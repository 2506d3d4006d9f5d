#include "support/CrashingStorage.h"

#include <utility>

namespace zun::cloud {

void CrashingStorage::crashAtCommit(int number, Rows rows) {
    *_state = {number, rows, false};
}

void CrashingStorage::write(Work work, Done done) {
    if (_state->hasCrashed) return;
    const auto counted = [state = _state, work = std::move(work)](Transaction& rows) {
        const auto ending = work(rows);
        if (ending == Ending::Rollback || state->commitsLeft == 0 || --state->commitsLeft > 0) return ending;
        state->hasCrashed = true;
        return state->rows == Rows::AreDurable ? Ending::Commit : Ending::Rollback;
    };
    _inner.write(counted, [state = _state, done = std::move(done)](auto failure) {
        if (!state->hasCrashed) done(std::move(failure));
    });
}

void CrashingStorage::read(Work work, Done done) {
    if (!_state->hasCrashed) _inner.read(std::move(work), std::move(done));
}

void CrashingStorage::setWakeListener(WakeListener listener) {
    if (!listener) return _inner.setWakeListener(nullptr);
    _inner.setWakeListener([state = _state, listener = std::move(listener)](const std::string& account) {
        if (!state->hasCrashed) listener(account);
    });
}

}  // namespace zun::cloud
