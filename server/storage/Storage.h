#pragma once

// Where the record service keeps everything: rows of bytes in a few tables, keyed by the account first, then by table
// and name. Rows without an account are the service's own. Three implementations: memory, SQLite, PostgreSQL.
//
// A transaction sees its own changes, and becomes visible and durable as a whole or not at all. Names are compared byte
// by byte.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zun::cloud {

class EventLoop;

// The numbers stand in stored rows.
enum class Table : std::uint8_t {
    Service = 1,       // "" -> the service's epoch and secret
    AccountName = 2,   // name -> account
    Invitation = 3,    // hash of its code
    ShareURL = 4,      // secret part of the URL -> where the share is
    Account = 10,      // "" -> who it is, its zones, devices and subscriptions
    Record = 11,       // zone, record name -> the record, or that it was deleted
    Feed = 12,         // zone, sequence number -> the record that changed last at that number
    Grave = 13,        // zone, sequence number -> when a record was deleted
    Visible = 14,      // zone, record name -> by which share a record of somebody else is seen
    Push = 15,         // device, number -> a push that the device may still ask for
    ExpiredToken = 16  // device -> the expired tokens that it was told of
};

// The disk is full, the database cannot be reached, a file is damaged. Thrown inside transactions and by constructors.
class StorageFailure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Transaction {
  public:
    // Returns whether to go on.
    using Visitor = std::function<bool(std::string_view name, std::string_view value)>;

    virtual ~Transaction() = default;
    [[nodiscard]] virtual std::optional<std::string> get(std::string_view account, Table table,
                                                         std::string_view name) = 0;
    // The same, and until this transaction ends no other one can change the row or read it this way. Whatever writes
    // rows of an account reads the account's own row like this first.
    [[nodiscard]] virtual std::optional<std::string> getForUpdate(std::string_view account, Table table,
                                                                  std::string_view name) = 0;
    // In the order asked for.
    [[nodiscard]] virtual std::vector<std::optional<std::string>> getMany(std::string_view account, Table table,
                                                                          const std::vector<std::string>& names);
    // Rows whose names begin with `prefix` and come after `after`, in order. The visitor must not use the transaction.
    virtual void scan(std::string_view account, Table table, std::string_view prefix, std::string_view after,
                      std::size_t limit, const Visitor& visitor) = 0;
    virtual void put(std::string_view account, Table table, std::string_view name, std::string value) = 0;
    virtual void erase(std::string_view account, Table table, std::string_view name) = 0;
    // All rows whose names begin with `prefix`.
    virtual void erasePrefix(std::string_view account, Table table, std::string_view prefix) = 0;
    // Once this is committed, every process over this storage hears that there is news for the account.
    virtual void wake(std::string_view account) = 0;
};

// The first name after all that begin with the prefix. Names are shorter than what stands for the end of all.
[[nodiscard]] std::string endOfPrefix(std::string_view prefix);

class Storage {
  public:
    enum class Ending { Commit, Rollback };
    // May run again from the start, after it was broken off by an exception or has seen rows that are no longer so: it
    // changes nothing but rows and what it overwrites, and only its last run counts.
    using Work = std::function<Ending(Transaction&)>;
    // Null once the work is durable, or was rolled back as it wished.
    using Done = std::function<void(std::optional<StorageFailure>)>;
    using WakeListener = std::function<void(const std::string& account)>;
    using RowVisitor =
        std::function<void(std::string_view account, Table table, std::string_view name, std::string_view value)>;

    virtual ~Storage() = default;
    // Both run the work and then `done` on any thread, perhaps before they return, never under a lock. Writes of one
    // account happen one after the other. A read sees one moment, and all that was reported as done before it began.
    virtual void write(Work work, Done done) = 0;
    virtual void read(Work work, Done done) = 0;
    // A thread's place among those that the storage serves in their own loops.
    class Seat {
      public:
        // In its thread. Waits for what is under way.
        virtual ~Seat() = default;
    };
    // For a thread, before its loop of events begins, so that what it asks for passes no other thread; one storage at a
    // time, and until the seat ends, which has to be after the loop. Null where that makes no difference. Blocks.
    [[nodiscard]] virtual std::unique_ptr<Seat> joinLoop(EventLoop&) { return nullptr; }
    // Whether read() and write() may wait for the disk, so that it takes more threads than cores to keep these busy.
    [[nodiscard]] virtual bool keepsCallersWaiting() const { return true; }
    // Waits until all that was accepted has ended, so that whoever it tells may go. Nothing more is asked for
    // meanwhile. Not on a thread that has joined, nor on one of the storage's own.
    virtual void waitUntilIdle() {}
    // One listener; it runs on any thread, perhaps more often than there is news, and once more than expected: a call
    // may be under way when it is replaced. No account at all stands for any of them: wakes may have been missed.
    virtual void setWakeListener(WakeListener listener) = 0;
    // Every row of one moment, accounts in order. Blocks; throws StorageFailure.
    virtual void dump(const RowVisitor& visitor) = 0;
    // Replaces everything by what `rows` gives out. Blocks; throws StorageFailure, and then nothing has changed.
    virtual void load(const std::function<void(const RowVisitor& add)>& rows) = 0;
    // What is wrong with the storage itself, one line each; empty if it is sound. Blocks.
    [[nodiscard]] virtual std::vector<std::string> check() = 0;
};

}  // namespace zun::cloud
