#pragma once

// The cloud as zunctl has it: made only when a command asks for it, with the sync done by the running application
// where there is one. Main thread.

#include <functional>

#include "apps/wiring/Cloud.h"
#include "commands/CloudCommands.h"

namespace zun {

class CloudForCommands {
  public:
    CloudForCommands(const Home& home, Core& core);

    [[nodiscard]] CloudAccess& access() { return _access; }

  private:
    void sync(const SyncJournal::Block& completion);
    [[nodiscard]] SyncOutcome runPass();
    // Until the block that `start` is given has run. The notifying thread may touch the dispatch just after.
    void await(const std::function<void(const Block& done)>& start);

    const Home& _home;
    Core& _core;
    const Observation _keyring;
    Cloud _cloud;
    CloudAccess _access;
};

}  // namespace zun
