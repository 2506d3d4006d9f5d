#pragma once

// Everything below the screens, made once for a program and wired together. Members are destroyed in reverse order: the
// manager settles first, the queues go last.

#include <memory>

#include "account/AccountKeeper.h"
#include "account/KeptCloudAccount.h"
#include "apps/wiring/LoginCommand.h"
#include "core/ClockWitness.h"
#include "core/ZNReminderManager.h"
#include "dates/DateLabels.h"
#include "platform/foundation/Home.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/foundation/SystemDispatch.h"
#include "platform/foundation/SystemEnvironment.h"
#include "platform/loginitem/AutostartLoginItem.h"
#include "platform/usernotifications/StoredNotificationCenter.h"
#include "settings/CloudAccount.h"
#include "settings/ZNSettingsObject.h"
#include "sync/PushRelay.h"
#include "text/QuickEntry.h"
#include "text/ZNReminderHelper.h"

namespace zun {

struct Core {
    // The main queue is Qt's loop or a LoopQueue.
    template <typename MainQueue>
    Core(const Home& home, std::shared_ptr<MainQueue> main)
        : dispatch(std::move(main)),
          defaults(home.configuration),
          keeper({home.configuration, home.data}, nullptr, dispatch),
          account(keeper),
          loginItem(AutostartLoginItem::Folders::find(), home.busName, loginCommand(home)),
          settings(defaults, &loginItem, &account),
          syncCache(defaults),
          strings(environment.locale().preferredLanguages),
          labels(environment, strings),
          helper(environment, strings),
          quickEntry(environment, settings, strings),
          cloud(dispatch),
          database(home.data, {dispatch, notifications, environment}),
          clock(home.state, environment),
          userNotifications(home.data, {dispatch, environment}),
          manager({database, settings, dispatch, notifications, environment, cloud, userNotifications, labels, strings,
                   clock}) {}

    SystemEnvironment environment;
    SystemDispatch dispatch;
    NSNotificationCenter notifications;
    ZNUserDefaults defaults;
    AccountKeeper keeper;
    KeptCloudAccount account;
    AutostartLoginItem loginItem;
    ZNSettingsObject settings;
    StoredSyncCache syncCache;
    LocalizedStrings strings;
    DateLabels labels;
    ZNReminderHelper helper;
    QuickEntryReader quickEntry;
    PushRelay cloud;  // connected by the program that syncs; in others every push fails and leaves its mark
    ZNDatabase database;
    ClockWitness clock;
    StoredNotificationCenter userNotifications;
    ZNReminderManager manager;
};

}  // namespace zun
