#include "apps/zun/AlertServiceStarter.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include "platform/foundation/Log.h"

namespace zun {
namespace {

constexpr const char* programName = "zun-alerts";

void startProgram(const QStringList& arguments) {
    auto program = QCoreApplication::applicationDirPath() + '/' + programName;
    if (!QFileInfo(program).isExecutable()) program = QStandardPaths::findExecutable(programName);
    if (program.isEmpty() || !QProcess::startDetached(program, arguments))
        NSLog("The alert service could not be started; alerts come only while another one runs.");
}

}  // namespace

void startAlertServiceIfNecessary(const std::string& busName, const std::optional<std::filesystem::path>& home) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    QStringList arguments;
    if (home) arguments << "--home" << QFile::decodeName(home->c_str());
    // Answers at once if the service runs already.
    auto call = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                               "StartServiceByName");
    call << QString::fromStdString(busName) << 0u;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, arguments] {
        watcher->deleteLater();
        if (watcher->isError()) startProgram(arguments);
    });
}

}  // namespace zun
