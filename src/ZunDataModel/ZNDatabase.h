#pragma once

// The one store of reminders: SQLite in WAL mode. Every operation may be called from any thread. Writes run in order on
// the store's own serial queue and call their block there after the change is durable (synchronous=FULL); a write that
// fails calls the failure handler instead of its block and changes nothing. Fetches run on the caller's thread over a
// small pool of read connections and see every write whose block has run. The store opens on construction; it posts the
// four change notifications, for other processes' changes too once watchForChanges() was called.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "ZunDataModel/CloudBookkeeping.h"
#include "ZunDataModel/ListedReminders.h"
#include "ZunDataModel/ListingPart.h"
#include "ZunDataModel/StoreHealth.h"
#include "ZunDataModel/ZNReminderObject.h"
#include "platform/foundation/Dispatch.h"
#include "platform/foundation/Environment.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/foundation/NSPredicate.h"

namespace zun {

inline constexpr std::string_view ZNReminderObjectAddedNotification = "com.zunlabs.ZNReminderObjectAddedNotification";
inline constexpr std::string_view ZNReminderObjectUpdatedNotification =
    "com.zunlabs.ZNReminderObjectUpdatedNotification";
inline constexpr std::string_view ZNReminderObjectRemovedNotification =
    "com.zunlabs.ZNReminderObjectRemovedNotification";
inline constexpr std::string_view ZNDatabaseDeDupedNotification = "com.zunlabs.ZNDatabaseDeDupedNotification";
// On the main thread, after the notifications of what another program has changed.
inline constexpr std::string_view ZNDatabaseChangedByAnotherProgramNotification =
    "com.zunlabs.ZNDatabaseChangedByAnotherProgramNotification";

enum class ShouldUpdateDateModified { No, Yes };
enum class SaveIfNotFound { No, Yes };
enum class ReturnAsReminderObject { No, Yes };

// What a fetch gives: objects, or only their number.
struct FetchResult {
    std::vector<ReminderPtr> reminders;
    std::size_t count = 0;
};

class ZNDatabase {
  public:
    using ReminderBlock = std::function<void(const ReminderPtr&)>;
    using RemindersBlock = std::function<void(const std::vector<ReminderPtr>&)>;

    struct Collaborators {
        Dispatch& dispatch;
        NSNotificationCenter& notifications;
        const Environment& environment;
    };

    // `folder` is made if it is missing. Throws nothing: a store that cannot be opened or written answers every write
    // through onFailure and every fetch with what can be read; health() says why.
    ZNDatabase(const std::filesystem::path& folder, Collaborators collaborators);
    ~ZNDatabase();
    ZNDatabase(const ZNDatabase&) = delete;
    ZNDatabase& operator=(const ZNDatabase&) = delete;

    // Gives the record a `reminderID` at once, on the caller's object, if it has none.
    void addReminder(const ReminderPtr& reminder, ReminderBlock withCompletionBlock = {});
    // An update of a record that is not stored writes nothing and still calls its block.
    void updateReminder(const ReminderPtr& reminder, ShouldUpdateDateModified shouldupdateDateModified,
                        ReminderBlock withCompletionBlock = {}, const WriteNotes& notes = {});
    void removeReminder(const ReminderPtr& reminder, ReminderBlock withCompletionBlock = {},
                        const WriteNotes& notes = {});
    // One commit each; no per-record notifications in this process.
    void bulkUpdateReminders(std::vector<ReminderPtr> reminders, ShouldUpdateDateModified shouldupdateDateModified,
                             SaveIfNotFound saveIfNotFound, RemindersBlock withCompletionBlock = {},
                             const WriteNotes& notes = {});
    void bulkDeleteReminders(std::vector<ReminderPtr> reminders, RemindersBlock withCompletionBlock = {},
                             const WriteNotes& notes = {});
    // Adds or replaces by `reminderID`, all in one commit; for import. Keeps every attribute as given.
    void replaceReminders(std::vector<ReminderPtr> reminders, RemindersBlock withCompletionBlock = {});
    // Writes `series` (adding or replacing it) and removes `copy` in one commit, so that no moment exists without
    // either.
    void replaceCopyWithSeries(const ReminderPtr& copy, const ReminderPtr& series,
                               ReminderBlock withCompletionBlock = {}, const WriteNotes& ofCopy = {},
                               const WriteNotes& ofSeries = {});

    // For the sync. A mark goes to whatever is stored by then; a record that bears it already is not written. No
    // notifications: nothing that anybody sees has changed.
    void markReminders(std::vector<std::string> reminderIDs, CloudMark mark, std::function<void()> completion = {});
    // Lets `decide` settle each of these records in one commit, as it is stored by then. What is overwritten or removed
    // is kept. `decide` runs on the store's queue inside the transaction: it must not use the store. The block gets one
    // verdict for each identifier, in their order.
    void decideReminders(std::vector<std::string> reminderIDs, RecordDecision decide,
                         std::function<void(const std::vector<DecidedRecord>&)> withCompletionBlock = {});
    // Those of which none with the same identifier is stored come back, marked to be deleted at the service, and so
    // does what sync has added in the place of one since its deletion. Where the notes name a push, nothing is done
    // once that is no longer known: the store was cleared for another account meanwhile.
    void addTombstones(const std::vector<ReminderPtr>& reminders, const WriteNotes& notes = {},
                       std::function<void()> completion = {});
    // Not urgent: goes with the next write or soon.
    void pushDidEnd(const std::string& pushID);
    // For the program that syncs, once, before its first push.
    void takeUnfinishedPushesForFailed();
    // Newest first, without those that have had their time.
    [[nodiscard]] std::vector<KeptVersion> keptVersions() const;
    void forgetKeptVersionsBefore(NSDate date);

    // A null predicate takes every record. Empty, with a log line, for a predicate that names unknown attributes.
    [[nodiscard]] FetchResult fetchRemindersForPredicate(const std::optional<NSPredicate>& predicate,
                                                         const std::vector<NSSortDescriptor>& withSortDescriptors,
                                                         ReturnAsReminderObject returnAsReminderObject) const;
    // What a list needs of the records of all parts, one part behind the other, as of one moment. Builds no record.
    // Without predicates that the schema knows, empty with a log line. Ends early, with a part of it, once the stop is
    // asked for.
    [[nodiscard]] ListedReminders listRemindersForParts(const std::vector<ListingPart>& parts,
                                                        const std::stop_token& stop = {}) const;
    // The least value of a date attribute among the records that the fetch above would give. Reads no record.
    [[nodiscard]] OptionalDate earliestDateForPredicate(const NSPredicate& predicate,
                                                        std::string_view withAttribute) const;
    // Of all records whose title contains the text, blind to case, accents, width and kana. For search: does not read
    // the records.
    [[nodiscard]] std::unordered_set<std::string> reminderIDsWithTitleContaining(std::string_view text) const;
    // Visits the identifiers of all records from `first` to `last` (both included; absent for no bound), marked ones
    // too, in the order of their bytes; that of a doubled record as often as it is stored. False if they could not all
    // be read. Does not read the records. The visitor must not use the store.
    [[nodiscard]] bool forEachReminderID(const std::optional<std::string>& first,
                                         const std::optional<std::string>& last,
                                         const std::function<void(const std::string&)>& visit) const;
    // Leaves the record with the newest `modified_date`.
    void deDupReminderWithID(const std::string& reminderID);
    // Deletes everything, after a dated backup.
    void clearRemindersFromStore(std::function<void()> completion = {});

    // Writes a dated backup before completed records are swept, of which only the last few are kept. The block is for
    // the step that cannot be taken back: it runs once the backup is durable, or not at all.
    void backUpBeforeSweep(std::function<void()> completion);

    // Runs on the store's queue for each write that failed and for the first fetch that the file failed; without a
    // handler a line goes to the log.
    void setFailureHandler(std::function<void(const StoreError&)> handler);
    // What was found on opening.
    [[nodiscard]] const StoreHealth& health() const;
    // Blocks until every write submitted before has run its block.
    void waitForWrites();
    // Follows the change log of other processes until the store goes; posts their changes on the main queue.
    void watchForChanges();
    // Sees to other processes' changes now; what the watcher calls.
    void readChangeLog();

  private:
    class Implementation;
    std::unique_ptr<Implementation> _implementation;
};

}  // namespace zun
