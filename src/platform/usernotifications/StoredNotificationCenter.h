#pragma once

// The lists of alerts as the programs of the user see them: a store in a file, with changes gathered and written behind
// the caller's back, and a bell that tells the other programs. Deliveries by the alert service reach the delegate, if
// there is one, within milliseconds.
//
// A change that could not be written is kept and tried again for as long as the program runs.

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/foundation/Dispatch.h"
#include "platform/usernotifications/AlertStore.h"
#include "platform/usernotifications/FileWatcher.h"
#include "platform/usernotifications/NSUserNotificationCenter.h"

namespace zun {

class StoredNotificationCenter final : public NSUserNotificationCenter {
  public:
    struct Collaborators {
        Dispatch& dispatch;
        const Environment& environment;
    };

    // The store lies in "alerts" below this folder.
    StoredNotificationCenter(const std::filesystem::path& folder, Collaborators collaborators);
    // Writes what has not been written.
    ~StoredNotificationCenter() override;

    [[nodiscard]] std::vector<NSUserNotification> scheduledNotifications() const override;
    [[nodiscard]] std::vector<NSUserNotification> scheduledNotificationsForReminderID(
        const std::string& reminderID) const override;
    [[nodiscard]] std::vector<ScheduledReminder> scheduledReminders(const std::optional<std::string>& after,
                                                                    std::size_t most) const override;
    void scheduleNotification(const NSUserNotification& notification) override;
    void removeScheduledNotification(const NSUserNotification& notification) override;
    void removeScheduledNotificationsForReminderID(const std::string& reminderID) override;
    [[nodiscard]] std::vector<NSUserNotification> deliveredNotifications() const override;
    void removeDeliveredNotification(const NSUserNotification& notification) override;
    [[nodiscard]] bool wasDelivered(const std::string& reminderID, NSDate deliveryDate) const override;
    void synchronize() override;

    // From now on the delegate hears of deliveries, on the main queue, until it is replaced by null or by another.
    // Main thread.
    void setDelegate(NSUserNotificationCenterDelegate* delegate);

    // Changed after each commit to the lists.
    [[nodiscard]] static std::filesystem::path bell(const std::filesystem::path& folder) {
        return AlertFile::bell(storeFolder(folder));
    }
    [[nodiscard]] static std::filesystem::path storeFolder(const std::filesystem::path& folder) {
        return folder / "alerts";
    }

  private:
    // What the queue's blocks hold; they may run after the centre has gone.
    struct State;

    void add(AlertChange::Any change);
    static void writeLater(const std::shared_ptr<State>& state, std::chrono::microseconds delay);
    static bool write(State& state);
    [[nodiscard]] AlertStore& current() const;
    [[nodiscard]] static std::vector<NSUserNotification> newDeliveries(State& state);
    void tellDeliveries(const std::vector<NSUserNotification>& delivered);

    const Collaborators _with;
    const std::shared_ptr<State> _state;
    NSUserNotificationCenterDelegate* _delegate = nullptr;
    std::shared_ptr<bool> _isHere = std::make_shared<bool>(true);  // for blocks on the main queue
    std::unique_ptr<FileWatcher> _watcher;
};

}  // namespace zun
