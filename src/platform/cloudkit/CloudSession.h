#pragma once

// Who is signed in at the record service, as the cloud needs to know it. Values and an interface; whoever keeps the
// account implements it.

#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "platform/foundation/NSNotificationCenter.h"

namespace zun {

struct CloudSession {
    std::string accountID;    // the account's own identifier, which no change of address or token alters
    std::string deviceToken;  // secret
    // The state of the service that this device has taken in; empty before the first. With each request goes whose
    // state it builds on, so that a service which was set back is never taken for the former.
    std::string serviceEpoch = {};
    // As in ServiceAddress. What is open to a service whose certificate has changed is to be opened anew.
    std::string certificateFingerprint = {};

    [[nodiscard]] std::string credential() const {
        return serviceEpoch.empty() ? deviceToken : deviceToken + "." + serviceEpoch;
    }
    bool operator==(const CloudSession&) const = default;
};

class CloudSessionSource {
  public:
    virtual ~CloudSessionSource() = default;
    // Absent while nobody is signed in. Any thread; never blocks.
    [[nodiscard]] virtual std::optional<CloudSession> currentSession() const = 0;
    // Whose account it is, with an empty token while its secret is not at hand: a keyring that is locked, or has not
    // answered yet, has signed nobody out. Any thread; never blocks.
    [[nodiscard]] virtual std::optional<CloudSession> knownAccount() const { return currentSession(); }
    // The block runs after each change, on the thread that changed it, under no lock. The observation must end before
    // the source does.
    [[nodiscard]] virtual Observation observeSession(std::function<void()> changed) = 0;
};

// Holds what it is told. Any thread.
class HeldCloudSession final : public CloudSessionSource {
  public:
    explicit HeldCloudSession(std::optional<CloudSession> session = {}) : _session(std::move(session)) {}

    void setSession(std::optional<CloudSession> session);
    [[nodiscard]] std::optional<CloudSession> currentSession() const override;
    [[nodiscard]] Observation observeSession(std::function<void()> changed) override;

  private:
    mutable std::mutex _mutex;
    std::optional<CloudSession> _session;
    NSNotificationCenter _changes;
};

}  // namespace zun
