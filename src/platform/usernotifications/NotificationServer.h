#pragma once

// The desktop's notification server, as the alert service needs it: org.freedesktop.Notifications in the programs, a
// scripted one in the tests. Main queue only; nothing blocks.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zun {

struct ScreenNotification {
    // What stands under this identifier is replaced and shown again; 0 for a new one.
    std::uint32_t replacesIdentifier = 0;
    // What has the same tag shall stand once only, for servers that know tags, even if its identifier got lost.
    std::string tag;
    std::string title;
    std::string body;         // plain text
    std::string openLabel;    // of the default action
    std::string actionLabel;  // of the action button; empty for none
    bool hasSound = true;
};

class NotificationServer {
  public:
    static constexpr const char* defaultAction = "default";
    static constexpr const char* buttonAction = "snooze";

    // Why a notification has left the screen; the protocol's numbers.
    enum class CloseReason : std::uint32_t { Expired = 1, Dismissed = 2, Closed = 3, Undefined = 4 };

    struct Shown {
        std::uint32_t identifier = 0;
        std::string server;  // this run of the server: another run knows nothing of the identifier
    };
    struct Events {
        // With the token that lets a window take the focus, where the server gives one.
        std::function<void(std::uint32_t identifier, const std::string& action, const std::string& activationToken)>
            actionInvoked;
        std::function<void(std::uint32_t identifier, CloseReason reason)> closed;
        // A server has appeared or has been replaced.
        std::function<void()> appeared;
    };

    virtual ~NotificationServer() = default;
    virtual void setEvents(Events events) = 0;
    // The run of the server that is there now; empty if there is none, or it has not been heard of yet.
    [[nodiscard]] virtual std::string server() const = 0;
    // The answer is empty if there is no server or it refuses. Starts the server where the bus can.
    virtual void show(const ScreenNotification& notification, std::function<void(std::optional<Shown>)> answer) = 0;
    virtual void close(std::uint32_t identifier) = 0;
};

}  // namespace zun
