// The application as it is, with an ear on its main thread: each time that it was asked for an answer is a line of
// ZUN_PULSE, written when the application ends: when it was asked, on the clock of the computer's uptime in seconds,
// and then in milliseconds how long it let wait, worked, and stood in the line for a processor.

#include <fmt/format.h>

#include <QCoreApplication>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "Pulse.h"
#include "apps/zun/Application.h"
#include "shell/AppDelegate.h"

int main(int argc, char** argv) {
    std::unique_ptr<zun::Pulse> pulse;
    const char* const path = std::getenv("ZUN_PULSE");
    return zun::runApplication(argc, argv, [&](zun::AppDelegate&) {
        pulse = std::make_unique<zun::Pulse>();
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, [&] {
            const auto answers = pulse->answers();
            pulse.reset();
            if (!path) return;
            std::ofstream file(path);
            for (const auto& [knocked, wait, work, line] : answers) {
                const std::chrono::duration<double> seconds = knocked.time_since_epoch();
                file << fmt::format("{:.6f} {:.3f} {:.3f} {:.3f}\n", seconds.count(), wait.count(), work.count(),
                                    line.count());
            }
        });
    });
}
