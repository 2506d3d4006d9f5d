#pragma once

// Delivers alerts: when the moment of a scheduled one comes, it goes up on the screen and moves to the delivered ones;
// what the user does with it there is handed to the application.
//
//   asleep   until the next due date, the daily look, or news          (the alarm clock)
//   showing  one batch after the other, until nothing is due           (the notification server answers)
//   waiting  something is due and no server takes it; tried again when one appears, and after a growing pause
//
// An alert is recorded as shown after the server has answered, so one that a killed service had under way is shown
// again under the same tag rather than not at all. More than a few reminders due in one moment make one summary.
// What came due unseen gives one alert for each reminder, with its nags and missed occurrences folded into it.
//
// Main queue only. The collaborators outlive the service.

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Dispatch.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/usernotifications/AlarmClock.h"
#include "platform/usernotifications/AlertStore.h"
#include "platform/usernotifications/NotificationServer.h"

namespace zun {

// What the user did with an alert on the screen.
struct AlertActivation {
    enum class Kind { ShowReminder, SnoozeReminder, ShowStack };
    Kind kind = Kind::ShowStack;
    std::int64_t identifier = 0;
    std::string reminderID;
    std::string activationToken;
};

class AlertService {
  public:
    struct Collaborators {
        Dispatch& dispatch;
        const Environment& environment;
        const LocalizedStrings& strings;
        AlertStore& store;
        NotificationServer& server;
        AlarmClock& alarmClock;
        // Hands the user's answer to the application, which is started if it does not run.
        std::function<void(const AlertActivation&)> activate;
        // Looks through all reminders for alerts that are owed; blocks.
        std::function<void()> lookAtReminders;
        // Sees that these reminders, if they repeat, have alerts ahead; blocks.
        std::function<void(const std::vector<std::string>&)> extendSeries;
        // Tells the other programs that the lists have changed.
        std::function<void()> tellPrograms;
    };

    explicit AlertService(Collaborators collaborators);
    ~AlertService();
    AlertService(const AlertService&) = delete;
    AlertService& operator=(const AlertService&) = delete;

    // Shows what is due and what stood on the screen when the service ended.
    void start();
    // Another program changed the lists.
    void alertsChanged();
    // Another program changed reminders: whether all their alerts are there is looked at once it has been quiet.
    void remindersChanged();
    // The machine woke up, the clock was set, or the zone changed.
    void surroundingsChanged();

  private:
    struct Batch;
    enum class Restart { Service, Server };

    void rang();
    void deliver();
    void deliverDue();
    void showNext(const std::shared_ptr<Batch>& batch);
    void showSummary(const std::shared_ptr<Batch>& batch);
    void record(Batch& batch, const std::optional<std::string>& reminderID, const ScreenPlace& place);
    void batchIsShown(const std::shared_ptr<Batch>& batch);
    void batchIsRefused();
    void restoreScreen(Restart restarted);
    bool restoreWhatWaits();
    void restore(const StandingAlert& alert, const std::string& server);
    void oneIsRestored();
    void arm();
    void look();
    void closeRemoved();
    void actionInvoked(std::uint32_t identifier, const std::string& action, const std::string& activationToken);
    void closed(std::uint32_t identifier, NotificationServer::CloseReason reason);
    [[nodiscard]] ScreenNotification screenNotification(const NSUserNotification& notification) const;
    [[nodiscard]] ScreenNotification summary(std::size_t reminders, const std::vector<NSUserNotification>& first) const;
    [[nodiscard]] NSDate nextDailyLook() const;

    const Collaborators _with;
    std::shared_ptr<AlertService*> _self;  // null once the service has gone; for answers that come late
    bool _isShowing = false;               // answers of the server are awaited
    bool _isRefused = false;
    std::size_t _restoring = 0;            // answers that a restored screen still waits for, and one while it asks
    std::optional<Restart> _restoreWaits;  // for the end of what is being shown
    std::chrono::seconds _retryPause;
    NSTimer _retry;
    NSTimer _quiet;
    NSDate _lookAt;
    // Shown, but the file could not be written: on the next try these are recorded and not shown again.
    std::map<std::pair<std::string, NSDate>, ScreenPlace> _unrecorded;
};

}  // namespace zun
