#pragma once

#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "notifications/AlertService.h"
#include "platform/foundation/Home.h"
#include "platform/usernotifications/BusLoop.h"

namespace zun {

// Hands what the user did with an alert to the application, through org.freedesktop.Application. The bus starts the
// application where it knows how; else its program is started from beside this one, and told once it is on the bus.
// Main queue only; nothing blocks.
class ApplicationActivator {
  public:
    // `homeFolder` is handed to a program that is started. The loop must not have been started, and has to
    // be stopped before this goes.
    ApplicationActivator(BusLoop& loop, Dispatch& dispatch, std::string busName,
                         std::optional<std::filesystem::path> homeFolder);
    ~ApplicationActivator();

    void activate(const AlertActivation& activation);

  private:
    void send(const AlertActivation& activation);
    void isNotTaken(const AlertActivation& activation, const sdbus::Error& error);
    void startProgram() const;

    BusLoop& _loop;
    Dispatch& _dispatch;
    DispatchQueuePtr _main;
    std::string _busName;
    std::optional<std::filesystem::path> _homeFolder;
    std::shared_ptr<bool> _isHere = std::make_shared<bool>(true);
    std::unique_ptr<sdbus::IProxy> _application;
    // For the program that was started, since that uptime.
    std::deque<std::pair<AlertActivation, std::chrono::microseconds>> _waiting;
};

}  // namespace zun
