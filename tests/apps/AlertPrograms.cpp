#include "apps/AlertPrograms.h"

#include <algorithm>
#include <csignal>
#include <future>

namespace zun {
namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

}  // namespace

bool waitForName(const std::string& name, bool isOwned) {
    std::promise<void> reached;
    bool isTold = false;
    const auto owner = [&](bool isThere) {
        if (isThere == isOwned && !std::exchange(isTold, true)) reached.set_value();
    };
    const auto connection = sdbus::createSessionBusConnection();
    const auto bus = sdbus::createProxy(*connection, busName, busPath);
    bus->uponSignal("NameOwnerChanged")
        .onInterface(busName)
        .call([&](const std::string& changed, const std::string&, const std::string& now) {
            if (changed == name) owner(!now.empty());
        });
    bus->finishRegistration();
    bus->callMethodAsync("NameHasOwner")
        .onInterface(busName)
        .withArguments(name)
        .uponReplyInvoke([&](const sdbus::Error*, bool isThere) { owner(isThere); });
    connection->enterEventLoopAsync();
    const bool isReached = reached.get_future().wait_for(patience) == std::future_status::ready;
    connection->leaveEventLoop();
    return isReached;
}

// ---- the service

AlertHome::AlertHome() {
    std::filesystem::create_directories(Home::find(programs.folder()).data);
}

void AlertHome::startService(const std::filesystem::path& program) {
    _service =
        std::make_unique<Program>(program, std::vector<std::string>{"--home", programs.folder()}, programs.variables);
    waitForName(Home::find(programs.folder()).alertsBusName, true);
}

void AlertHome::killService() {
    _service.reset();
    waitForName(Home::find(programs.folder()).alertsBusName, false);
}

bool AlertHome::isServing() const {
    const auto connection = sdbus::createSessionBusConnection();
    bool isThere = false;
    sdbus::createProxy(*connection, busName, busPath)
        ->callMethod("NameHasOwner")
        .onInterface(busName)
        .withArguments(Home::find(programs.folder()).alertsBusName)
        .storeResultsTo(isThere);
    return isThere;
}

NSUserNotification AlertHome::alert(const std::string& reminderID, std::chrono::milliseconds ahead) const {
    NSUserNotification one;
    one.userInfo = {{NOTIFICATION_REMINDER_ID, reminderID}};
    one.deliveryDate = environment.now() + ahead;
    one.deliveryTimeZone = "Europe/Berlin";
    one.title = reminderID;
    one.subtitle = "Due <now> & here";
    one.hasActionButton = true;
    one.actionButtonTitle = "Snooze";
    one.soundName = NSUserNotificationDefaultSoundName;
    return one;
}

void AlertHome::schedule(const std::string& reminderID, std::chrono::milliseconds ahead) {
    center.scheduleNotification(alert(reminderID, ahead));
    center.synchronize();
}

std::vector<std::string> AlertHome::delivered() const {
    std::vector<std::string> all;
    for (const auto& one : center.deliveredNotifications())
        all.push_back(one.reminderID().value_or(""));
    return all;
}

bool AlertHome::waitForDelivered(std::size_t count) const {
    std::mutex mutex;
    std::condition_variable changed;
    bool rang = true;
    const auto bell = StoredNotificationCenter::bell(Home::find(programs.folder()).data);
    const FileWatcher watcher({{bell.parent_path(), bell.filename(), [&] {
                                    const std::lock_guard lock(mutex);
                                    rang = true;
                                    changed.notify_one();
                                }}});
    const auto latest = std::chrono::steady_clock::now() + patience;
    for (std::unique_lock lock(mutex); changed.wait_until(lock, latest, [&] { return rang; });) {
        rang = false;
        if (center.deliveredNotifications().size() == count) return true;
    }
    return false;
}

// ---- the application

ApplicationStandIn::ApplicationStandIn(const std::string& name) : _connection(sdbus::createSessionBusConnection()) {
    auto path = "/" + name;
    std::replace(path.begin(), path.end(), '.', '/');
    _object = sdbus::createObject(*_connection, path);
    _object->registerMethod("ActivateAction")
        .onInterface("org.freedesktop.Application")
        .implementedAs([this](const std::string& action, const std::vector<sdbus::Variant>& parameter,
                              const std::map<std::string, sdbus::Variant>& platformData) {
            Action one{action, {}, {}, {}};
            if (parameter.size() == 2) {
                one.identifier = parameter[0].get<std::int64_t>();
                one.reminderID = parameter[1].get<std::string>();
            }
            if (const auto token = platformData.find("activation-token"); token != platformData.end())
                one.token = token->second.get<std::string>();
            const std::lock_guard lock(_mutex);
            _actions.push_back(one);
            _changed.notify_all();
        });
    _object->finishRegistration();
    _connection->enterEventLoopAsync();
    _connection->requestName(name);
}

ApplicationStandIn::~ApplicationStandIn() {
    _connection->leaveEventLoop();
}

std::vector<ApplicationStandIn::Action> ApplicationStandIn::waitFor(std::size_t count) {
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, patience, [&] { return _actions.size() >= count; });
    return _actions;
}

}  // namespace zun
