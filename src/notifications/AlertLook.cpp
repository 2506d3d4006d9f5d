#include "notifications/AlertLook.h"

#include <algorithm>
#include <cassert>

#include "platform/usernotifications/AlertTuning.h"

namespace zun {
namespace {

constexpr std::chrono::hours wholeDay{24};
// No calendar plans further, and every rule has an occurrence before it or none.
constexpr std::chrono::hours farAhead{24 * 366 * 100};

bool repeats(const ZNReminderObject& reminder) {
    return reminder.repeat_type() != RepeatType::none || reminder.customRepeatDayOrdinals().has_value();
}

// What has never been modified was last changed when it was made.
NSDate lastChange(const ZNReminderObject& reminder) {
    return reminder.modified_date().value_or(reminder.created_date().value_or(NSDate::max()));
}

}  // namespace

std::vector<ReminderPtr> AlertLook::fetch(std::string_view format, std::vector<NSPredicate::Argument> arguments) const {
    const auto predicate = NSPredicate::predicateWithFormat(format, std::move(arguments));
    assert(predicate);
    return _with.manager.fetchAllRemindersWithPredicate(predicate, {}, ReturnAsReminderObject::Yes).reminders;
}

void AlertLook::lookAtReminders() {
    const auto now = _with.environment.now();
    const auto series = fetch(
        "completed_date = nil AND start_date != nil AND (repeat_type > 0 OR customRepeatDayOrdinals != nil) AND "
        "shouldSuppressNotifications = %@ AND (shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
        {false, false});
    const bool clockWasWrong = _with.store.forgetShownAfter(now, now + alertTuning::wrongClock);
    if (clockWasWrong || _with.store.mustBeFilled()) fill(series);
    scheduleOwed();
    for (const auto& reminder : series)
        extend(reminder);
    _with.store.forgetShownBefore(now - alertTuning::rememberShown);
    _with.center.synchronize();
    _with.store.setLookedAt(now);
}

void AlertLook::extendSeries(const std::vector<std::string>& reminderIDs) {
    for (const auto& reminderID : reminderIDs) {
        const auto reminder = _with.manager.fetchReminderWithReminderID(reminderID);
        if (reminder && repeats(*reminder)) extend(reminder);
    }
    _with.center.synchronize();
}

void AlertLook::fill(const std::vector<ReminderPtr>& series) {
    const auto now = _with.environment.now();
    _with.manager.scheduleNotificationsForRemindersOnOrAfterDate(now, {});
    for (const auto& reminder : series) {
        // Those that fire later are among the ones above, and scheduled twice they would have every alert twice.
        if (!reminder->fire_date() || *reminder->fire_date() < now)
            _with.manager.scheduleNotificationsForReminder(reminder);
    }
    _with.manager.waitUntilSettled();
    _with.center.synchronize();
    _with.store.setFilled();
}

bool AlertLook::hasAlert(const std::string& reminderID, NSDate fireDate) const {
    if (_with.center.wasDelivered(reminderID, fireDate)) return true;
    const auto scheduled = _with.center.scheduledNotificationsForReminderID(reminderID);
    return std::ranges::any_of(scheduled, [&](const auto& one) { return one.deliveryDate == fireDate; });
}

void AlertLook::scheduleOwed() {
    const auto now = _with.environment.now();
    // What fired before the last look was looked at then, unless the clock has been set since.
    const auto since = std::max(_with.store.lookedAt().value_or(now), now - wholeDay);
    const auto soon = fetch(
        "fire_date > %@ AND fire_date <= %@ AND completed_date = nil AND shouldSuppressNotifications = %@ AND "
        "(shouldDeleteRemote = %@ OR shouldDeleteRemote = nil)",
        {since, now + alertTuning::owedHorizon, false, false});
    bool isAnyScheduled = false;
    for (const auto& reminder : soon) {
        const auto fireDate = *reminder->fire_date();
        const auto reminderID = reminder->reminderID().value_or("");
        if (fireDate > now) {
            if (!_with.manager.shouldScheduleLocalNotificationsForReminder(*reminder) || hasAlert(reminderID, fireDate))
                continue;
            _with.manager.scheduleNotificationsForReminder(reminder);
            isAnyScheduled = true;
        } else if (lastChange(*reminder) < fireDate && reminder->start_date() && !reminder->isLocationBased() &&
                   !hasAlert(reminderID, fireDate)) {
            // Its moment passed while nobody knew of it: it is due at once.
            _with.center.scheduleNotification(_with.manager.localNotification(
                reminder->title(), fireDate, reminder->onGetDueDate().value_or(fireDate), reminderID));
        }
    }
    if (isAnyScheduled) _with.manager.waitUntilSettled();
}

void AlertLook::extend(const ReminderPtr& reminder) {
    if (!_with.manager.shouldScheduleLocalNotificationsForReminder(*reminder)) return;
    const auto reminderID = reminder->reminderID().value_or("");
    const auto now = _with.environment.now();
    const auto last = _with.store.lastDeliveryDate(reminderID);
    if (last && *last > now + alertTuning::seriesRunsOut) return;

    // An early alert comes before its occurrence by so much.
    const auto after = std::max(last.value_or(now), now);
    const auto lead = after - reminder->dateAdjustedForEarlyReminderType(after).value_or(after);
    const auto occurrences =
        _with.manager.occurrencesOfReminder(*reminder, after + lead, now + farAhead, alertTuning::seriesBatch);
    bool isAnyAdded = false;
    for (const auto& occurrence : occurrences) {
        const auto fireDate = reminder->dateAdjustedForEarlyReminderType(occurrence).value_or(occurrence);
        if (fireDate <= after) continue;
        // A rare series has at least its next one.
        if (isAnyAdded && fireDate > now + alertTuning::seriesHorizon) break;
        _with.center.scheduleNotification(
            _with.manager.localNotification(reminder->title(), fireDate, occurrence, reminderID));
        isAnyAdded = true;
    }
}

}  // namespace zun
