#include <utility>

#include "core/AlertOperations.h"
#include "core/ZNReminderManager.h"

namespace zun {
namespace {

constexpr int nagMinutes[] = {10, 20, 30};
constexpr int weeksAhead = 1;
// With this many alerts scheduled there is nothing to top up.
constexpr std::size_t fullSchedule = 64;

}  // namespace

void ZNReminderManager::onNotificationQueue(Block operation) {
    _alertOperations->start(_notificationQueue, std::move(operation));
}

bool ZNReminderManager::shouldScheduleLocalNotificationsForReminder(const ZNReminderObject& reminder) const {
    if (reminder.completed_date() || reminder.isLocationBased() || !reminder.start_date()) return false;
    // A series goes on for the sake of what is still to come.
    const auto fireDate = reminder.fire_date();
    if (fireDate && *fireDate < _with.environment.now() && !isRepeating(reminder)) return false;
    return !reminder.shouldSuppressNotifications();
}

void ZNReminderManager::scheduleNotificationsForReminder(const ReminderPtr& reminder) {
    removeLocalNotificationsForReminder(reminder, [this, reminder] {
        if (shouldScheduleLocalNotificationsForReminder(*reminder)) addLocalNotificationsForReminder(*reminder);
    });
}

void ZNReminderManager::removeLocalNotificationsForReminder(const ReminderPtr& reminder, Block completionBlock) {
    onNotificationQueue([this, reminder, completionBlock = std::move(completionBlock)] {
        // A record that was never stored has no alerts, and its lack of an identifier is shared by others.
        if (const auto reminderID = reminder->reminderID())
            _with.userNotifications.removeScheduledNotificationsForReminderID(*reminderID);
        if (completionBlock) completionBlock();
    });
}

void ZNReminderManager::addLocalNotificationsForReminder(const ZNReminderObject& reminder) {
    const auto title = reminder.title();
    const auto dueDate = reminder.onGetDueDate();
    const auto fireDate = reminder.fire_date();
    const auto reminderID = reminder.reminderID();
    if (!reminderID || !dueDate) return;

    if (fireDate) {
        addLocalNotification(title, *fireDate, *dueDate, *reminderID);
        if (reminder.naggingNotifications()) {
            const auto calendar = NSCalendar::current(_with.environment);
            for (const int minutes : nagMinutes) {
                const auto nagDate = calendar.dateByAddingUnit(NSCalendarUnit::Minute, minutes, *fireDate);
                addLocalNotification(title, nagDate, *dueDate, *reminderID);
            }
        }
    }
    for (const auto occurrence : occurrencesToAlert(reminder)) {
        const auto alertDate = reminder.dateAdjustedForEarlyReminderType(occurrence);
        addLocalNotification(title, *alertDate, occurrence, *reminderID);
    }
}

std::vector<NSDate> ZNReminderManager::occurrencesToAlert(const ZNReminderObject& reminder) const {
    const auto start = reminder.start_date();
    if (!start) return {};
    if (const auto ordinals = reminder.customRepeatDayOrdinals()) {
        return _engine.advanceToNextWeekWithDate(*start, stepOf(reminder), *ordinals, AdvancementOption::Next, 0,
                                                 currentDateToUseForReminder(reminder));
    }
    if (!isRepeating(reminder)) return {};
    const auto now = _with.environment.now();
    const auto reference = std::max(reminder.fire_date().value_or(now), now);
    const auto maximum =
        NSCalendar::current(_with.environment).dateByAddingUnit(NSCalendarUnit::WeekOfYear, weeksAhead, reference);
    // Each unit of the rule, whatever its interval: one alert too many is better than one too few.
    return _engine.advanceDate(*start, reminder.repeat_type(), 1, 0, AdvancementOption::Next, reference, maximum);
}

void ZNReminderManager::addLocalNotification(const std::string& title, NSDate fireDate, NSDate dueDate,
                                             const std::string& reminderID) {
    // The end of time is where a series stops, not a date to be reminded on.
    if (fireDate <= _with.environment.now() || fireDate == NSDate::max()) return;
    onNotificationQueue([this, title, fireDate, dueDate, reminderID] {
        _with.userNotifications.scheduleNotification(localNotification(title, fireDate, dueDate, reminderID));
    });
}

NSUserNotification ZNReminderManager::localNotification(const std::string& title, NSDate fireDate, NSDate dueDate,
                                                        const std::string& reminderID) const {
    const auto relativeDate = _with.labels.dateAsRelativeStringWithOriginDate(dueDate, fireDate);
    NSUserNotification notification;
    notification.userInfo = {{NOTIFICATION_REMINDER_ID, reminderID}};
    notification.deliveryDate = fireDate;
    notification.deliveryTimeZone = _with.environment.timeZone()->name();
    notification.title = title;
    notification.subtitle = stringWithFormat(_with.strings.string("Reminder_Due_Format"), {relativeDate});
    notification.hasActionButton = true;
    notification.actionButtonTitle = _with.strings.string("Snooze_Action");
    notification.soundName = NSUserNotificationDefaultSoundName;
    return notification;
}

void ZNReminderManager::scheduleNotificationsForRemindersOnOrAfterDate(OptionalDate date, const Block& withCompletion) {
    const auto reminders =
        fetchAllRemindersWithNotificationsOnOrAfterDate(date.value_or(_with.environment.now()), IncludeSuppressed::No);
    for (const auto& reminder : reminders)
        scheduleNotificationsForReminder(reminder);
    if (!reminders.empty() && withCompletion) withCompletion();
}

void ZNReminderManager::updateLocalNotificationsIfNecessaryWithCompletion(const Block& /*never called*/) {
    const auto queue = _with.dispatch.makeSerialQueue("com.zunlabs.notifications.update", QualityOfService::Utility);
    _alertOperations->start(queue, [this] {
        const auto scheduled = _with.userNotifications.scheduledNotifications();
        if (scheduled.size() == fullSchedule) return;
        scheduleNotificationsForRemindersOnOrAfterDate(
            scheduled.empty() ? _with.environment.now() : scheduled.back().deliveryDate, {});
    });
}

double ZNReminderManager::earlyReminderInterval(std::uint64_t forType, std::uint64_t earlyReminderInterval) {
    return static_cast<double>(earlyReminderInterval) * static_cast<double>(earlyReminderUnit(forType).count());
}

}  // namespace zun
