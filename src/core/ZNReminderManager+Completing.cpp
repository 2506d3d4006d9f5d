#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "core/ZNReminderManager.h"
#include "platform/foundation/ISO8601.h"
#include "platform/foundation/Log.h"

namespace zun {
namespace {

constexpr char copySeparator = '+';

bool hasUnit(std::uint64_t repeatType) {
    return repeatType >= RepeatType::daily && repeatType <= RepeatType::yearly;
}

DayOrdinals ordinalsOf(const ZNReminderObject& reminder) {
    return reminder.customRepeatDayOrdinals().value_or(DayOrdinals());
}

// Everything before the first "+".
std::string seriesIdentifier(const std::string& identifier) {
    return identifier.substr(0, identifier.find(copySeparator));
}

ReminderPtr completionCopy(const ReminderPtr& series, NSDate now) {
    auto copy = series->copy();
    copy->setCompleted_date(now);
    copy->setReminderID(
        fmt::format("{}{}{}", series->reminderID().value_or(""), copySeparator, iso8601WithMillisecondsFromDate(now)));
    copy->setDidPersistToiCloud(false);
    return copy;
}

}  // namespace

std::int64_t ZNReminderManager::stepOf(const ZNReminderObject& reminder) {
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(std::clamp<std::uint64_t>(reminder.customRepeatInterval(), 1, largest));
}

void ZNReminderManager::moveDates(const ReminderPtr& reminder, OptionalDate dueDate,
                                  const ZNReminderObject& adjustedBy) const {
    reminder->setDue_date(dueDate);
    reminder->onSetFireDate(adjustedBy.dateAdjustedForEarlyReminderType(reminder->onGetDueDate()));
}

void ZNReminderManager::completeReminder(const ReminderPtr& reminder, const ReminderBlock& withCompletion) {
    const auto now = _with.environment.now();
    reminder->setRank(0);
    if (!isRepeating(*reminder)) {
        reminder->setCompleted_date(now);
        update(reminder);
        if (withCompletion) withCompletion(reminder);
        return;
    }
    auto copy = completionCopy(reminder, now);
    // The identifier says milliseconds, and two occurrences completed within one are still two.
    for (auto later = now; fetchReminderWithReminderID(copy->reminderID());)
        copy = completionCopy(reminder, later += std::chrono::milliseconds(1));
    saveReminder(copy, ShouldSyncWithiCloud::Yes);
    if (withCompletion) withCompletion(copy);

    // Armed for the next visit to the place.
    if (reminder->repeat_type() == RepeatType::atLocation) return update(reminder);

    if (const auto next = findNextDueDateWithReminder(*reminder)) {
        moveDates(reminder, next, *reminder);
        reminder->setChecklist(resetChecklist(reminder->checklist()));
        update(reminder);
    } else {
        deleteReminder(reminder, ShouldSyncWithiCloud::Yes);
    }
}

void ZNReminderManager::undoCompletionForReminder(const ReminderPtr& reminder) {
    if (!isRepeating(*reminder)) {
        reminder->setCompleted_date(std::nullopt);
        if (!reminder->start_date()) {
            reminder->setDue_date(std::nullopt);
            reminder->onSetFireDate(std::nullopt);
        }
        return update(reminder);
    }

    const auto copyID = reminder->reminderID().value_or("");
    const auto seriesID = seriesIdentifier(copyID);
    const bool isOwnSeries = seriesID == copyID;  // a completed series from elsewhere, which has no copy to remove
    auto series = isOwnSeries ? nullptr : fetchReminderWithReminderID(seriesID);
    // A tombstone is gone for the user and would stay gone.
    if (series && series->shouldDeleteRemote().value_or(false)) series = nullptr;

    if (series) {
        // The early reminder may have been edited since; the copy has the one that this occurrence fired by.
        moveDates(series, findEarliestDueDateBeforeTodayWithReminder(*series), *reminder);
        series->setModified_date(_with.environment.now());
        return replaceCopyWithSeries(reminder, series, SeriesIs::StoredAlready);
    }

    const auto copy = reminder->copy();
    moveDates(reminder, findEarliestDueDateBeforeTodayWithReminder(*reminder), *reminder);
    reminder->setCompleted_date(std::nullopt);
    if (isOwnSeries) return update(reminder);
    reminder->setReminderID(seriesID);
    // The server knows the copy, and no longer the series.
    reminder->setDidPersistToiCloud(false);
    replaceCopyWithSeries(copy, reminder, SeriesIs::New);
}

void ZNReminderManager::replaceCopyWithSeries(const ReminderPtr& copy, const ReminderPtr& series, SeriesIs seriesIs) {
    removeLocalNotificationsForReminder(copy);
    const bool pushesCopy = shouldPush(copy, ShouldSyncWithiCloud::Yes);
    const bool pushesSeries = shouldPush(series, ShouldSyncWithiCloud::Yes);
    const auto ofCopy = notesOfPush(pushesCopy);
    const auto ofSeries = notesOfPush(pushesSeries && seriesIs == SeriesIs::StoredAlready);
    _writes->database().replaceCopyWithSeries(
        copy, series,
        [this, copy, pushesCopy, pushesSeries, seriesIs, ofCopy, ofSeries](const ReminderPtr& stored) {
            scheduleNotificationsForReminder(stored);
            if (pushesCopy) pushDelete(copy, ofCopy);
            if (!pushesSeries) return;
            seriesIs == SeriesIs::StoredAlready ? pushUpdate(stored, ofSeries) : pushSave(stored);
        },
        ofCopy, ofSeries);
}

OptionalDate ZNReminderManager::findNextDueDateWithReminder(const ZNReminderObject& reminder) const {
    const auto start = reminder.start_date();
    if (!start || isReminderInvalidDueToEndDate(reminder)) return std::nullopt;
    const auto current = currentDateToUseForReminder(reminder);
    const auto ordinals = ordinalsOf(reminder);

    OptionalDate candidate;
    if (!ordinals.empty()) {
        const auto dates =
            _engine.advanceToNextWeekWithDate(*start, stepOf(reminder), ordinals, AdvancementOption::Next, 0, current);
        if (!dates.empty()) candidate = dates.front();
    } else if (hasUnit(reminder.repeat_type())) {
        candidate = _engine.advanceDate(*start, reminder.repeat_type(), stepOf(reminder), 0, AdvancementOption::Next, 0,
                                        current);
    } else {
        // Without a unit there is no step to take, and the anchor again would be no progress.
        NSLog(fmt::format("The repeat type {} has no next date", reminder.repeat_type()));
    }
    // The end of time is where the engine stops, not a date to be reminded on.
    if (!candidate || *candidate == NSDate::max()) return std::nullopt;
    const auto end = reminder.end_date();
    return end && *candidate > *end ? std::nullopt : candidate;
}

OptionalDate ZNReminderManager::findEarliestDueDateBeforeTodayWithReminder(const ZNReminderObject& reminder) const {
    const auto start = reminder.start_date();
    if (!start) return std::nullopt;
    const auto now = _with.environment.now();
    const auto due = reminder.onGetDueDate();
    const auto reference = due && *due > now ? *due - std::chrono::seconds(1) : now;
    const auto ordinals = ordinalsOf(reminder);
    if (ordinals.empty()) {
        return _engine.advanceDate(*start, reminder.repeat_type(), stepOf(reminder), 0, AdvancementOption::Last, 0,
                                   reference);
    }
    const auto dates =
        _engine.advanceToNextWeekWithDate(*start, stepOf(reminder), ordinals, AdvancementOption::Last, 0, reference);
    return dates.empty() ? reminder.due_date() : OptionalDate(dates.back());
}

bool ZNReminderManager::isReminderInvalidDueToEndDate(const ZNReminderObject& reminder) const {
    const auto end = reminder.end_date();
    return end && *end < _with.environment.now();
}

NSDate ZNReminderManager::currentDateToUseForReminder(const ZNReminderObject& reminder) const {
    const auto now = _with.environment.now();
    const auto due = reminder.onGetDueDate();
    // Completed ahead of time, the occurrence that lies ahead is the one to step over.
    return due && *due > now && !reminder.onGetIsSnoozed() ? *due : now;
}

std::optional<std::string> ZNReminderManager::resetChecklist(std::optional<std::string> checklist) {
    constexpr std::string_view ticked = "[x]";
    constexpr std::string_view empty = "[ ]";
    if (!checklist) return std::nullopt;
    for (auto at = checklist->find(ticked); at != std::string::npos; at = checklist->find(ticked, at + empty.size())) {
        checklist->replace(at, ticked.size(), empty);
    }
    return checklist;
}

std::vector<NSDate> ZNReminderManager::occurrencesOfReminder(const ZNReminderObject& reminder, NSDate from, NSDate to,
                                                             std::size_t maximumCount) const {
    const auto start = reminder.start_date();
    if (!start) return {};
    const RepeatRule rule{.anchor = *start,
                          .type = reminder.repeat_type(),
                          .interval = stepOf(reminder),
                          .ordinals = ordinalsOf(reminder),
                          .end = reminder.end_date()};
    return _engine.trueOccurrences(rule, from, to, maximumCount);
}

}  // namespace zun
