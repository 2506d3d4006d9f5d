#pragma once

// Reminders with their manager and the alert service beside it, all real but for the clock, the screen and the cloud.

#include "core/ZNReminderManager.h"
#include "dates/DateLabels.h"
#include "notifications/AlertLook.h"
#include "notifications/AlertWorld.h"
#include "support/FakeCloud.h"

namespace zun {

class ReminderAlertWorld : public AlertWorld {
  public:
    explicit ReminderAlertWorld(std::uint64_t seed = 1, std::string_view now = "2026-01-14T10:00:00Z")
        : AlertWorld(seed, now) {
        onLook = [this] { look.lookAtReminders(); };
        onExtend = [this](const std::vector<std::string>& reminderIDs) { look.extendSeries(reminderIDs); };
    }

    // A dated reminder, not stored yet.
    ReminderAttributes dated(const std::string& reminderID, NSDate start) const {
        ReminderAttributes attributes;
        attributes.reminderID = attributes.title = reminderID;
        attributes.start_date = attributes.due_date = attributes.fire_date = start;
        attributes.created_date = environment.now();
        return attributes;
    }
    void save(ReminderAttributes attributes) {
        manager.saveReminder(std::make_shared<ZNReminderObject>(std::move(attributes)), ShouldSyncWithiCloud::No);
        settle();
    }
    // Past the manager, as a program leaves it that dies before it has scheduled.
    void saveAndDie(ReminderAttributes attributes) {
        database.addReminder(std::make_shared<ZNReminderObject>(std::move(attributes)));
        database.waitForWrites();
        if (service) service->remindersChanged();
    }
    ReminderPtr stored(const std::string& reminderID) const { return manager.fetchReminderWithReminderID(reminderID); }
    void settle() {
        manager.waitUntilSettled();
        center.synchronize();
        if (service) service->alertsChanged();
        dispatch.runUntilIdle();
    }
    std::vector<NSDate> scheduledDates(const std::string& reminderID) const {
        std::vector<NSDate> dates;
        for (const auto& one : center.scheduledNotificationsForReminderID(reminderID))
            dates.push_back(one.deliveryDate);
        return dates;
    }

    NSNotificationCenter notifications;
    ZNDatabase database{folder.path() / "data", {dispatch, notifications, environment}};
    ZNUserDefaults defaults{folder.path() / "configuration"};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    DateLabels labels{environment, strings};
    FakeCloud cloud;
    ClockWitness clock{folder.path() / "state", environment};
    ZNReminderManager manager{
        {database, settings, dispatch, notifications, environment, cloud, center, labels, strings, clock}};
    AlertLook look{{manager, center, store, environment}};
};

}  // namespace zun
