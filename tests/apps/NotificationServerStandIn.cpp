#include "apps/NotificationServerStandIn.h"

#include <algorithm>

namespace zun {
namespace {

constexpr const char* name = "org.freedesktop.Notifications";

}  // namespace

NotificationServerStandIn::NotificationServerStandIn(Habits habits)
    : _habits(std::move(habits)), _connection(sdbus::createSessionBusConnection()) {
    _bus = sdbus::createProxy(*_connection, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    _bus->uponSignal("NameOwnerChanged")
        .onInterface("org.freedesktop.DBus")
        .call([this](const std::string& changed, const std::string&, const std::string& now) {
            if (now.empty()) senderLeft(changed);
        });
    _bus->finishRegistration();
    _object = sdbus::createObject(*_connection, "/org/freedesktop/Notifications");
    _object->registerMethod("GetServerInformation").onInterface(name).implementedAs([this] {
        return std::make_tuple(_habits.name, std::string("Zun's tests"), std::string("1"), std::string("1.2"));
    });
    _object->registerMethod("GetCapabilities").onInterface(name).implementedAs([this] { return _habits.capabilities; });
    _object->registerMethod("CloseNotification").onInterface(name).implementedAs([this](const std::uint32_t& which) {
        leave(which, 3);
    });
    // The library lets nothing leave that has not been announced.
    const auto* answer = _habits.mood == Mood::AnswersNonsense ? "s" : "u";
    _object->registerMethod(name, "Notify", "susssasa{sv}i", answer,
                            [this](sdbus::MethodCall call) { notify(std::move(call)); });
    _object->registerSignal("ActionInvoked").onInterface(name).withParameters<std::uint32_t, std::string>();
    _object->registerSignal("ActivationToken").onInterface(name).withParameters<std::uint32_t, std::string>();
    _object->registerSignal("NotificationClosed").onInterface(name).withParameters<std::uint32_t, std::uint32_t>();
    _object->finishRegistration();
    _connection->enterEventLoopAsync();
    _connection->requestName(name);
}

NotificationServerStandIn::~NotificationServerStandIn() {
    _connection->leaveEventLoop();
}

void NotificationServerStandIn::setMood(Mood mood) {
    const std::lock_guard lock(_mutex);
    _habits.mood = mood;
}

void NotificationServerStandIn::notify(sdbus::MethodCall call) {
    Notify one;
    one.at = std::chrono::system_clock::now();
    one.sender = call.getSender();
    call >> one.application >> one.replaces >> one.icon >> one.title >> one.body >> one.actions >> one.hints >>
        one.timeout;
    const std::lock_guard lock(_mutex);
    if (_habits.mood == Mood::Healthy) {
        const auto sameTag = std::ranges::find_if(_screen, [&](const auto& each) {
            return each.second.hint("x-dunst-stack-tag") == one.hint("x-dunst-stack-tag");
        });
        one.identifier = _screen.contains(one.replaces)
                             ? one.replaces
                             : (sameTag != _screen.end() ? sameTag->first : ++_lastIdentifier);
        _screen[one.identifier] = one;
        auto reply = call.createReply();
        reply << one.identifier;
        reply.send();
    } else if (_habits.mood == Mood::Refuses) {
        call.createErrorReply(sdbus::Error("org.freedesktop.DBus.Error.LimitsExceeded", "too many")).send();
    } else if (_habits.mood == Mood::AnswersNonsense) {
        auto reply = call.createReply();
        reply << std::string("nonsense");
        reply.send();
    }
    _calls.push_back(std::move(one));
    _changed.notify_all();
}

void NotificationServerStandIn::senderLeft(const std::string& sender) {
    const std::lock_guard lock(_mutex);
    if (!_habits.dropsWhatItsSenderLeaves) return;
    std::erase_if(_screen, [&](const auto& each) { return each.second.sender == sender; });
    _changed.notify_all();
}

bool NotificationServerStandIn::waitUntil(const std::function<bool()>& condition) {
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, patience, condition);
}

bool NotificationServerStandIn::waitForAlerts(std::size_t count) {
    return waitUntil([this, count] { return alerts().size() >= count; });
}

std::vector<Notify> NotificationServerStandIn::calls() const {
    const std::lock_guard lock(_mutex);
    return _calls;
}

std::vector<Notify> NotificationServerStandIn::alerts() const {
    auto all = calls();
    std::erase_if(all, [](const Notify& call) { return call.isSilent() || call.identifier == 0; });
    return all;
}

std::vector<std::string> NotificationServerStandIn::screen() const {
    const std::lock_guard lock(_mutex);
    std::vector<std::string> titles;
    for (const auto& [identifier, one] : _screen)
        titles.push_back(one.title);
    return titles;
}

std::size_t NotificationServerStandIn::callCount() const {
    return calls().size();
}

void NotificationServerStandIn::invoke(std::uint32_t identifier, const std::string& action, const std::string& token) {
    if (!token.empty()) _object->emitSignal("ActivationToken").onInterface(name).withArguments(identifier, token);
    _object->emitSignal("ActionInvoked").onInterface(name).withArguments(identifier, action);
    leave(identifier, 2);
}

void NotificationServerStandIn::leave(std::uint32_t identifier, std::uint32_t reason) {
    {
        const std::lock_guard lock(_mutex);
        if (_screen.erase(identifier) == 0) return;
    }
    _object->emitSignal("NotificationClosed").onInterface(name).withArguments(identifier, reason);
    _changed.notify_all();
}

void NotificationServerStandIn::emitNonsense() {
    for (const auto* signal : {"ActionInvoked", "ActivationToken", "NotificationClosed"}) {
        auto message = _object->createSignal(name, signal);
        message << std::string("nonsense");
        _object->emitSignal(message);
    }
}

}  // namespace zun
