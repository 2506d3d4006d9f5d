#include "platform/usernotifications/DBusNotificationServer.h"

#include <map>
#include <vector>

#include "platform/usernotifications/AlertTuning.h"

namespace zun {
namespace {

constexpr const char* name = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

using Hints = std::map<std::string, sdbus::Variant>;

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

}  // namespace

DBusNotificationServer::DBusNotificationServer(BusLoop& loop, Dispatch& dispatch, Sender sender)
    : _loop(loop),
      _main(dispatch.main()),
      _sender(std::move(sender)),
      _bus(sdbus::createProxy(loop.session(), busName, busPath)),
      _server(sdbus::createProxy(loop.session(), name, path)) {
    listen();
    try {
        _bus->callMethod("GetId").onInterface(busName).storeResultsTo(_busIdentifier);
        _bus->callMethod("GetNameOwner").onInterface(busName).withArguments(std::string(name)).storeResultsTo(_owner);
    } catch (const sdbus::Error&) {
        // No server is there yet.
    }
}

DBusNotificationServer::~DBusNotificationServer() {
    *_isHere = false;
}

void DBusNotificationServer::onMain(std::function<void()> block) {
    _main->async([isHere = _isHere, block = std::move(block)] {
        if (*isHere) block();
    });
}

void DBusNotificationServer::listen() {
    _loop.session().addMatch(
        "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
        "arg0='org.freedesktop.Notifications'",
        [this](sdbus::Message& message) {
            std::string changed, before, now;
            message >> changed >> before >> now;
            onMain([this, now] { ownerChanged(now); });
        },
        sdbus::floating_slot);
    _server->uponSignal("ActivationToken")
        .onInterface(name)
        .call([this](std::uint32_t identifier, const std::string& token) {
            onMain([this, identifier, token] { _activationToken = {identifier, token}; });
        });
    _server->uponSignal("ActionInvoked")
        .onInterface(name)
        .call([this](std::uint32_t identifier, const std::string& action) {
            onMain([this, identifier, action] {
                const auto token = _activationToken.first == identifier ? _activationToken.second : "";
                if (_events.actionInvoked) _events.actionInvoked(identifier, action, token);
            });
        });
    _server->uponSignal("NotificationClosed")
        .onInterface(name)
        .call([this](std::uint32_t identifier, std::uint32_t reason) {
            onMain([this, identifier, reason] {
                const auto known = reason >= 1 && reason <= 3 ? CloseReason(reason) : CloseReason::Undefined;
                if (_events.closed) _events.closed(identifier, known);
            });
        });
    _server->finishRegistration();
}

void DBusNotificationServer::setEvents(Events events) {
    _events = std::move(events);
}

std::string DBusNotificationServer::server() const {
    return _owner.empty() ? "" : _busIdentifier + "/" + _owner;
}

void DBusNotificationServer::ownerChanged(const std::string& owner) {
    if (owner == _owner) return;
    _owner = owner;
    _abilities.reset();
    if (!owner.empty() && _events.appeared) _events.appeared();
}

// ---- what the server can do

void DBusNotificationServer::askAbilities() {
    _isAsking = true;
    _server->callMethodAsync("GetServerInformation")
        .onInterface(name)
        .withTimeout(alertTuning::serverPatience)
        .uponReplyInvoke([this](const sdbus::Error*, const std::string& serverName, const std::string&,
                                const std::string&, const std::string&) {
            // Asked one after the other, so that the second answer finds the first.
            onMain([this, serverName] {
                _server->callMethodAsync("GetCapabilities")
                    .onInterface(name)
                    .withTimeout(alertTuning::serverPatience)
                    .uponReplyInvoke([this, serverName](const sdbus::Error* error,
                                                        const std::vector<std::string>& capabilities) {
                        const bool isThere = error == nullptr;
                        onMain([this, isThere, serverName, known = std::set(capabilities.begin(), capabilities.end())] {
                            _isAsking = false;
                            if (isThere) return abilitiesAre(known, serverName);
                            for (const auto& [notification, answer] : std::exchange(_waiting, {}))
                                answer(std::nullopt);
                        });
                    });
                _loop.wake();
            });
        });
    _loop.wake();
}

void DBusNotificationServer::abilitiesAre(const std::set<std::string>& capabilities, const std::string& serverName) {
    _abilities = {.actions = capabilities.contains("actions"),
                  .bodyMarkup = capabilities.contains("body-markup"),
                  // A click on the body closes there without a word, so opening needs a button of its own.
                  .opensOnClick = serverName != "Xfce Notify Daemon"};
    for (const auto& [notification, answer] : std::exchange(_waiting, {}))
        send(notification, answer);
}

// ---- showing

void DBusNotificationServer::show(const ScreenNotification& notification, Answer answer) {
    if (_abilities) return send(notification, answer);
    _waiting.emplace_back(notification, std::move(answer));
    if (!_isAsking) askAbilities();
}

void DBusNotificationServer::send(const ScreenNotification& notification, const Answer& answer) {
    std::vector<std::string> actions;
    if (_abilities->actions) {
        actions = {defaultAction, notification.openLabel};
        if (!_abilities->opensOnClick) actions.insert(actions.end(), {"open", notification.openLabel});
        if (!notification.actionLabel.empty()) actions.insert(actions.end(), {buttonAction, notification.actionLabel});
    }
    constexpr std::uint8_t normalUrgency = 1;
    constexpr std::int32_t untilAnswered = 0;
    Hints hints{{"desktop-entry", sdbus::Variant(_sender.desktopEntry)},
                {"category", sdbus::Variant(std::string("x-zun.reminder"))},
                {"urgency", sdbus::Variant(normalUrgency)},
                {"x-dunst-stack-tag", sdbus::Variant(notification.tag)}};
    if (notification.hasSound) {
        hints.emplace("sound-name", sdbus::Variant(std::string("message-new-instant")));
    } else {
        hints.emplace("suppress-sound", sdbus::Variant(true));
    }
    auto call = _server->createMethodCall(name, "Notify");
    call << _sender.applicationName << notification.replacesIdentifier << _sender.desktopEntry << notification.title
         << (_abilities->bodyMarkup ? escaped(notification.body) : notification.body) << actions << hints
         << untilAnswered;
    const auto replied = [this, answer](sdbus::MethodReply& reply, const sdbus::Error* error) {
        if (error) return onMain([answer] { answer(std::nullopt); });
        std::uint32_t identifier = 0;
        reply >> identifier;
        onMain([this, answer, identifier, owner = reply.getSender()] {
            answer(Shown{identifier, _busIdentifier + "/" + owner});
            // The answer may overtake the word that the bus has started the server.
            if (_owner.empty()) ownerChanged(owner);
        });
    };
    try {
        _server->callMethod(call, replied, alertTuning::serverPatience);
    } catch (const sdbus::Error&) {
        onMain([answer] { answer(std::nullopt); });
    }
    _loop.wake();
}

void DBusNotificationServer::close(std::uint32_t identifier) {
    _server->callMethodAsync("CloseNotification")
        .onInterface(name)
        .withArguments(identifier)
        .uponReplyInvoke([](const sdbus::Error*) {
            // A server that does not know it any more is content as well.
        });
    _loop.wake();
}

}  // namespace zun
