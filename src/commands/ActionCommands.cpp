#include <fmt/format.h>

#include "commands/Commands.h"
#include "platform/foundation/ISO8601.h"

namespace zun {

int completeCommand(CommandContext& context, const std::string& reminderID) {
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    if (reminder->completed_date()) return context.fail("The reminder is completed already.");
    std::string completedID = reminderID;
    context.manager.completeReminder(
        reminder, [&](const ReminderPtr& completed) { completedID = completed->reminderID().value_or(reminderID); });
    return context.printStored(completedID);
}

int uncompleteCommand(CommandContext& context, const std::string& reminderID) {
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    if (!reminder->completed_date()) return context.fail("The reminder is not completed.");
    const bool isCopy = reminder->repeat_type() != RepeatType::none;
    context.manager.undoCompletionForReminder(reminder);
    return context.printStored(isCopy ? reminderID.substr(0, reminderID.find('+')) : reminderID);
}

int snoozeCommand(CommandContext& context, const std::string& reminderID, const std::optional<std::string>& until) {
    OptionalDate date;
    if (until && !(date = dateFromISO8601(*until, *context.environment.timeZone()))) {
        return context.fail(fmt::format("\"{}\" is not a date.", *until));
    }
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    if (reminder->completed_date()) return context.fail("The reminder is completed.");
    context.manager.snoozeReminder(reminder, date);
    return context.printStored(reminderID);
}

int unsnoozeCommand(CommandContext& context, const std::string& reminderID) {
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    // Put off to a moment before its due date, a reminder does not read as snoozed; it comes back all the same.
    context.manager.undoSnoozeForReminder(reminder);
    return context.printStored(reminderID);
}

int skipCommand(CommandContext& context) {
    auto deck = context.manager.fetchAllActiveRemindersWithDefaultSort(true);
    if (deck.size() < 2) return context.fail("There is no other card to skip to.");
    std::rotate(deck.begin(), deck.begin() + 1, deck.end());
    const auto skippedID = deck.back()->reminderID().value_or("");
    context.manager.bulkSortAndUpdate(deck, ShouldSyncWithiCloud::Yes);
    return context.printStored(skippedID);
}

int deleteCommand(CommandContext& context, const std::string& reminderID) {
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    context.manager.deleteReminder(reminder, ShouldSyncWithiCloud::Yes);
    context.manager.waitUntilSettled();
    context.printRecord(*reminder);
    return ExitStatus::done;
}

}  // namespace zun
