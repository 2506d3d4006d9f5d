#pragma once

// The words after "zunctl": what was asked for, read and run.

#include <functional>
#include <optional>
#include <string>

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

// Runs the command and waits until what it started is durable. A store that cannot be used, or a write that failed, is
// a sentence on standard error and the status 1. Prints through `flush` before it returns.
[[nodiscard]] int runCommand(const CommandLine& line, CommandContext& context, const std::function<void()>& flush);

}  // namespace zun
