#pragma once

// The one that changes the store: each commit() is one transaction, durable when it returns. The store's serial queue
// only.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ZunDataModel/ReminderAttributes.h"
#include "ZunDataModel/store/ChangeLog.h"
#include "ZunDataModel/store/RecordMapping.h"
#include "ZunDataModel/store/StoreFailure.h"
#include "ZunDataModel/store/StoreFiles.h"
#include "ZunDataModel/store/StoreLock.h"
#include "ZunDataModel/store/StoreSession.h"
#include "platform/foundation/Environment.h"

namespace zun {

// The changes that one transaction may make; each goes into the change log. Attributes must be storable.
// Where several records share an identifier, an update goes to the one added first, a removal to all.
class RecordChanges {
  public:
    RecordChanges(StoreConnection& connection, ChangeLogWriter& log) : _connection(connection), _log(log) {}

    void add(const ReminderAttributes& attributes);
    // False, and nothing written, if no such record is stored.
    bool update(const ReminderAttributes& attributes);
    // True if it was added, false if it replaced a stored one.
    bool addOrUpdate(const ReminderAttributes& attributes);
    // How many went.
    std::size_t remove(const std::string& reminderID);
    // Leaves the record with the newest `modified_date`, of equals the one added first. How many went.
    std::size_t deDup(const std::string& reminderID);
    void clear();
    [[nodiscard]] StoreConnection& connection() { return _connection; }
    // Gives records without an identifier one of their own. How many there were.
    std::size_t identify(const Environment& environment);

  private:
    std::optional<std::int64_t> rowOf(const std::string& reminderID);
    void write(std::string_view sql, const ReminderAttributes& attributes, std::optional<std::int64_t> row);

    StoreConnection& _connection;
    ChangeLogWriter& _log;
    RecordScratch _scratch;
};

class StoreWriter {
  public:
    // `session` may be null only with a refusal: every commit then fails with it.
    StoreWriter(StoreFiles files, StoreSession* session, std::optional<StoreError> refusal);

    // The error, if nothing was changed.
    [[nodiscard]] std::optional<StoreError> commit(const std::function<void(RecordChanges&)>& work);
    // Backs the store up under a dated name and then deletes all records in one transaction.
    [[nodiscard]] std::optional<StoreError> clear(NSDate now);
    // The backup alone; an empty store needs none.
    [[nodiscard]] std::optional<StoreError> backUp(NSDate now, std::string_view reason);
    // Three reasons to write the log back into the file. None fails: what was committed stays in the log until the next
    // time.
    void checkpointIfLong();
    void checkpointAtRest();
    void checkpointAtEnd();
    [[nodiscard]] bool hasUncheckpointedPages() const { return _pagesInLog > 0; }
    // What this store's entries in the change log bear; 0 before the first. Any thread.
    [[nodiscard]] const std::atomic<std::int64_t>& number() const { return _number; }

  private:
    // What becomes of the log's file: kept, so that further commits need not make it grow again, or emptied, so that
    // the next program does not have to read it.
    enum class Log { Keep, Empty };

    StoreConnection& connection();
    void checkpoint(Log log);
    void checkpointHoldingLock(Log log);
    void backUpHoldingLock(NSDate now, std::string_view reason);
    void commitHoldingLock(StoreConnection& connection, const std::function<void(RecordChanges&)>& work);
    StoreError failed();

    StoreFiles _files;
    StoreSession* _session;
    std::optional<StoreError> _refusal;
    StoreLock _lock;
    std::atomic<std::int64_t> _number = 0;
    int _pagesInLog = 0;
    std::unique_ptr<StoreConnection> _connection;  // opened by the first write
};

}  // namespace zun
