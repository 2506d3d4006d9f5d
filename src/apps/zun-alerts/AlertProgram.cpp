#include "apps/zun-alerts/AlertProgram.h"

#include <malloc.h>

#include "ZunDataModel/store/StoreFiles.h"
#include "apps/wiring/Core.h"
#include "notifications/AlertLook.h"
#include "platform/foundation/Log.h"
#include "platform/usernotifications/StoredNotificationCenter.h"

namespace zun {
namespace {

std::unique_ptr<sdbus::IConnection> systemBus() {
    // A machine without one has no suspend to hear of.
    try {
        return sdbus::createSystemBusConnection();
    } catch (const sdbus::Error&) {
        return nullptr;
    }
}

}  // namespace

AlertProgram::AlertProgram(const Home& home, std::optional<std::filesystem::path> homeFolder,
                           std::unique_ptr<sdbus::IConnection> session)
    : _home(home),
      _loop(std::make_shared<LoopQueue>()),
      _dispatch(_loop),
      _strings(_environment.locale().preferredLanguages),
      _store(StoredNotificationCenter::storeFolder(home.data), _environment),
      _bus(std::move(session), systemBus(), posting([this] { end(End::BusLost); })),
      _server(_bus, _dispatch, {"Zun", applicationIdentifier}),
      _clock(_dispatch),
      _activator(_bus, _dispatch, home.busName, std::move(homeFolder)),
      _service({.dispatch = _dispatch,
                .environment = _environment,
                .strings = _strings,
                .store = _store,
                .server = _server,
                .alarmClock = _clock,
                .activate = [this](const AlertActivation& activation) { _activator.activate(activation); },
                .lookAtReminders = [this] { look(nullptr); },
                .extendSeries = [this](const std::vector<std::string>& reminderIDs) { look(&reminderIDs); },
                .tellPrograms = [this] { ringBell(StoredNotificationCenter::bell(_home.data)); }}) {}

AlertProgram::~AlertProgram() {
    _bus.stop();
}

std::function<void()> AlertProgram::posting(std::function<void()> action) {
    return [main = _dispatch.main(), action = std::move(action)] { main->async(action); };
}

void AlertProgram::end(End how) {
    _end = how;
    _loop->wake();
}

void AlertProgram::listenToSystem() {
    const auto surroundingsChanged = posting([this] {
        _environment.refresh();
        _service.surroundingsChanged();
    });
    if (auto* system = _bus.system()) {
        system->addMatch(
            "type='signal',sender='org.freedesktop.login1',interface='org.freedesktop.login1.Manager',"
            "member='PrepareForSleep'",
            [surroundingsChanged](sdbus::Message& message) {
                bool begins = false;
                message >> begins;
                if (!begins) surroundingsChanged();
            },
            sdbus::floating_slot);
        system->addMatch(
            "type='signal',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
            "arg0='org.freedesktop.timedate1'",
            [surroundingsChanged](sdbus::Message&) { surroundingsChanged(); }, sdbus::floating_slot);
    }
    const auto bell = StoredNotificationCenter::bell(_home.data);
    const StoreFiles reminders(_home.data);
    std::error_code ignored;
    std::filesystem::create_directories(bell.parent_path(), ignored);
    _files = std::make_unique<FileWatcher>(std::vector<FileWatcher::Watched>{
        {bell.parent_path(), bell.filename(), posting([this] { _service.alertsChanged(); })},
        {bell.parent_path(), "", posting([this] { end(End::HomeGone); })},
        {reminders.folder, reminders.lock.filename(), posting([this] { _service.remindersChanged(); })},
        {"/etc", "localtime", surroundingsChanged},
    });
}

void AlertProgram::look(const std::vector<std::string>* series) {
    {
        Core core(_home, std::make_shared<LoopQueue>());
        AlertLook look({core.manager, core.userNotifications, _store, core.environment});
        if (series) {
            look.extendSeries(*series);
        } else {
            look.lookAtReminders();
        }
    }
    // After the news that came meanwhile, which lie scattered over what the look has used.
    _dispatch.main()->async([] { malloc_trim(0); });
}

int AlertProgram::run() {
    listenToSystem();
    _bus.start();
    _service.start();
    _loop->runUntil([this] { return _end != End::None; });
    if (_end == End::BusLost) NSLog("The session bus has gone.");
    return _end == End::BusLost ? 1 : 0;
}

}  // namespace zun
