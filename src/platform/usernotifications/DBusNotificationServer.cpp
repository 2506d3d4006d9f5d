#include "platform/usernotifications/DBusNotificationServer.h"

#include <unicode/utf8.h>

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

// The bus takes whole characters only, and of those none that mean nothing.
std::string sendable(const std::string& text) {
    std::string out;
    const auto length = static_cast<std::int64_t>(text.size());
    for (std::int64_t at = 0; at < length;) {
        const auto start = static_cast<std::size_t>(at);
        UChar32 character = 0;
        U8_NEXT(text.data(), at, length, character);
        if (character <= 0 || U_IS_UNICODE_NONCHAR(character)) {
            out += "\uFFFD";
        } else {
            out.append(text, start, static_cast<std::size_t>(at) - start);
        }
    }
    return out;
}

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

// A server may send anything. What is not what the protocol says is passed over.
template <typename... Values>
bool readFrom(sdbus::Message& message, Values&... values) {
    try {
        (message >> ... >> values);
        return true;
    } catch (const sdbus::Error&) {
        return false;
    }
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
    _server->registerSignalHandler(name, "ActivationToken", [this](sdbus::Signal& signal) {
        std::uint32_t identifier = 0;
        std::string token;
        if (!readFrom(signal, identifier, token)) return;
        onMain([this, identifier, token] { _activationToken = {identifier, token}; });
    });
    _server->registerSignalHandler(name, "ActionInvoked", [this](sdbus::Signal& signal) {
        std::uint32_t identifier = 0;
        std::string action;
        if (!readFrom(signal, identifier, action)) return;
        onMain([this, identifier, action] {
            const auto token = _activationToken.first == identifier ? _activationToken.second : "";
            if (_events.actionInvoked) _events.actionInvoked(identifier, action, token);
        });
    });
    _server->registerSignalHandler(name, "NotificationClosed", [this](sdbus::Signal& signal) {
        std::uint32_t identifier = 0, reason = 0;
        if (!readFrom(signal, identifier, reason)) return;
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

// The answer comes on the loop's thread; null if there is none.
void DBusNotificationServer::call(const char* method, std::function<void(sdbus::MethodCall&)> addArguments,
                                  std::function<void(sdbus::MethodReply*)> answer) {
    _loop.post([this, method, addArguments = std::move(addArguments), answer = std::move(answer)] {
        try {
            auto message = _server->createMethodCall(name, method);
            if (addArguments) addArguments(message);
            _server->callMethod(
                message,
                [answer](sdbus::MethodReply& reply, const sdbus::Error* error) { answer(error ? nullptr : &reply); },
                alertTuning::serverPatience);
        } catch (const sdbus::Error&) {
            answer(nullptr);
        }
    });
}

// ---- what the server can do

void DBusNotificationServer::askAbilities() {
    _isAsking = true;
    // Asked one after the other, so that the second answer finds the first.
    call("GetServerInformation", {}, [this](sdbus::MethodReply* reply) {
        std::string serverName;
        if (reply) readFrom(*reply, serverName);
        onMain([this, serverName] { askCapabilities(serverName); });
    });
}

void DBusNotificationServer::askCapabilities(const std::string& serverName) {
    call("GetCapabilities", {}, [this, serverName](sdbus::MethodReply* reply) {
        std::vector<std::string> capabilities;
        const bool isThere = reply && readFrom(*reply, capabilities);
        onMain([this, isThere, serverName, known = std::set(capabilities.begin(), capabilities.end())] {
            _isAsking = false;
            if (isThere) return abilitiesAre(known, serverName);
            for (const auto& [notification, answer] : std::exchange(_waiting, {}))
                answer(std::nullopt);
        });
    });
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
        actions = {defaultAction, sendable(notification.openLabel)};
        if (!_abilities->opensOnClick) actions.insert(actions.end(), {"open", sendable(notification.openLabel)});
        if (!notification.actionLabel.empty())
            actions.insert(actions.end(), {buttonAction, sendable(notification.actionLabel)});
    }
    constexpr std::uint8_t normalUrgency = 1;
    constexpr std::int32_t untilAnswered = 0;
    Hints hints{{"desktop-entry", sdbus::Variant(_sender.desktopEntry)},
                {"category", sdbus::Variant(std::string("x-zun.reminder"))},
                {"urgency", sdbus::Variant(normalUrgency)},
                {"x-dunst-stack-tag", sdbus::Variant(sendable(notification.tag))}};
    if (notification.hasSound) {
        hints.emplace("sound-name", sdbus::Variant(std::string("message-new-instant")));
    } else {
        hints.emplace("suppress-sound", sdbus::Variant(true));
    }
    const auto body = sendable(notification.body);
    const auto addArguments = [=, sender = _sender, title = sendable(notification.title),
                               text = _abilities->bodyMarkup ? escaped(body) : body,
                               replaces = notification.replacesIdentifier](sdbus::MethodCall& message) {
        message << sender.applicationName << replaces << sender.desktopEntry << title << text << actions << hints
                << untilAnswered;
    };
    call("Notify", addArguments, [this, answer](sdbus::MethodReply* reply) {
        std::uint32_t identifier = 0;
        if (!reply || !readFrom(*reply, identifier)) return onMain([answer] { answer(std::nullopt); });
        onMain([this, answer, identifier, owner = reply->getSender()] {
            answer(Shown{identifier, _busIdentifier + "/" + owner});
            // The answer may overtake the word that the bus has started the server.
            if (_owner.empty()) ownerChanged(owner);
        });
    });
}

void DBusNotificationServer::close(std::uint32_t identifier) {
    call(
        "CloseNotification", [identifier](sdbus::MethodCall& message) { message << identifier; },
        [](sdbus::MethodReply*) {
            // A server that does not know it any more is content as well.
        });
}

}  // namespace zun
