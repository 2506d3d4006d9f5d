#pragma once

// The bookkeeping for the sync within one transaction. See ZunDataModel/CloudBookkeeping.h for what it means. The
// store's queue only; throws SQLite::Exception.

#include <string>
#include <vector>

#include "ZunDataModel/CloudBookkeeping.h"
#include "ZunDataModel/store/StoreWriter.h"

namespace zun {

class CloudChanges {
  public:
    explicit CloudChanges(RecordChanges& records) : _connection(records.connection()), _records(records) {}

    // Before the write itself, for each record of it. `after` is what will stand there; null for a removal.
    void note(const std::string& reminderID, const ReminderAttributes* after, const WriteNotes& notes, NSDate now);
    void endPushes(const std::vector<std::string>& pushIDs);
    // True if such a record is stored and did not bear the mark.
    bool mark(const std::string& reminderID, CloudMark mark);
    // Lets the decision settle what is stored under the identifier, and keeps what goes by it.
    [[nodiscard]] DecidedRecord decide(const std::string& reminderID, std::size_t index, const RecordDecision& decision,
                                       NSDate now);
    [[nodiscard]] bool hasNoteOfDeletion(const std::string& pushID);
    // Adds the record again, marked as one to be deleted. One that is stored stays as it is, unless sync added it while
    // the push of the deletion was under way: then it gets the mark, and the result is true.
    bool addTombstone(ReminderAttributes record);
    // Gives every record whose push did not end the mark that a failed push leaves. How many pushes there were.
    std::size_t takeUnfinishedPushesForFailed();
    void forgetKeptBefore(NSDate date);

  private:
    void keep(const std::string& reminderID, KeptReason reason, const std::optional<std::string>& pushID, NSDate now);
    [[nodiscard]] bool hasArrivedWhileDeleted(const std::string& reminderID);
    [[nodiscard]] std::optional<ReminderAttributes> stored(const std::string& reminderID);

    StoreConnection& _connection;
    RecordChanges& _records;
};

// Newest first, without those of pushes under way.
[[nodiscard]] std::vector<KeptVersion> keptVersions(StoreConnection& connection);

// Whether a program ended before all of its pushes did.
[[nodiscard]] bool hasUnfinishedPushes(StoreConnection& connection);
[[nodiscard]] bool hasKeptVersionsBefore(StoreConnection& connection, NSDate date);

void createCloudTables(StoreConnection& connection);

}  // namespace zun
