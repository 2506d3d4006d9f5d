#pragma once

// A notification server that does what a test tells it to, with a screen that can be looked at. Answers come later, on
// the main queue.

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/Dispatch.h"
#include "platform/usernotifications/NotificationServer.h"

namespace zun {

class ScriptedNotificationServer final : public NotificationServer {
  public:
    enum class Mood { Healthy, Absent, Refuses };

    explicit ScriptedNotificationServer(Dispatch& dispatch) : _main(dispatch.main()) {}

    void setEvents(Events events) override { _events = std::move(events); }
    std::string server() const override { return mood == Mood::Absent ? "" : session + "/" + std::to_string(_run); }
    void show(const ScreenNotification& notification, std::function<void(std::optional<Shown>)> answer) override {
        if (mood != Mood::Healthy) return _main->async([answer] { answer(std::nullopt); });
        // As servers do: an identifier that is not known any more is not brought back.
        const bool isKnown = screen.contains(notification.replacesIdentifier);
        const auto identifier = isKnown ? notification.replacesIdentifier : ++_lastIdentifier;
        screen[identifier] = notification;
        if (notification.hasSound) shown.push_back(notification);
        if (notification.hasSound && onShown) onShown(notification);
        if (beforeAnswer) std::exchange(beforeAnswer, nullptr)();
        _main->async([answer, shownAs = Shown{identifier, server()}] { answer(shownAs); });
    }
    void close(std::uint32_t identifier) override { leave(identifier, CloseReason::Closed); }

    // What a user or a server does.
    void invoke(std::uint32_t identifier, const std::string& action) {
        _events.actionInvoked(identifier, action, "token");
        leave(identifier, CloseReason::Dismissed);
    }
    void leave(std::uint32_t identifier, CloseReason reason) {
        if (screen.erase(identifier) != 0 && _events.closed) _events.closed(identifier, reason);
    }
    // It ends and comes back with an empty screen.
    void restart() {
        screen.clear();
        ++_run;
        mood = Mood::Healthy;
        appear();
    }
    void appear() {
        if (_events.appeared) _events.appeared();
    }
    // Of the notification with this title; 0 if there is none.
    std::uint32_t find(const std::string& title) const {
        for (const auto& [identifier, notification] : screen) {
            if (notification.title == title) return identifier;
        }
        return 0;
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> all;
        for (const auto& [identifier, notification] : screen)
            all.push_back(notification.title);
        return all;
    }

    Mood mood = Mood::Healthy;
    std::string session = "bus";
    std::map<std::uint32_t, ScreenNotification> screen;
    std::vector<ScreenNotification> shown;  // with a sound: what a person noticed, in its order
    std::function<void(const ScreenNotification&)> onShown;
    std::function<void()> beforeAnswer;  // runs once, when the screen shows it and nobody knows yet

  private:
    DispatchQueuePtr _main;
    Events _events;
    std::uint32_t _lastIdentifier = 0;
    int _run = 1;
};

}  // namespace zun
