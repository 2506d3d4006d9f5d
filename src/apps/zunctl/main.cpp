// The command line over the same store as the application.

#include <cstdio>
#include <memory>

#include "apps/wiring/Core.h"
#include "apps/zunctl/ApplicationCaller.h"
#include "commands/CommandLine.h"
#include "commands/DoctorCommand.h"

namespace {

void write(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

int run(const zun::CommandLine& line) {
    const auto home = zun::Home::find(line.home);
    if (line.isDoctor) {
        std::string out;
        const int status = zun::doctorCommand(home.data, zun::SystemEnvironment(), line.json, out);
        write(stdout, out);
        return status;
    }
    zun::Core core(home, std::make_shared<zun::LoopQueue>());

    zun::CommandContext context{core.environment,
                                core.database,
                                core.manager,
                                core.strings,
                                core.labels,
                                core.helper,
                                [&](const std::string& url) { return zun::ApplicationCaller(home.busName).open(url); }};
    context.json = line.json;
    return zun::runCommand(line, context, [&] {
        write(stdout, context.out);
        write(stderr, context.err);
    });
}

}  // namespace

int main(int argc, char** argv) {
    zun::CommandLine line;
    if (const auto status = zun::parseCommandLine(argc, argv, line)) return *status;
    return run(line);
}
