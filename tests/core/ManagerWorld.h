#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/ZNReminderManager.h"
#include "platform/foundation/SimulatedDispatch.h"
#include "support/FakeCloud.h"
#include "support/MemoryNotificationCenter.h"
#include "support/TemporaryFolder.h"
#include "support/TestEnvironment.h"

namespace zun {

// A manager over a real store in a folder of its own, in virtual time, with a cloud and alerts that take notes
// and English texts.
class ManagerWorld {
  public:
    explicit ManagerWorld(std::uint64_t seed = 1, std::string_view now = "2026-01-14T10:00:00Z")
        : dispatch(seed), environment(now, &dispatch) {}

    NSDate at(std::string_view text) const { return environment.date(text); }

    // Stores the record as it is, past the manager.
    ReminderPtr store(ReminderAttributes attributes) {
        auto reminder = std::make_shared<ZNReminderObject>(std::move(attributes));
        database.addReminder(reminder);
        database.waitForWrites();
        return reminder;
    }
    // A dated record whose due and fire date follow from the start date.
    ReminderAttributes dated(std::string_view reminderID, std::string_view start) const {
        ReminderAttributes attributes;
        attributes.reminderID = std::string(reminderID);
        attributes.title = std::string(reminderID);
        attributes.start_date = attributes.due_date = attributes.fire_date = at(start);
        attributes.created_date = at("2026-01-01T00:00:00Z");
        return attributes;
    }

    // Lets everything that was started come to its end, without moving time.
    void settle() {
        manager.waitUntilSettled();
        dispatch.runUntilIdle();
    }
    // The record as it is stored now; null if there is none.
    ReminderPtr stored(std::string_view reminderID) const {
        return manager.fetchReminderWithReminderID(std::string(reminderID));
    }
    std::vector<std::string> storedIDs() const { return ids(manager.fetchAllReminders()); }
    // When the reminder's alerts come, by the clock on the wall: "2026-01-14T09:00:00".
    std::vector<std::string> alerts(const std::string& reminderID) const {
        std::vector<std::string> dates;
        for (const auto& notification : userNotifications.scheduledNotificationsForReminderID(reminderID)) {
            const auto wall = environment.timeZone()->localTime(notification.deliveryDate);
            auto text = iso8601FromDate(NSDate(wall.time_since_epoch()));
            text.pop_back();  // the "Z"
            dates.push_back(std::move(text));
        }
        return dates;
    }
    static std::vector<std::string> ids(const std::vector<ReminderPtr>& reminders) {
        std::vector<std::string> all;
        for (const auto& reminder : reminders)
            all.push_back(reminder->reminderID().value_or("nobody"));
        return all;
    }

    SimulatedDispatch dispatch;
    TestEnvironment environment;
    TemporaryFolder folder;
    NSNotificationCenter notifications;
    ZNDatabase database{folder.path() / "data", {dispatch, notifications, environment}};
    ZNUserDefaults defaults{folder.path() / "configuration"};
    ZNSettingsObject settings{defaults, nullptr, nullptr};
    FakeCloud cloud;
    MemoryNotificationCenter userNotifications;
    LocalizedStrings strings{{"en"}};
    DateLabels labels{environment, strings};
    ClockWitness clock{folder.path() / "state", environment};
    ZNReminderManager manager{
        {database, settings, dispatch, notifications, environment, cloud, userNotifications, labels, strings, clock}};
};

}  // namespace zun
