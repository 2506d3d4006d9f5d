#pragma once

// How the passes went, for whoever wants to tell a person: the last error until a pass ends well, and what one pass
// that was asked for came to. Any thread.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/cloudkit/CloudSession.h"
#include "sync/ZNCloudKitManager.h"

namespace zun {

struct SyncOutcome {
    enum class Ending { Done, Failed, TimedOut, Unreachable, NobodySignedIn, Hindered, KeyringLocked };
    Ending ending = Ending::Done;
    OptionalError error;  // of a failure, if the service gave one
    ZNCloudKitManager::Traffic traffic;
    std::string hindrance = {};  // what on this computer kept the pass from being begun
};

class SyncJournal {
  public:
    struct Collaborators {
        ZNCloudKitManager& manager;
        const CloudSessionSource& sessions;
        ZNUserDefaults& defaults;
        NSNotificationCenter& notifications;
        Dispatch& dispatch;
    };
    using Block = std::function<void(const SyncOutcome&)>;

    explicit SyncJournal(const Collaborators& collaborators);

    // Runs one pass to its end, after the one under way if there is one. The block runs once, on the thread of the
    // pass's end or this one. Several may wait at a time, each for a pass that began after it asked.
    void syncNow(Block completion);
    // Of the last pass that ended; Done before the first.
    [[nodiscard]] SyncOutcome lastOutcome() const;

  private:
    struct Waiting {
        Block completion;
        ZNCloudKitManager::Traffic before;
    };

    // Of the pass that has just ended.
    [[nodiscard]] bool wasGood();
    void passEnded(SyncOutcome::Ending ending);
    // Starts the pass that somebody waits for, once what is going on now has come to its end.
    void goOn();

    const Collaborators _with;
    mutable std::mutex _mutex;
    OptionalError _error;  // of the pass under way, the last of several
    bool _wasUnreachable = false;
    OptionalDate _formerGood;  // the date of the last good pass, at the end of the last one
    SyncOutcome _last;
    std::vector<Waiting> _waiting;      // for the pass under way
    std::vector<Waiting> _waitingNext;  // for the one after it
    std::vector<Observation> _observations;
    const LifeGuard _guard;
};

}  // namespace zun
