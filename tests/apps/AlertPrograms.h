#pragma once

// The alert service as a program beside the others of a home, on the session bus, with a schedule that a test fills
// and an application that a test plays.

#include <condition_variable>
#include <mutex>
#include <optional>

#include "apps/NotificationServerStandIn.h"
#include "apps/Programs.h"
#include "platform/foundation/Home.h"
#include "platform/foundation/SystemDispatch.h"
#include "platform/foundation/SystemEnvironment.h"
#include "platform/usernotifications/StoredNotificationCenter.h"

namespace zun {

// Waits until the name has an owner on the session bus, or none.
bool waitForName(const std::string& name, bool isOwned);

class AlertHome {
  public:
    AlertHome();

    // Returns when it serves its bus name, or has ended. Of a copy of the programs in another folder if given.
    void startService(const std::filesystem::path& program = "zun-alerts");
    // kill -9.
    void killService();
    [[nodiscard]] bool isServing() const;
    [[nodiscard]] Program& service() { return *_service; }

    // An alert that comes up in so long from now, durable on return.
    void schedule(const std::string& reminderID, std::chrono::milliseconds ahead);
    NSUserNotification alert(const std::string& reminderID, std::chrono::milliseconds ahead) const;
    // The reminders whose alerts are in the delivered list, in its order.
    [[nodiscard]] std::vector<std::string> delivered() const;
    // Waits until the delivered list has been changed to hold so many.
    bool waitForDelivered(std::size_t count) const;

    ProgramsHome programs;
    SystemEnvironment environment;
    SystemDispatch dispatch{std::make_shared<LoopQueue>()};
    StoredNotificationCenter center{Home::find(programs.folder()).data, {dispatch, environment}};

  private:
    std::unique_ptr<Program> _service;
};

// The application's side: owns the home's bus name and notes what it is asked.
class ApplicationStandIn {
  public:
    struct Action {
        std::string name;
        std::optional<std::int64_t> identifier;
        std::string reminderID, token;
    };

    explicit ApplicationStandIn(const std::string& busName);
    ~ApplicationStandIn();
    // Waits for so many; what has come if they do not.
    std::vector<Action> waitFor(std::size_t count);

  private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Action> _actions;
    std::unique_ptr<sdbus::IConnection> _connection;
    std::unique_ptr<sdbus::IObject> _object;
};

}  // namespace zun
