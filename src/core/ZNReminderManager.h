#pragma once

// The one gate through which the application changes reminders. Each save, update or delete goes to the store, brings
// the reminder's alerts in line and, where the settings and the caller's flag ask for it, is pushed to the cloud. It
// also owns every query, so that all predicates and sort orders live in one place.
//
// Any thread. Writes return before the store has finished and report no error: a write that the store refuses is told
// to the store's failure handler and has no further effect; a push that fails leaves a mark on the record for the next
// sync (didPersistToiCloud NO, hasLocalChanges YES or shouldDeleteRemote YES), but for the upload of a reordering.
// Fetches block for the time of the query. Scheduled alerts are changed on one serial queue, in the order of the
// changes; the delivered ones on the caller's thread. The collaborators outlive the manager; its destructor waits until
// it is settled.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "ZunDataModel/ZNDatabase.h"
#include "core/ClockWitness.h"
#include "core/ReminderCloudPushes.h"
#include "dates/DateLabels.h"
#include "dates/RepeatEngine.h"
#include "platform/foundation/LocalizedStrings.h"
#include "platform/usernotifications/NSUserNotificationCenter.h"
#include "settings/ZNSettingsObject.h"

namespace zun {

enum class ShouldSyncWithiCloud { No, Yes };
// Equality with the record's `shouldSuppressNotifications`: Yes finds only the suppressed ones.
enum class IncludeSuppressed { No, Yes };
enum class UnsentDeletions { Forget, Keep };

class ZNReminderManager {
  public:
    using Reminders = std::vector<ReminderPtr>;
    using ReminderBlock = std::function<void(const ReminderPtr&)>;

    struct Collaborators {
        ZNDatabase& database;
        ZNSettingsObject& settings;
        Dispatch& dispatch;
        NSNotificationCenter& notifications;
        const Environment& environment;
        ReminderCloudPushes& cloud;
        NSUserNotificationCenter& userNotifications;
        const DateLabels& labels;
        const LocalizedStrings& strings;
        const ClockWitness& clock;
    };

    explicit ZNReminderManager(Collaborators collaborators);
    ~ZNReminderManager();
    ZNReminderManager(const ZNReminderManager&) = delete;
    ZNReminderManager& operator=(const ZNReminderManager&) = delete;

    // Single writes. They reach the cloud if the flag is Yes and either sync is on or the reminder is shared.
    void saveReminder(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud);
    void updateReminder(const ReminderPtr& reminder, ShouldUpdateDateModified shouldupdateDateModified,
                        ShouldSyncWithiCloud shouldSyncWithiCloud);
    void deleteReminder(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud);

    // Bulk writes, one commit each. They reach the cloud if the flag is Yes and sync is on, shared or not. The block,
    // if any, runs on the store's queue once the change is durable. A bulk update leaves the alerts alone.
    void bulkUpdateReminders(Reminders reminders, ShouldSyncWithiCloud shouldSyncWithiCloud,
                             std::function<void()> withCompletion = {});
    void bulkDeleteReminders(Reminders reminders, ShouldSyncWithiCloud shouldSyncWithiCloud,
                             std::function<void()> withCompletion = {});
    // Once, before the first records of an import.
    void backUpBeforeImport();
    // Adds or replaces records as they stand, and schedules their alerts. They go to the cloud with the next pass, as
    // new ones or as edits of those it has. Reads the store.
    void importReminders(Reminders reminders);

    // Puts back a version that was replaced or deleted, as an edit of the user, now. Reads the store.
    void bringBack(ReminderAttributes version);

    // What the sync does to records: in one commit, each as it is stored by then, with their alerts. Nothing goes to
    // the cloud. The decision runs inside the store's transaction and must use neither the store nor this manager.
    void decideReminders(std::vector<std::string> reminderIDs, RecordDecision decide,
                         std::function<void(const std::vector<DecidedRecord>&)> withCompletion = {});
    // Another account, or one that was set back, does not have what the former had: after a dated backup, all records
    // of the user's own count as never sent. What was still to be deleted goes with the former account, and stays to be
    // deleted if the account is the same.
    void forgetThatRemindersWereSent(UnsentDeletions unsentDeletions, std::function<void()> withCompletion = {});

    // Ranks n, n - 1, ... 1. The upload waits until no other reordering has followed for reorderDelay, and takes only
    // the last.
    void bulkSortAndUpdate(const Reminders& reminders, ShouldSyncWithiCloud shouldSyncWithiCloud);
    static constexpr std::chrono::seconds reorderDelay{4};
    // Uploads at once a reordering that is still held back, since the program is about to lose the user's attention or
    // to end. The block runs once it has been sent or has failed, on any thread; at once if there was none.
    void willBecomeInactive(Block uploadDidEnd = {});

    // Completes the reminder, or for a repeating one leaves a completed copy and moves the series on (deletes it where
    // it has ended). The block gets, before this returns, the record that undoCompletionForReminder() must later be
    // given.
    void completeReminder(const ReminderPtr& reminder, const ReminderBlock& withCompletion = {});
    // A series is written before or together with the removal of its copy, so that no moment exists without either.
    void undoCompletionForReminder(const ReminderPtr& reminder);
    // Without a date, the next date is by the snooze setting; a location reminder keeps its dates. Always true.
    bool snoozeReminder(const ReminderPtr& reminder, OptionalDate withDate = std::nullopt);
    void undoSnoozeForReminder(const ReminderPtr& reminder);
    // The date's time of day on the next day that is not today, or the morning hour of tomorrow without a date.
    [[nodiscard]] NSDate advanceToNextDayWithDueDate(OptionalDate dueDate) const;
    // A week from today, at the date's time of day or at the start of the day.
    [[nodiscard]] NSDate advanceToNextWeekWithDueDate(OptionalDate dueDate) const;
    // The snooze setting as a duration.
    [[nodiscard]] std::chrono::duration<double> snoozeDuration() const;

    // The next occurrence after the present one or after now, whichever is later. Absent where the series has ended.
    [[nodiscard]] OptionalDate findNextDueDateWithReminder(const ZNReminderObject& reminder) const;
    // The latest occurrence before the due date, or not after now. Where the rule gives none, the `due_date` as it is.
    [[nodiscard]] OptionalDate findEarliestDueDateBeforeTodayWithReminder(const ZNReminderObject& reminder) const;
    [[nodiscard]] bool isReminderInvalidDueToEndDate(const ZNReminderObject& reminder) const;
    [[nodiscard]] NSDate currentDateToUseForReminder(const ZNReminderObject& reminder) const;
    // Every "[x]" becomes "[ ]".
    [[nodiscard]] static std::optional<std::string> resetChecklist(std::optional<std::string> checklist);
    // The true occurrences of the reminder's rule strictly between the two moments, at most `maximumCount`.
    [[nodiscard]] std::vector<NSDate> occurrencesOfReminder(const ZNReminderObject& reminder, NSDate from, NSDate to,
                                                            std::size_t maximumCount) const;

    // Alerts. A reminder's alerts are thrown away and, if it passes the gate, added anew from its attributes at that
    // moment: one at its fire date, three more behind it where it nags, and those of the coming week of its series.
    // Only what lies ahead of now is added. Each addition is an operation behind what the queue holds by then, so two
    // calls close behind each other leave every alert twice. Returns at once.
    void scheduleNotificationsForReminder(const ReminderPtr& reminder);
    // The gate: dated, not completed, not at a place, not silent, and with something still to come.
    [[nodiscard]] bool shouldScheduleLocalNotificationsForReminder(const ZNReminderObject& reminder) const;
    // The above for each reminder that fires at the date (now without one) or later; blocks for the fetch. The block
    // runs before this returns and does not wait for the alerts; not at all if there are none.
    void scheduleNotificationsForRemindersOnOrAfterDate(OptionalDate date, const Block& withCompletion = {});
    // The same from the last scheduled alert on, unless exactly 64 are scheduled. On a queue of its own; the block is
    // never called.
    void updateLocalNotificationsIfNecessaryWithCompletion(const Block& completion = {});
    // One alert as the above make it, for whoever schedules further ones.
    [[nodiscard]] NSUserNotification localNotification(const std::string& title, NSDate fireDate, NSDate dueDate,
                                                       const std::string& reminderID) const;
    // Seconds; 0 for a type without unit.
    [[nodiscard]] static double earlyReminderInterval(std::uint64_t forType, std::uint64_t earlyReminderInterval);

    // Takes the earlier ones of a nagging reminder, 300 to 1801 seconds old, from the delivered list. The walk goes by
    // the list and ends at the first of this reminder that is younger or older. Blocks for queries.
    void removePreviousNagNotificationsForReminderID(const std::optional<std::string>& reminderID);
    // Leaves in the delivered list what matches a card at its present fire date, and what belongs to no reminder.
    // Blocks for queries.
    void clearDeliveredNotifications();

    // Queries. "Active" is what is on the cards; tombstones are seen only where it says so.
    [[nodiscard]] Reminders fetchAllReminders() const;  // everything, tombstones included
    [[nodiscard]] Reminders fetchAllCompletedReminders() const;
    [[nodiscard]] Reminders fetchAllRemindersWithDates() const;  // due now or later
    [[nodiscard]] Reminders fetchAllRemindersWithLocations() const;
    [[nodiscard]] Reminders fetchAllActiveRemindersWithLocations() const;
    [[nodiscard]] Reminders fetchAllRemindersNotSentToServer() const;  // may be tombstones
    [[nodiscard]] Reminders fetchAllSharedReminders() const;           // may be tombstones
    [[nodiscard]] Reminders fetchAllRemindersToDelete() const;         // only tombstones
    [[nodiscard]] Reminders fetchAllRemindersWithLocalChanges() const;
    // What the next pass has to send or to delete there.
    [[nodiscard]] std::size_t numberOfRemindersToSend() const;
    [[nodiscard]] Reminders fetchAllFutureReminders() const;
    [[nodiscard]] Reminders fetchAllRemindersWithNotificationsOnOrAfterDate(NSDate date,
                                                                            IncludeSuppressed includeSuppressed) const;
    // Finds the same records as the one above.
    [[nodiscard]] Reminders fetchAllRemindersWithNotificationsOnOrBeforeDate(NSDate date,
                                                                             IncludeSuppressed includeSuppressed) const;
    // Null if there is none; may be a tombstone.
    [[nodiscard]] ReminderPtr fetchReminderWithReminderID(const std::optional<std::string>& reminderID) const;
    [[nodiscard]] FetchResult fetchAllRemindersWithPredicate(const std::optional<NSPredicate>& predicate,
                                                             const std::vector<NSSortDescriptor>& withSortDescriptors,
                                                             ReturnAsReminderObject returnAsReminderObjects) const;
    // In the order of the cards. With the default sort, unranked cards stand by falling fire date, else by falling due
    // date.
    [[nodiscard]] Reminders fetchAllActiveRemindersWithDefaultSort(bool defaultSort) const;
    // The active ones, then those at places, then those to come.
    [[nodiscard]] Reminders fetchAllIncompleteReminders() const;
    // What a list needs of the same reminders in the same order, as of one moment of the store. A small part of the
    // cost in time and memory. Incomplete once the stop is asked for.
    [[nodiscard]] ListedReminders listAllIncompleteReminders(const std::stop_token& stop = {}) const;
    [[nodiscard]] ListedReminders listAllCompletedReminders(const std::stop_token& stop = {}) const;
    [[nodiscard]] ListedReminders listAllRemindersWithDates(const std::stop_token& stop = {}) const;
    // When the next reminder becomes active.
    [[nodiscard]] OptionalDate nextFireDateAfter(NSDate date) const;
    [[nodiscard]] std::size_t numberOfActiveReminders() const;  // dated ones only: what the badge shows
    [[nodiscard]] std::size_t numberOfTotalReminders() const;
    [[nodiscard]] std::size_t numberOfActiveRemindersForHourBeforeFireDate(NSDate fireDate) const;
    [[nodiscard]] std::size_t numberOfActiveRemindersWithLocations() const;

    // Housekeeping. The first three block for their queries and say how much they found to do.
    // Removes what sync may have doubled.
    std::size_t deDupeDatabase();
    // Deletes what was completed 30 days ago or earlier, if the settings say so: one by one, once a dated backup is
    // durable. Absent, and nothing done, within a day after the clock has jumped: one wrong clock must not destroy the
    // history.
    std::optional<std::size_t> removeCompletedRemindersIfEnabled();
    // Removes scheduled alerts whose reminder is stored no more, not even as a tombstone. On the caller's thread.
    std::size_t removeStaleLocalNotifications();
    // Wipes the store and nothing else: alerts and cloud are left as they are.
    void clearCoreData();
    void updateBadgeIcon();

    // Blocks until the store, the steps that follow its writes and the alerts have caught up with all that was asked
    // before. Pushes under way are not waited for. Not inside a block of the store or of the alerts.
    void waitUntilSettled();

  private:
    // Every write goes through here, so that waiting sees those that other writes' steps submit. Blocks of the cloud
    // hold it, and may run after the manager has gone.
    struct Writes {
        ZNDatabase& store;
        std::atomic<std::uint64_t> submitted{0};
        std::atomic<std::uint64_t> pushes{0};
        ZNDatabase& database() {
            ++submitted;
            return store;
        }
    };
    struct Reordering;
    struct AlertOperations;
    enum class SeriesIs { StoredAlready, New };

    [[nodiscard]] bool shouldPush(const ReminderPtr& reminder, ShouldSyncWithiCloud shouldSyncWithiCloud) const;
    [[nodiscard]] bool shouldPushBulk(ShouldSyncWithiCloud shouldSyncWithiCloud) const;
    // A stored interval of 0 means a step of one.
    [[nodiscard]] static std::int64_t stepOf(const ZNReminderObject& reminder);
    [[nodiscard]] static bool isRepeating(const ZNReminderObject& reminder) {
        return reminder.repeat_type() != RepeatType::none;
    }
    void onNotificationQueue(Block operation);
    void removeLocalNotificationsForReminder(const ReminderPtr& reminder, Block completionBlock = {});
    void addLocalNotificationsForReminder(const ZNReminderObject& reminder);
    [[nodiscard]] std::vector<NSDate> occurrencesToAlert(const ZNReminderObject& reminder) const;
    void addLocalNotification(const std::string& title, NSDate fireDate, NSDate dueDate, const std::string& reminderID);
    // What a write bears that will be pushed; nothing otherwise.
    [[nodiscard]] WriteNotes notesOfPush(bool willPush) const;
    [[nodiscard]] Block endOfPush(const WriteNotes& notes) const;
    void pushSave(const ReminderPtr& reminder);
    void pushUpdate(const ReminderPtr& reminder, const WriteNotes& notes);
    void pushDelete(const ReminderPtr& reminder, const WriteNotes& notes);
    void holdBackReordering(Reminders reminders);
    void replaceCopyWithSeries(const ReminderPtr& copy, const ReminderPtr& series, SeriesIs seriesIs);
    void moveDates(const ReminderPtr& reminder, OptionalDate dueDate, const ZNReminderObject& adjustedBy) const;
    void update(const ReminderPtr& reminder);
    [[nodiscard]] Reminders activeRemindersWithSort(const std::vector<NSSortDescriptor>& sort) const;
    [[nodiscard]] Reminders fetch(std::string_view format, std::vector<NSPredicate::Argument> arguments,
                                  const std::vector<NSSortDescriptor>& sort = {}) const;
    [[nodiscard]] std::size_t count(std::string_view format, std::vector<NSPredicate::Argument> arguments) const;

    const Collaborators _with;
    const RepeatEngine _engine;
    const DispatchQueuePtr _notificationQueue;
    const std::shared_ptr<Writes> _writes;
    const std::shared_ptr<Reordering> _reordering;
    const std::shared_ptr<AlertOperations> _alertOperations;
};

}  // namespace zun
