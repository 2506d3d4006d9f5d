// The user's alert service: keeps the scheduled alerts and delivers them, also while the application is closed.

#include <malloc.h>

#include <CLI/CLI.hpp>
#include <csignal>

#include "apps/zun-alerts/AlertProgram.h"
#include "platform/foundation/Log.h"

namespace {

int run(const std::optional<std::string>& folder) {
    const auto home = zun::Home::find(folder);
    std::unique_ptr<sdbus::IConnection> session;
    // The library reports failures by exceptions only.
    try {
        session = sdbus::createSessionBusConnection();
    } catch (const sdbus::Error&) {
        zun::NSLog("There is no session bus, and without one no alert can be shown.");
        return 1;
    }
    try {
        session->requestName(home.alertsBusName);
    } catch (const sdbus::Error&) {
        zun::NSLog("The alert service runs already.");
        return 0;
    }
    try {
        return zun::AlertProgram(home, folder, std::move(session)).run();
    } catch (const sdbus::Error&) {
        // Its end can meet any call.
        zun::NSLog("The session bus has gone.");
        return 1;
    }
}

}  // namespace

int main(int argc, char** argv) {
    // It sleeps nearly always, so memory counts more than threads that allocate side by side.
    mallopt(M_ARENA_MAX, 1);
    // The application that it may have to start is nobody's to wait for.
    std::signal(SIGCHLD, SIG_IGN);
    CLI::App app{"Delivers the alerts of Zun's reminders.", "zun-alerts"};
    std::optional<std::string> home;
    app.set_version_flag("--version", "zun-alerts " ZUN_VERSION, "Print the version");
    app.add_option("--home", home, "Keep every file in this folder (or set ZUN_HOME)")->type_name("DIR");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    return run(home);
}
