#include "apps/zun/Application.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QPointer>
#include <atomic>
#include <iostream>

#include "apps/wiring/Core.h"
#include "apps/zun/AccountOfApplication.h"
#include "apps/zun/AlertServiceStarter.h"
#include "apps/zun/CloudOfApplication.h"
#include "apps/zun/EndingSignals.h"
#include "apps/zun/Preparations.h"
#include "shell/AppDelegate.h"
#include "shell/ApplicationService.h"
#include "shell/Screens.h"
#include "toolkit/QtMainQueue.h"
#include "toolkit/ZNFonts.h"
#include "toolkit/ZNPalette.h"
#include "toolkit/ZNStyle.h"

namespace {

struct Arguments {
    std::optional<std::filesystem::path> home;
    QStringList urls;
    bool startsInBackground = false;
};

// The status to end with, if there is nothing to start.
std::optional<int> parse(const QStringList& words, Arguments& arguments) {
    const QCommandLineOption home("home", "Keep every file in this folder.", "folder");
    const QCommandLineOption background("background", "Start without a window.");
    // What the bus starts the program with; whoever had it started then says what is wanted.
    QCommandLineOption service("gapplication-service");
    service.setFlags(QCommandLineOption::HiddenFromHelp);
    QCommandLineParser options;
    options.setApplicationDescription("Zun keeps your reminders and shows those that are due as a stack of cards.");
    const auto help = options.addHelpOption();
    const QCommandLineOption version("version", "Print the version.");
    options.addOptions({home, background, service, version});
    options.addPositionalArgument("link", "Links of the scheme zun.create.", "[link...]");
    if (!options.parse(words)) {
        std::cerr << options.errorText().toStdString() << '\n';
        return 2;
    }
    if (options.isSet(help)) {
        std::cout << options.helpText().toStdString();
        return 0;
    }
    if (options.isSet(version)) {
        std::cout << "zun " ZUN_VERSION "\n";
        return 0;
    }
    if (options.isSet(home)) arguments.home = QFile::encodeName(options.value(home)).toStdString();
    arguments.startsInBackground = options.isSet(background) || options.isSet(service);
    arguments.urls = options.positionalArguments();
    return std::nullopt;
}

// What is still being written is waited for, which may take seconds: nobody has to look at windows that no longer
// answer.
void leaveTheScreen() {
    for (auto* const widget : QApplication::topLevelWidgets())
        widget->hide();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

}  // namespace

namespace zun {
namespace {

using namespace std::chrono_literals;

// For a service that does not answer.
constexpr auto longestFarewell = 3s;

// A reordering that still waits for the next one leaves no mark that a later start could go by.
void sendHeldBackReordering(Core& core) {
    core.manager.waitUntilSettled();
    const auto hasEnded = std::make_shared<std::atomic<bool>>(false);
    const auto end = [hasEnded, &dispatch = core.dispatch] {
        *hasEnded = true;
        dispatch.notify();
    };
    core.manager.willBecomeInactive(end);
    core.dispatch.concurrent(QualityOfService::UserInitiated)->asyncAfter(longestFarewell, end);
    core.dispatch.waitUntil([hasEnded] { return hasEnded->load(); });
}

void connectService(const ApplicationService& service, AppDelegate& delegate) {
    using Answer = NSUserNotificationActivationType;
    const auto on = [&](auto signal, auto action) { QObject::connect(&service, signal, &delegate, action); };
    on(&ApplicationService::activated, &AppDelegate::activate);
    on(&ApplicationService::opened, &AppDelegate::openLinks);
    on(&ApplicationService::newReminderWanted, &AppDelegate::createNewReminder);
    on(&ApplicationService::stackWanted, &AppDelegate::showStack);
    const auto onAlert = [&](auto signal, Answer answer) {
        on(signal, [&delegate, answer](qlonglong identifier, const QString& reminderID, const Activation& activation) {
            delegate.alertWasAnswered(identifier, reminderID.toStdString(), answer, activation);
        });
    };
    onAlert(&ApplicationService::alertClicked, Answer::ContentsClicked);
    onAlert(&ApplicationService::alertSnoozed, Answer::ActionButtonClicked);
}

}  // namespace

int runApplication(int argc, char** argv, const std::function<void(AppDelegate&)>& started) {
    Arguments arguments;
    Preparations preparations;
    const auto activation = Activation::fromEnvironment();
    // Qt takes its own options out of the line first, so that they are no wrong usage of ours.
    QApplication::setStyle(new ZNStyle);
    QApplication::setDesktopFileName(applicationIdentifier);
    QApplication application(argc, argv);
    QApplication::setApplicationName("Zun");
    QApplication::setQuitOnLastWindowClosed(false);
    if (const auto status = parse(QApplication::arguments(), arguments)) return *status;

    // Before everything that has something to keep, and until after that has gone.
    const EndingSignals endingSignals([] { QApplication::quit(); });
    const auto home = Home::find(arguments.home);
    ApplicationService service(QString::fromStdString(home.busName));
    const auto how =
        arguments.startsInBackground ? ApplicationService::Start::InBackground : ApplicationService::Start::WithWindow;
    if (service.start(arguments.urls, how, activation) == ApplicationService::Outcome::HandedOver) return 0;

    const auto mainQueue = std::make_shared<QtMainQueue>();
    Core core(home, DispatchQueuePtr(mainQueue));
    CloudOfApplication cloud(home, core);
    core.keeper.lookForSecret();
    const auto& topics = preparations.topics();
    QApplication::setLayoutDirection(core.strings.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    QApplication::setFont(appFont(13));
    QApplication::setPalette(appPalette());
    AccountModel account(accountOfApplication(core, cloud));
    DesktopTray tray(core.dispatch);
    Screens screens(
        {core.manager, core.environment, core.dispatch, core.strings, core.labels, core.quickEntry, home.state});
    const ScreenMakers makers = screens.makers();
    AppDelegate delegate({home, core.environment, core.dispatch, core.notifications, core.settings, core.strings,
                          core.labels, topics, core.database, core.manager, core.userNotifications, core.account,
                          cloud.cloud().wholeCache, tray, makers, [&core] { core.environment.refresh(); },
                          [] { QApplication::quit(); }, cloud, &account});
    connectService(service, delegate);
    cloud.observeRemoteNotifications([delegate = QPointer(&delegate)] {
        if (delegate) delegate->remoteNotificationArrived();
    });
    QObject::connect(&delegate, &AppDelegate::firstPaintDone, &delegate, [&] {
        core.userNotifications.setDelegate(&delegate);
        cloud.start();
        startAlertServiceIfNecessary(home.alertsBusName, arguments.home);
    });

    delegate.applicationWillFinishLaunching();
    delegate.applicationDidFinishLaunching(arguments.startsInBackground ? AppDelegate::Shows::Nothing
                                                                        : AppDelegate::Shows::Window);
    delegate.openLinks(arguments.urls, activation);
    if (started) started(delegate);
    const int status = QApplication::exec();
    leaveTheScreen();
    sendHeldBackReordering(core);
    core.userNotifications.setDelegate(nullptr);
    return status;
}

}  // namespace zun
