#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "apps/zun-alerts/ApplicationActivator.h"
#include "notifications/AlertService.h"
#include "platform/foundation/Home.h"
#include "platform/foundation/SystemDispatch.h"
#include "platform/foundation/SystemEnvironment.h"
#include "platform/usernotifications/DBusNotificationServer.h"
#include "platform/usernotifications/FileWatcher.h"
#include "platform/usernotifications/TimerAlarmClock.h"

namespace zun {

// The alert service with everything around it: the clock, the bus, the files it follows. The reminders' own store is
// opened only for a look at them and closed again, so that the resident part stays small.
class AlertProgram {
  public:
    AlertProgram(const Home& home, std::optional<std::filesystem::path> homeFolder,
                 std::unique_ptr<sdbus::IConnection> session);
    ~AlertProgram();

    // Until the session ends or the home is taken away. Gives the exit status.
    int run();

  private:
    enum class End { None, BusLost, HomeGone };

    void listenToSystem();
    void look(const std::vector<std::string>* series);
    void end(End how);
    // A block for other threads that runs the action on the main queue.
    std::function<void()> posting(std::function<void()> action);

    const Home _home;
    SystemEnvironment _environment;
    std::shared_ptr<LoopQueue> _loop;
    SystemDispatch _dispatch;
    LocalizedStrings _strings;
    AlertStore _store;
    End _end = End::None;
    BusLoop _bus;
    DBusNotificationServer _server;
    TimerAlarmClock _clock;
    ApplicationActivator _activator;
    AlertService _service;
    std::unique_ptr<FileWatcher> _files;
};

}  // namespace zun
