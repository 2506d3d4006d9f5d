#pragma once

// The scheduled, the delivered and the remembered alerts in the file that all programs share.
//
//   scheduled --(its moment comes; shown)--> delivered --(answered or removed)--> gone
//
// and every moment that was shown is remembered, so that a reminder and a moment are alerted once however often they
// were scheduled. Any thread; each operation blocks for its query or its commit, and answers empty or false, with a log
// line, if the file cannot be used.

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/usernotifications/AlertFile.h"
#include "platform/usernotifications/NSUserNotification.h"

namespace zun {

// What programs ask of the lists.
namespace AlertChange {
struct Schedule {
    NSUserNotification notification;
};
struct RemoveScheduled {
    std::int64_t identifier;
};
struct RemoveScheduledOfReminder {
    std::string reminderID;
};
struct RemoveDelivered {
    std::int64_t identifier;
};
using Any = std::variant<Schedule, RemoveScheduled, RemoveScheduledOfReminder, RemoveDelivered>;
}  // namespace AlertChange

// Where an alert stands on a screen. `server` tells one run of a notification server from every other.
struct ScreenPlace {
    std::uint32_t serverIdentifier = 0;
    std::string server;
    bool inSummary = false;
};

// A delivered alert that stands on the screen.
struct StandingAlert {
    NSUserNotification notification;
    ScreenPlace place;
};

class AlertStore {
  public:
    AlertStore(const std::filesystem::path& folder, const Environment& environment)
        : _file(folder, environment), _environment(environment) {}

    // All of them in one commit, in their order.
    bool apply(const std::vector<AlertChange::Any>& changes);

    [[nodiscard]] std::vector<NSUserNotification> scheduled();
    [[nodiscard]] std::vector<NSUserNotification> scheduledForReminder(const std::string& reminderID);
    // Reminders with the number of their scheduled alerts, in the order of the identifiers' bytes, behind `after`.
    void visitScheduledReminders(const std::optional<std::string>& after, std::size_t most,
                                 const std::function<void(std::string reminderID, std::size_t alerts)>& visit);
    [[nodiscard]] std::vector<NSUserNotification> delivered();
    // Those that came after the one with this number, and the number of the last.
    [[nodiscard]] std::vector<NSUserNotification> deliveredAfter(std::int64_t& sequence);
    [[nodiscard]] std::int64_t lastDelivered();
    [[nodiscard]] bool wasShown(const std::string& reminderID, NSDate deliveryDate);

    // ---- for the service that delivers

    // The earliest moment at which a scheduled alert is due.
    [[nodiscard]] OptionalDate nextDueDate();
    // Moves the due dates of alerts that were scheduled in another zone to the same wall time in this one.
    void adaptTo(const NSTimeZone& zone);
    // What is due at this moment, one alert for each reminder: its earliest. At most `most` of them, and the number of
    // all. Drops what was shown before.
    struct Due {
        bool isKnown = false;  // false if the file could not be read
        std::size_t reminders = 0;
        std::vector<NSUserNotification> first;
        std::int64_t lastIdentifier = 0;  // alerts scheduled later do not belong to this picture
    };
    [[nodiscard]] Due due(NSDate now, std::size_t most);
    // Moves what was due at that moment from scheduled to delivered, the alert of one reminder or (without) of all of
    // them; later alerts of the same reminder that were due too are folded into it.
    bool recordShown(NSDate now, const Due& due, const std::optional<std::string>& reminderID,
                     const ScreenPlace& place);

    // Where the reminder's latest alert stands with this server, not counting summaries; 0 if nowhere.
    [[nodiscard]] std::uint32_t placeOfReminder(const std::string& reminderID, const std::string& server);
    [[nodiscard]] std::uint32_t placeOfSummary(const std::string& server);
    // The newest alert of each place; the newest ones of one place.
    [[nodiscard]] std::vector<StandingAlert> standing();
    [[nodiscard]] std::vector<StandingAlert> standingAt(std::uint32_t serverIdentifier, const std::string& server,
                                                        std::size_t most);
    // Reminders whose alerts stand in the summary.
    [[nodiscard]] std::size_t remindersAt(std::uint32_t serverIdentifier, const std::string& server);
    bool movePlace(const ScreenPlace& from, const ScreenPlace& to);
    // The server took it from the screen by itself; it stays delivered.
    bool leftScreen(std::uint32_t serverIdentifier, const std::string& server);
    // The user took it from the screen.
    bool dismissed(std::uint32_t serverIdentifier, const std::string& server);
    // What removals of delivered alerts left standing on this server's screen and has to be closed there.
    [[nodiscard]] std::vector<std::uint32_t> takeClosings(const std::string& server);

    // If a moment was shown that lies as far ahead as `limit`, the clock was wrong then: forgets all after `date`.
    // Whether it did.
    bool forgetShownAfter(NSDate date, NSDate limit);
    void forgetShownBefore(NSDate date);
    [[nodiscard]] OptionalDate lastDeliveryDate(const std::string& reminderID);
    // A fresh file knows nothing of the reminders until it was told.
    [[nodiscard]] bool mustBeFilled();
    void setFilled();
    // When the reminders were last looked through for alerts that are missing.
    [[nodiscard]] OptionalDate lookedAt();
    void setLookedAt(NSDate date);

    void check();

  private:
    bool write(const std::function<void()>& block);
    bool read(const std::function<void()>& block);
    void applyOne(const AlertChange::Schedule& change);
    void applyOne(const AlertChange::RemoveScheduled& change);
    void applyOne(const AlertChange::RemoveScheduledOfReminder& change);
    void applyOne(const AlertChange::RemoveDelivered& change);
    void closeUnlessNeeded(std::uint32_t serverIdentifier, const std::string& server);

    std::mutex _mutex;
    AlertFile _file;
    const Environment& _environment;
};

}  // namespace zun
