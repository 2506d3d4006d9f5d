#pragma once

// What a benchmark of the core works with: the store of a fresh folder on the disk and the manager over it, on a moment
// that stands still. Owns all of it and takes the folder away. One thread at a time.

#include <memory>

#include "ZunDataModel/ZNDatabase.h"
#include "core/NoCloud.h"
#include "core/ZNReminderManager.h"
#include "platform/foundation/LoopQueue.h"
#include "platform/foundation/SystemDispatch.h"
#include "support/MemoryNotificationCenter.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {

struct BenchStore {
    TemporaryFolder folder;
    TestEnvironment environment{"2026-02-01T09:00:00Z"};
    std::shared_ptr<LoopQueue> main = std::make_shared<LoopQueue>();
    SystemDispatch dispatch{main};
    NSNotificationCenter notifications;
    ZNDatabase database{folder.path(), {dispatch, notifications, environment}};
    ZNUserDefaults defaults{folder.path() / "configuration"};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    NoCloud cloud;
    LocalizedStrings strings{{"en"}};
    DateLabels labels{environment, strings};
    ClockWitness clock{folder.path() / "state", environment};
};

// The alerts are kept in memory unless another center is given.
template <class Center = MemoryNotificationCenter>
struct BenchWorld : BenchStore {
    BenchWorld() = default;
    template <class MakeCenter>
    explicit BenchWorld(const MakeCenter& makeCenter)
        : userNotifications(makeCenter(static_cast<BenchStore&>(*this))) {}

    Center userNotifications;
    ZNReminderManager manager{
        {database, settings, dispatch, notifications, environment, cloud, userNotifications, labels, strings, clock}};
};

}  // namespace zun
