#include "apps/zun/Application.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <iostream>

#include "apps/wiring/Core.h"
#include "apps/zun/Preparations.h"
#include "shell/AppDelegate.h"
#include "shell/ApplicationService.h"
#include "toolkit/QtMainQueue.h"
#include "toolkit/ZNFonts.h"

namespace {

struct Arguments {
    std::optional<std::filesystem::path> home;
    QStringList urls;
};

// The status to end with, if there is nothing to start.
std::optional<int> parse(const QStringList& words, Arguments& arguments) {
    const QCommandLineOption home("home", "Keep every file in this folder.", "folder");
    QCommandLineParser options;
    options.setApplicationDescription("Zun keeps your reminders and shows those that are due as a stack of cards.");
    const auto help = options.addHelpOption();
    options.addOption(home);
    options.addPositionalArgument("link", "Links of the scheme zun.create.", "[link...]");
    if (!options.parse(words)) {
        std::cerr << options.errorText().toStdString() << '\n';
        return 2;
    }
    if (options.isSet(help)) {
        std::cout << options.helpText().toStdString();
        return 0;
    }
    if (options.isSet(home)) arguments.home = QFile::encodeName(options.value(home)).toStdString();
    arguments.urls = options.positionalArguments();
    return std::nullopt;
}

}  // namespace

namespace zun {

int runApplication(int argc, char** argv, const std::function<void(AppDelegate&)>& started) {
    Arguments arguments;
    Preparations preparations;
    // Qt takes its own options out of the line first, so that they are no wrong usage of ours.
    QApplication::setStyle("fusion");
    QApplication::setDesktopFileName(applicationIdentifier);
    QApplication application(argc, argv);
    QApplication::setApplicationName("Zun");
    QApplication::setQuitOnLastWindowClosed(false);
    if (const auto status = parse(QApplication::arguments(), arguments)) return *status;

    const auto home = Home::find(arguments.home);
    ApplicationService service(QString::fromStdString(home.busName));
    if (service.start(arguments.urls) == ApplicationService::Outcome::HandedOver) return 0;

    const auto mainQueue = std::make_shared<QtMainQueue>();
    Core core(home, DispatchQueuePtr(mainQueue));
    const auto& topics = preparations.topics();
    QApplication::setFont(appFont(13));
    AppDelegate delegate({home, core.environment, core.dispatch, core.notifications, core.settings, core.strings,
                          core.labels, topics, core.database, core.manager});
    QObject::connect(&service, &ApplicationService::activated, &delegate, &AppDelegate::activate);
    QObject::connect(&service, &ApplicationService::opened, &delegate, &AppDelegate::openLinks);

    delegate.applicationWillFinishLaunching();
    delegate.applicationDidFinishLaunching();
    delegate.openLinks(arguments.urls);
    if (started) started(delegate);
    return QApplication::exec();
}

}  // namespace zun
