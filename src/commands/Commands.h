#pragma once

// The commands of zunctl, one function each. They write their answer into the context and give the exit status. What
// they started is durable only after settle().

#include <iosfwd>
#include <string>

#include "commands/CommandContext.h"
#include "commands/ReminderFields.h"

namespace zun {

enum class ListKind { Deck, Upcoming, Completed, All };
enum class AlertKind { Scheduled, Delivered };

int addCommand(CommandContext& context, const ReminderOptions& options);
int editCommand(CommandContext& context, const std::string& reminderID, const ReminderOptions& options);
int openCommand(CommandContext& context, const std::string& url);

int listCommand(CommandContext& context, ListKind kind, const std::string& search);
int showCommand(CommandContext& context, const std::string& reminderID);
int copyCommand(CommandContext& context, const std::string& reminderID);
int countCommand(CommandContext& context);
int checkCommand(CommandContext& context, const std::string& title, const std::optional<std::string>& notes);
int occurrencesCommand(CommandContext& context, const std::string& reminderID, const std::string& from,
                       const std::string& to);

int completeCommand(CommandContext& context, const std::string& reminderID);
int uncompleteCommand(CommandContext& context, const std::string& reminderID);
int snoozeCommand(CommandContext& context, const std::string& reminderID, const std::optional<std::string>& until);
int unsnoozeCommand(CommandContext& context, const std::string& reminderID);
int skipCommand(CommandContext& context);
int deleteCommand(CommandContext& context, const std::string& reminderID);

int alertsCommand(CommandContext& context, AlertKind kind);
int sweepCommand(CommandContext& context);

int exportCommand(CommandContext& context);
int importCommand(CommandContext& context, std::istream& lines);
// Of a store's file.
int importBackupCommand(CommandContext& context, const std::string& file);

}  // namespace zun
