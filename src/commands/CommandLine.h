#pragma once

// The words after "zunctl": what was asked for, read and run.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "commands/CommandContext.h"
#include "commands/Commands.h"

namespace zun {

struct CommandLine {
    std::optional<std::string> home;
    bool json = false;
    std::function<int(CommandContext&)> command;
    // The doctor comes before the store is opened, so it is no command over it.
    bool isDoctor = false;
};

// Reads the words. A status to end with if there is nothing to run: help was printed, or what is wrong.
[[nodiscard]] std::optional<int> parseCommandLine(int argc, const char* const* argv, CommandLine& line);

// Runs the command, waits until what it started is durable, and hands its answer to `print`, which says whether it
// could be written. A store that cannot be used, a write that failed or an answer that got lost is a sentence in
// `context.err`, which the caller prints, and the status 1.
[[nodiscard]] int runCommand(const CommandLine& line, CommandContext& context,
                             const std::function<bool(const std::string& out)>& print);

// For a backup or a script, half an answer is worse than none.
inline constexpr std::string_view answerNotWritten = "The answer could not be written.";

}  // namespace zun
