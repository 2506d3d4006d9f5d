#include <fmt/format.h>

#include "commands/Commands.h"
#include "text/URLIntake.h"

namespace zun {
namespace {

int failWith(CommandContext& context, const OptionError& error) {
    return context.fail(error.message, error.isUsage ? ExitStatus::wrongUsage : ExitStatus::notPossible);
}

}  // namespace

int addCommand(CommandContext& context, const ReminderOptions& options) {
    const auto read = readFields(options, *context.environment.timeZone(), RequiresDate::Yes);
    if (const auto* error = std::get_if<OptionError>(&read)) return failWith(context, *error);

    auto reminder = std::make_shared<ZNReminderObject>();
    if (const auto error = applyFields(std::get<ReminderFields>(read), *reminder)) return failWith(context, *error);
    reminder->setCreated_date(context.environment.now());
    context.manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
    if (context.json) return context.printStored(reminder->reminderID().value_or(""));
    context.print(reminder->reminderID().value_or(""));
    return ExitStatus::done;
}

int editCommand(CommandContext& context, const std::string& reminderID, const ReminderOptions& options) {
    const auto reminder = context.find(reminderID);
    if (!reminder) return ExitStatus::notPossible;
    const auto read = readFields(options, *context.environment.timeZone(), RequiresDate::No);
    if (const auto* error = std::get_if<OptionError>(&read)) return failWith(context, *error);
    if (const auto error = applyFields(std::get<ReminderFields>(read), *reminder)) return failWith(context, *error);

    context.manager.updateReminder(reminder, ShouldUpdateDateModified::Yes, ShouldSyncWithiCloud::Yes);
    return context.printStored(reminderID);
}

int openCommand(CommandContext& context, const std::string& url) {
    int status = ExitStatus::notPossible;
    reminderFromURL(url, [&](bool shouldShowEditor, const ReminderPtr& reminder, const URLIntakeError* error) {
        if (!reminder) {
            context.err += urlIntakeLogLine(error) + "\n";
        } else if (!shouldShowEditor) {
            reminder->setCreated_date(context.environment.now());
            context.manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);
            status = context.printStored(reminder->reminderID().value_or(""));
        } else if (context.openInApplication(url)) {
            status = ExitStatus::done;
        } else {
            context.fail("Zun is not running, and without silent=0 the link asks for its editor.");
        }
    });
    return status;
}

}  // namespace zun
