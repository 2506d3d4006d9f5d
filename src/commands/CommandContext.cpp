#include "commands/CommandContext.h"

#include <fmt/format.h>

#include <boost/json/serialize.hpp>

#include "commands/TerminalText.h"
#include "text/RecordJSON.h"

namespace zun {

int CommandContext::fail(std::string_view sentence, int status) {
    err += fmt::format("zunctl: {}\n", sentence);
    return status;
}

void CommandContext::print(std::string_view line) {
    out += line;
    out += '\n';
}

void CommandContext::printJSON(const boost::json::value& value) {
    print(boost::json::serialize(value));
}

void CommandContext::printRecord(const ZNReminderObject& reminder) {
    if (json) return printJSON(jsonFromRecord(reminder.attributes()));
    print(fmt::format("{}  {}", reminder.reminderID().value_or(""),
                      terminalLine(helper.subtitleStringForReminder(reminder))));
    print(terminalText(helper.reminderAsString(reminder), LineBreaks::Kept));
}

int CommandContext::printStored(const std::string& reminderID) {
    manager.waitUntilSettled();
    const auto reminder = fetch(reminderID);
    if (reminder) {
        printRecord(*reminder);
        return ExitStatus::done;
    }
    missing = fmt::format("The reminder {} is not there any more.", reminderID);
    return ExitStatus::notPossible;
}

ReminderPtr CommandContext::fetch(const std::string& reminderID) {
    return manager.fetchReminderWithReminderID(reminderID);
}

ReminderPtr CommandContext::find(const std::string& reminderID) {
    auto reminder = fetch(reminderID);
    if (reminder && !reminder->shouldDeleteRemote().value_or(false)) return reminder;
    fail(fmt::format("There is no reminder {}.", reminderID));
    return nullptr;
}

}  // namespace zun
