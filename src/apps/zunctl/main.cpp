// The command line over the same store as the application.

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "apps/wiring/Core.h"
#include "apps/zunctl/ApplicationCaller.h"
#include "apps/zunctl/CloudForCommands.h"
#include "commands/CommandLine.h"
#include "commands/DoctorCommand.h"

namespace {

bool write(std::FILE* stream, const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
}
bool print(const std::string& out) {
    return write(stdout, out);
}

int run(const zun::CommandLine& line) {
    const auto home = zun::Home::find(line.home);
    if (line.isDoctor) {
        std::string out;
        const int status = zun::doctorCommand(home.data, zun::SystemEnvironment(), line.json, out);
        if (print(out)) return status;
        write(stderr, fmt::format("zunctl: {}\n", zun::answerNotWritten));
        return zun::ExitStatus::notPossible;
    }
    zun::Core core(home, std::make_shared<zun::LoopQueue>());
    core.settings.setDefaultsIfNecessary();
    std::unique_ptr<zun::CloudForCommands> cloud;

    zun::CommandContext context{core.environment,
                                core.database,
                                core.manager,
                                core.userNotifications,
                                core.strings,
                                core.labels,
                                core.helper,
                                core.quickEntry,
                                [&](const std::string& url) { return zun::ApplicationCaller(home.busName).open(url); },
                                [&]() -> zun::CloudAccess& {
                                    if (!cloud) cloud = std::make_unique<zun::CloudForCommands>(home, core);
                                    return cloud->access();
                                }};
    context.json = line.json;
    context.showsHints = isatty(STDERR_FILENO) != 0;
    const int status = zun::runCommand(line, context, print);
    write(stderr, context.err);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    zun::CommandLine line;
    if (const auto status = zun::parseCommandLine(argc, argv, line)) return *status;
    return run(line);
}
