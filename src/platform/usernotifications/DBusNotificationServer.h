#pragma once

#include <deque>
#include <memory>
#include <set>

#include "platform/foundation/Dispatch.h"
#include "platform/usernotifications/BusLoop.h"
#include "platform/usernotifications/NotificationServer.h"

namespace zun {

// org.freedesktop.Notifications 1.2 on the session bus. Asks each run of the server once what it can do: without the
// capability "actions" no buttons are sent, with "body-markup" the body is escaped. A server that does not answer
// within the tuned patience counts as one that refuses.
class DBusNotificationServer final : public NotificationServer {
  public:
    struct Sender {
        std::string applicationName;  // shown by some servers
        std::string desktopEntry;     // the application's identifier, by which servers find its icon and settings
    };

    // Asks the bus who the server is, which blocks for one round trip. The loop must not have been started, and has to
    // be stopped before this goes.
    DBusNotificationServer(BusLoop& loop, Dispatch& dispatch, Sender sender);
    ~DBusNotificationServer() override;

    void setEvents(Events events) override;
    [[nodiscard]] std::string server() const override;
    void show(const ScreenNotification& notification, std::function<void(std::optional<Shown>)> answer) override;
    void close(std::uint32_t identifier) override;

  private:
    using Answer = std::function<void(std::optional<Shown>)>;
    struct Abilities {
        bool actions = false;
        bool bodyMarkup = false;
        bool opensOnClick = true;
    };

    void listen();
    void ownerChanged(const std::string& owner);
    void call(const char* method, std::function<void(sdbus::MethodCall&)> addArguments,
              std::function<void(sdbus::MethodReply*)> answer);
    void askAbilities();
    void askCapabilities(const std::string& serverName);
    void abilitiesAre(const std::set<std::string>& capabilities, const std::string& name);
    void send(const ScreenNotification& notification, const Answer& answer);
    // Runs the block on the main queue unless this has gone.
    void onMain(std::function<void()> block);

    BusLoop& _loop;
    DispatchQueuePtr _main;
    Sender _sender;
    std::shared_ptr<bool> _isHere = std::make_shared<bool>(true);
    std::unique_ptr<sdbus::IProxy> _bus;
    std::unique_ptr<sdbus::IProxy> _server;
    std::string _busIdentifier;
    std::string _owner;
    Events _events;
    std::optional<Abilities> _abilities;
    bool _isAsking = false;
    std::deque<std::pair<ScreenNotification, Answer>> _waiting;  // until the abilities are known
    std::pair<std::uint32_t, std::string> _activationToken;      // comes before the action it belongs to
};

}  // namespace zun
