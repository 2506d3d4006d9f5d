#pragma once

// The alert service over a real file of alerts, with a scripted server and an alarm clock in virtual time. The service
// can be killed and started again; everything else goes on.

#include <memory>
#include <string>
#include <vector>

#include "notifications/AlertService.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "platform/usernotifications/StoredNotificationCenter.h"
#include "support/ScriptedNotificationServer.h"
#include "support/SimulatedAlarmClock.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {

class AlertWorld {
  public:
    explicit AlertWorld(std::uint64_t seed = 1, std::string_view now = "2026-01-14T10:00:00Z")
        : dispatch(seed), environment(now, &dispatch) {}

    void start() {
        service = std::make_unique<AlertService>(
            AlertService::Collaborators{.dispatch = dispatch,
                                        .environment = environment,
                                        .strings = strings,
                                        .store = store,
                                        .server = server,
                                        .alarmClock = alarmClock,
                                        .activate = [this](const AlertActivation& one) { activations.push_back(one); },
                                        .lookAtReminders =
                                            [this] {
                                                ++looks;
                                                onLook ? onLook() : store.setFilled();
                                            },
                                        .extendSeries =
                                            [this](const std::vector<std::string>& reminderIDs) {
                                                extended.push_back(reminderIDs);
                                                if (onExtend) onExtend(reminderIDs);
                                            },
                                        .tellPrograms = [] {}});
        service->start();
        dispatch.runUntilIdle();
    }
    // As a kill does: what was under way is never answered.
    void kill() { service.reset(); }
    // Time in which everything runs that comes due.
    void pass(std::chrono::microseconds time) {
        dispatch.advance(time);
        dispatch.runUntilIdle();
    }

    static NSUserNotification alert(const std::string& reminderID, NSDate date, const std::string& zone = "UTC") {
        NSUserNotification one;
        one.userInfo[NOTIFICATION_REMINDER_ID] = reminderID;
        one.deliveryDate = date;
        one.deliveryTimeZone = zone;
        one.title = reminderID;
        one.subtitle = "Due now";
        one.hasActionButton = true;
        one.actionButtonTitle = "Snooze";
        one.soundName = NSUserNotificationDefaultSoundName;
        return one;
    }
    void schedule(const std::string& reminderID, std::string_view date, const std::string& zone = "UTC") {
        center.scheduleNotification(alert(reminderID, environment.date(date), zone));
        center.synchronize();
        if (service) service->alertsChanged();
    }
    // What a person noticed: the titles in their order.
    std::vector<std::string> noticed() const {
        std::vector<std::string> all;
        for (const auto& one : server.shown)
            all.push_back(one.title);
        return all;
    }
    std::vector<std::string> delivered() const {
        std::vector<std::string> all;
        for (const auto& one : center.deliveredNotifications())
            all.push_back(one.reminderID().value_or("nobody"));
        return all;
    }

    SimulatedDispatch dispatch;
    TestEnvironment environment;
    TemporaryFolder folder;
    LocalizedStrings strings{{"en"}};
    AlertStore store{StoredNotificationCenter::storeFolder(folder.path()), environment};
    StoredNotificationCenter center{folder.path(), {dispatch, environment}};
    ScriptedNotificationServer server{dispatch};
    SimulatedAlarmClock alarmClock{dispatch, environment};
    std::vector<AlertActivation> activations;
    std::vector<std::vector<std::string>> extended;
    int looks = 0;
    std::function<void()> onLook;
    std::function<void(const std::vector<std::string>&)> onExtend;
    std::unique_ptr<AlertService> service;
};

}  // namespace zun
