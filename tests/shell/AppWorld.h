#pragma once

// The whole application but for its main(): the delegate over a real store in a folder of its own, in virtual time,
// with a tray that comes and goes as the test says.

#include <QTest>

#include "core/ManagerWorld.h"
#include "shell/AppDelegate.h"

namespace zun {

class FakeTray final : public SystemTray {
  public:
    [[nodiscard]] bool isAvailable() override { return isThere; }
    void waitForTray() override { isAwaited = true; }
    void stopWaiting() override { isAwaited = false; }
    void appear() {
        isThere = true;
        if (std::exchange(isAwaited, false)) emit appeared();
    }

    bool isThere = true;
    bool isAwaited = false;
};

class AppWorld : public ManagerWorld {
  public:
    void launch(AppDelegate::Shows shows = AppDelegate::Shows::Window) {
        app = std::make_unique<AppDelegate>(AppDelegate::Collaborators{
            home, environment, dispatch, notifications, settings, strings, labels, topics, database, manager,
            userNotifications, account, syncCache, tray, screens, [] {}, [this] { ++terminations; }});
        app->applicationWillFinishLaunching();
        app->applicationDidFinishLaunching(shows);
        advance(std::chrono::milliseconds(100));
    }
    void advance(std::chrono::milliseconds time) {
        QCoreApplication::processEvents();  // what the window system has to say
        dispatch.advance(time);
        settle();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    // As the settings window does it.
    void setShowInMenubar(bool shows) {
        settings.setShowInMenubar(shows);
        notifications.postNotificationName("com.zunlabs.ZNAppModeDidChangeNotification");
        advance(std::chrono::seconds(1));
    }
    [[nodiscard]] std::vector<std::string> deck() const { return ids(app->root().cardController().reminders()); }

    Home home{folder.path() / "configuration", folder.path() / "data", folder.path() / "state",
              folder.path() / "runtime",       "com.zunlabs.Zun.test", "com.zunlabs.Zun.Alerts.test"};
    TopicDetection topics{environment, strings};
    NoCloudAccount account;
    StoredSyncCache syncCache{defaults};
    FakeTray tray;
    ScreenMakers screens;
    int terminations = 0;
    std::unique_ptr<AppDelegate> app;
};

}  // namespace zun
