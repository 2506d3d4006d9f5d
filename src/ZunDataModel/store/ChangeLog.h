#pragma once

// The log by which processes tell each other which records changed. It is written in the transaction of the change
// itself, so the two can never disagree. Numbers rise without end; each writer is known by the number of its first
// entry.

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ZunDataModel/store/StoreConnection.h"

namespace zun {

// The values stand in files: never change one.
enum class ChangeKind {
    Added = 1,
    Updated = 2,
    Removed = 3,
    Deduped = 4,
    Many = 5,  // more than is worth telling one by one, or all records: names none
};

struct Change {
    ChangeKind kind;
    std::string reminderID;
};

// Collects the changes of one transaction and writes them at its end. Used inside the transaction, by its thread.
class ChangeLogWriter {
  public:
    explicit ChangeLogWriter(std::atomic<std::int64_t>& writer) : _writer(writer) {}

    void add(ChangeKind kind, std::string_view reminderID) { _changes.push_back({kind, std::string(reminderID)}); }
    // Sets the writer's number with its first entry, before the commit: its own watcher must know it by then.
    void finish(StoreConnection& connection);

  private:
    std::atomic<std::int64_t>& _writer;
    std::vector<Change> _changes;
};

// What others wrote after an entry, oldest first. `ownWriter` is looked at for each entry: this store's first commit
// may come while the log is being read.
struct ForeignChanges {
    std::int64_t last = 0;    // the newest entry there is
    bool incomplete = false;  // entries in between were dropped already
    std::vector<Change> changes;
};
[[nodiscard]] ForeignChanges readForeignChanges(StoreConnection& connection, std::int64_t after,
                                                const std::atomic<std::int64_t>& ownWriter);
[[nodiscard]] std::int64_t newestChange(StoreConnection& connection);

}  // namespace zun
