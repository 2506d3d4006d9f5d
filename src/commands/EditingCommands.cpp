#include <fmt/format.h>

#include "commands/Commands.h"
#include "commands/TerminalText.h"
#include "text/URLIntake.h"

namespace zun {
namespace {

int failWith(CommandContext& context, const OptionError& error) {
    return context.fail(error.message, error.isUsage ? ExitStatus::wrongUsage : ExitStatus::notPossible);
}

// What a title was understood to mean, for people.
std::string understoodLine(const CommandContext& context, const QuickEntry& entry) {
    return terminalLine(entry.title) + " \u00b7 " + terminalLine(context.quickEntry.description(entry));
}

}  // namespace

int addCommand(CommandContext& context, const ReminderOptions& options) {
    const auto understood = options.title ? context.quickEntry.read(*options.title) : std::nullopt;
    auto reminder = std::make_shared<ZNReminderObject>();
    auto named = options;
    if (understood && options.parse) {
        context.quickEntry.apply(*understood, *reminder);
        named.title.reset();
    }
    const auto requiresDate = reminder->start_date() ? RequiresDate::No : RequiresDate::Yes;
    const auto read = readFields(named, *context.environment.timeZone(), requiresDate);
    if (const auto* error = std::get_if<OptionError>(&read)) return failWith(context, *error);
    if (const auto error = applyFields(std::get<ReminderFields>(read), *reminder)) return failWith(context, *error);
    reminder->setCreated_date(context.environment.now());
    context.manager.saveReminder(reminder, ShouldSyncWithiCloud::Yes);

    if (options.parse && !understood) context.fail("No date was found in the title.");
    if (context.json) return context.printStored(reminder->reminderID().value_or(""));
    context.print(reminder->reminderID().value_or(""));
    if (!understood) return ExitStatus::done;
    const auto words = understoodLine(context, *understood);
    if (options.parse) {
        context.print(words);
    } else if (context.showsHints && !options.date) {
        context.err += fmt::format("zunctl: with --parse this would be {}\n", words);
    }
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
        } else if (const auto tooLong = textError(reminder->attributes()); tooLong && !shouldShowEditor) {
            status = failWith(context, *tooLong);
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
