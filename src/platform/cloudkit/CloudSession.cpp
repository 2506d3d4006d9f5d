#include "platform/cloudkit/CloudSession.h"

namespace zun {
namespace {

constexpr std::string_view sessionChanged = "sessionChanged";

}  // namespace

void HeldCloudSession::setSession(std::optional<CloudSession> session) {
    {
        const std::scoped_lock lock(_mutex);
        if (_session == session) return;
        _session = std::move(session);
    }
    _changes.postNotificationName(sessionChanged);
}

std::optional<CloudSession> HeldCloudSession::currentSession() const {
    const std::scoped_lock lock(_mutex);
    return _session;
}

Observation HeldCloudSession::observeSession(std::function<void()> changed) {
    return _changes.addObserver(sessionChanged, [changed = std::move(changed)](const NSNotification&) { changed(); });
}

}  // namespace zun
