#pragma once

// What the card screen has to do with the cloud: it starts passes and shows that one runs. The program that syncs gives
// its own; NoSync serves where nothing syncs.

#include <functional>

#include "platform/foundation/NSNotificationCenter.h"

namespace zun {

class SyncStatus {
  public:
    virtual ~SyncStatus() = default;
    // Any thread.
    [[nodiscard]] virtual bool isSyncing() const = 0;
    // Calls the handler after each time that isSyncing was set, on any thread, until the observation is destroyed.
    [[nodiscard]] virtual Observation observeIsSyncing(std::function<void()> handler) = 0;
    // Starts a pass unless one runs or none may. Returns at once; any thread.
    virtual void syncChangesFromCloudKit() = 0;
};

class NoSync final : public SyncStatus {
  public:
    [[nodiscard]] bool isSyncing() const override { return false; }
    [[nodiscard]] Observation observeIsSyncing(std::function<void()>) override { return {}; }
    void syncChangesFromCloudKit() override {}

    // It has no state, so all may have the same one.
    [[nodiscard]] static NoSync& shared() {
        static NoSync one;
        return one;
    }
};

}  // namespace zun
