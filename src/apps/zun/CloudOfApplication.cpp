#include "apps/zun/CloudOfApplication.h"

#include <QFileInfo>

namespace zun {
namespace {

using namespace std::chrono_literals;

// A command that changes many reminders commits again and again.
constexpr auto foreignChangesGather = 250ms;

std::string hostOf(const AccountKeeper& keeper) {
    const auto account = keeper.state().account;
    if (!account) return {};
    auto host = account->serviceURL;
    if (const auto scheme = host.find("://"); scheme != std::string::npos) host.erase(0, scheme + 3);
    host.erase(std::min(host.find('/'), host.size()));
    if (const auto port = host.rfind(':'); port != std::string::npos && host.find(']', port) == std::string::npos)
        host.erase(port);
    return host;
}

}  // namespace

CloudOfApplication::CloudOfApplication(const Home& home, Core& core)
    : _core(core),
      _monitor(SystemNetworkMonitor::onSystemBus()),
      _cloud(home, core, makeReachability()),
      _service(_cloud.journal, core.keeper, core.dispatch, QString::fromStdString(home.busName)),
      _guard(core.dispatch) {
    _session = core.keeper.observeSession(_guard.guarded([this] { followAccount(); }));
    _foreignChanges = core.notifications.addObserver(ZNDatabaseChangedByAnotherProgramNotification,
                                                     [this](const NSNotification&) { sendForeignChanges(); });
    watchAccountFile();
}

std::unique_ptr<Reachability> CloudOfApplication::makeReachability() {
    auto reachability = HostReachability::reachabilityWithHostname(hostOf(_core.keeper), *_monitor, _core.dispatch);
    _reachability = reachability.get();
    return reachability;
}

void CloudOfApplication::start() {
    _core.database.takeUnfinishedPushesForFailed();
    const auto forget = [&core = _core] {
        core.database.forgetKeptVersionsBefore(core.environment.now() - KeptVersion::lifetime);
    };
    forget();
    _daily = NSTimer(_core.dispatch.main(), std::chrono::days(1), true, forget);
    _cloud.pushes.start();
}

void CloudOfApplication::observeRemoteNotifications(Block handler) {
    _cloud.remoteNotificationWasTaken = [this, handler = _guard.guarded(std::move(handler))] {
        onMainThread(_core.dispatch, handler);
    };
}

// Somebody signed in or out, here or with zunctl.
void CloudOfApplication::followAccount() {
    _reachability->setHostname(hostOf(_core.keeper));
    _cloud.manager.syncChangesFromCloudKit();
}

// A program without sync leaves marks on what it writes, and does not tell.
void CloudOfApplication::sendForeignChanges() {
    if (std::exchange(_foreignChangesWait, true)) return;
    _core.dispatch.main()->asyncAfter(foreignChangesGather, _guard.guarded([this] {
        _foreignChangesWait = false;
        _core.dispatch.concurrent(QualityOfService::UserInitiated)->async(_guard.guarded([this] {
            if (_core.settings.onGetCloudKitStatus() && _core.manager.numberOfRemindersToSend() > 0)
                _cloud.manager.syncChangesMadeElsewhere();
        }));
    }));
}

void CloudOfApplication::watchAccountFile() {
    const auto& path = _core.keeper.file();
    // A folder that is not there cannot be watched.
    std::error_code none;
    std::filesystem::create_directories(path.parent_path(), none);
    const auto file = QString::fromStdString(path.string());
    _accountFile.addPaths({QFileInfo(file).path(), file});
    const auto changed = [this, file] {
        // The file is replaced whole, which ends the watch on it.
        if (QFileInfo::exists(file) && !_accountFile.files().contains(file)) _accountFile.addPath(file);
        // Whoever hears of it may write to the disk.
        _core.keeper.reload([] {});
    };
    QObject::connect(&_accountFile, &QFileSystemWatcher::fileChanged, &_service, changed);
    QObject::connect(&_accountFile, &QFileSystemWatcher::directoryChanged, &_service, changed);
}

}  // namespace zun
