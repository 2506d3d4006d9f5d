#pragma once

// The one object that lives for the whole run. Owns the window, the commands and what the screens are made with, and
// answers the application's start, activation, links and end. It holds no reminder logic. Main thread.

#include <QUndoStack>
#include <memory>
#include <vector>

#include "cards/ReminderCardTexts.h"
#include "core/ZNReminderManager.h"
#include "platform/foundation/Home.h"
#include "platform/foundation/SystemEnvironment.h"
#include "shell/DesktopSettings.h"
#include "shell/KeptReminders.h"
#include "shell/LinkIntake.h"
#include "shell/ZNMenuViewController.h"
#include "shell/ZNTabViewController.h"
#include "shell/ZNWindow.h"

namespace zun {

class AppDelegate final : public QObject {
    Q_OBJECT
  public:
    struct Collaborators {
        const Home& home;
        SystemEnvironment& environment;
        Dispatch& dispatch;
        NSNotificationCenter& notifications;
        ZNSettingsObject& settings;
        const LocalizedStrings& strings;
        const DateLabels& labels;
        const TopicDetection& topics;
        ZNDatabase& database;
        ZNReminderManager& manager;
    };

    explicit AppDelegate(const Collaborators& collaborators);
    ~AppDelegate() override;

    // First-run values; before anything else.
    void applicationWillFinishLaunching();
    // Builds and shows the window with its cards.
    void applicationDidFinishLaunching();

    // From the session bus or the command line.
    void activate();
    void openLinks(const QStringList& urls);
    // Another process changed the settings' file.
    void settingsFileChanged();

    [[nodiscard]] ZNWindow& window() { return *_tabWindow; }

  private:
    void prepareWindow();
    void addObservers();
    void afterFirstPaint();
    void setWindowIcon();
    void cleanupReminders();
    void minutePassed();
    void scheduleMinute();
    void reportHealth();
    void reportFailure(const StoreError& error);
    void applyDesktopSettings();
    void watchSettings();
    [[nodiscard]] QString text(std::string_view key, std::initializer_list<std::string_view> arguments = {}) const;

    Collaborators _with;
    ReminderCardTexts _cardTexts;
    Pictures _pictures;
    ZNAnimationTimeline _animations;
    QUndoStack _undoStack;
    ZNMenuViewController _menuBarController;
    KeptReminders _keptReminders;
    LinkIntake _links;
    DesktopSettings _desktop;
    std::unique_ptr<ZNWindow> _tabWindow;
    ZNTabViewController* _tabViewController = nullptr;  // the window's
    NSTimer _minuteTimer;
    std::vector<Observation> _observations;
};

}  // namespace zun
