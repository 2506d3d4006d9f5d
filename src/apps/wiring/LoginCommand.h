#pragma once

// The command that starts the application at login: without a window, and with this home's files.

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "platform/foundation/Home.h"

namespace zun {

[[nodiscard]] inline std::vector<std::string> loginCommand(const Home& home) {
    std::error_code error;
    const auto here = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    // The system's folders are on every path; what else a login will search is not known now.
    const bool isOnEveryPath = error || here == "/usr/bin" || here == "/usr/local/bin";
    std::vector<std::string> command = {isOnEveryPath ? "zun" : (here / "zun").string()};
    if (home.busName != applicationIdentifier) {
        command.emplace_back("--home");
        command.push_back(home.configuration.parent_path().string());
    }
    command.emplace_back("--background");
    return command;
}

}  // namespace zun
