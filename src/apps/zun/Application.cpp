#include "apps/zun/Application.h"

#include <CLI/CLI.hpp>
#include <QApplication>

#include "apps/wiring/Core.h"
#include "apps/zun/Preparations.h"
#include "shell/AppDelegate.h"
#include "shell/ApplicationService.h"
#include "toolkit/QtMainQueue.h"
#include "toolkit/ZNFonts.h"

namespace {

struct Arguments {
    std::optional<std::string> home;
    std::vector<std::string> urls;
};

// The status to end with, if there is nothing to start.
std::optional<int> parse(int argc, char** argv, Arguments& arguments) {
    CLI::App options{"Zun keeps your reminders and shows those that are due as a stack of cards.", "zun"};
    options.add_option("--home", arguments.home, "Keep every file in this folder")->type_name("DIR");
    options.add_option("link", arguments.urls, "Links of the scheme zun.create")->type_name("URL");
    try {
        options.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int status = options.exit(error);
        return status == 0 ? 0 : 2;
    }
    return std::nullopt;
}

QStringList qtList(const std::vector<std::string>& urls) {
    QStringList list;
    for (const auto& url : urls)
        list << QString::fromStdString(url);
    return list;
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
    if (const auto status = parse(argc, argv, arguments)) return *status;

    const auto home = Home::find(arguments.home);
    ApplicationService service(QString::fromStdString(home.busName));
    const auto urls = qtList(arguments.urls);
    if (service.start(urls) == ApplicationService::Outcome::HandedOver) return 0;

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
    delegate.openLinks(urls);
    if (started) started(delegate);
    return QApplication::exec();
}

}  // namespace zun
