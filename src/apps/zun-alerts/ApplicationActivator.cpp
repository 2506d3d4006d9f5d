#include "apps/zun-alerts/ApplicationActivator.h"

#include <spawn.h>
#include <unistd.h>
#include <csignal>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "platform/foundation/Log.h"

namespace zun {
namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";
// The application may have to be started and to open its store first.
constexpr std::chrono::seconds patience{60};

const char* actionName(AlertActivation::Kind kind) {
    switch (kind) {
        case AlertActivation::Kind::ShowReminder:
            return "show-alert";
        case AlertActivation::Kind::SnoozeReminder:
            return "snooze-alert";
        case AlertActivation::Kind::ShowStack:
            break;
    }
    return "show-stack";
}

std::string pathForName(const std::string& busName) {
    auto path = "/" + busName;
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

}  // namespace

ApplicationActivator::ApplicationActivator(BusLoop& loop, Dispatch& dispatch, std::string busName,
                                           std::optional<std::filesystem::path> homeFolder)
    : _loop(loop),
      _dispatch(dispatch),
      _main(dispatch.main()),
      _busName(std::move(busName)),
      _homeFolder(std::move(homeFolder)),
      _application(sdbus::createProxy(loop.session(), _busName, pathForName(_busName))) {
    loop.session().addMatch(
        "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0="
        "'" +
            _busName + "'",
        [this, isHere = _isHere](sdbus::Message& message) {
            std::string changed, before, now;
            message >> changed >> before >> now;
            if (now.empty()) return;
            _main->async([this, isHere] {
                if (!*isHere) return;
                for (const auto& [activation, since] : std::exchange(_waiting, {})) {
                    // What the user wanted long ago, when it did not start, would come as a surprise.
                    if (_dispatch.uptime() - since < patience) send(activation);
                }
            });
        },
        sdbus::floating_slot);
}

ApplicationActivator::~ApplicationActivator() {
    *_isHere = false;
}

void ApplicationActivator::activate(const AlertActivation& activation) {
    send(activation);
}

void ApplicationActivator::send(const AlertActivation& activation) {
    std::vector<sdbus::Variant> parameter;
    if (activation.kind != AlertActivation::Kind::ShowStack)
        parameter = {sdbus::Variant(activation.identifier), sdbus::Variant(activation.reminderID)};
    std::map<std::string, sdbus::Variant> platformData;
    if (!activation.activationToken.empty()) {
        platformData.emplace("activation-token", sdbus::Variant(activation.activationToken));
        platformData.emplace("desktop-startup-id", sdbus::Variant(activation.activationToken));
    }
    _loop.post([this, activation, parameter, platformData] {
        // The library reports by an exception what the bus would not take.
        try {
            _application->callMethodAsync("ActivateAction")
                .onInterface(interfaceName)
                .withTimeout(patience)
                .withArguments(std::string(actionName(activation.kind)), parameter, platformData)
                .uponReplyInvoke([this, activation](const sdbus::Error* error) {
                    if (error) isNotTaken(activation, *error);
                });
        } catch (const sdbus::Error& error) {
            NSLog("An alert's answer could not be handed on: " + error.getMessage());
        }
    });
}

// On the loop's thread.
void ApplicationActivator::isNotTaken(const AlertActivation& activation, const sdbus::Error& error) {
    const auto reason = error.getName();
    const bool isUnknown = reason == "org.freedesktop.DBus.Error.ServiceUnknown" ||
                           reason == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
                           reason.starts_with("org.freedesktop.DBus.Error.Spawn.");
    if (!isUnknown) return NSLog("The application did not take an alert's answer: " + error.getMessage());
    _main->async([this, isHere = _isHere, activation] {
        if (!*isHere) return;
        _waiting.emplace_back(activation, _dispatch.uptime());
        // One that runs by then ends a second one.
        startProgram();
    });
}

void ApplicationActivator::startProgram() const {
    std::error_code error;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / "zun";
    const auto program = std::filesystem::exists(beside, error) ? beside.native() : std::string("zun");
    std::vector<std::string> words{program, "--background"};
    if (_homeFolder) words.insert(words.end(), {"--home", _homeFolder->native()});
    std::vector<char*> arguments;
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    // It shall outlive this program, and answer its own children.
    posix_spawnattr_t attributes{};
    posix_spawnattr_init(&attributes);
    sigset_t defaults{};
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGCHLD);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), nullptr, &attributes, arguments.data(), environ) != 0)
        NSLog("The application could not be started.");
    posix_spawnattr_destroy(&attributes);
}

}  // namespace zun
