#pragma once

// The rows of a PostgreSQL database through one connection, with transactions to have them in. Used by one thread at a
// time.

#include <compare>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "server/storage/PostgresLink.h"

namespace zun::cloud {

struct RowKey {
    std::string account;
    Table table;
    std::string name;

    auto operator<=>(const RowKey&) const = default;
};

class PostgresConnection final : public Transaction {
  public:
    enum class Mode { Read, Write };
    using Rows = std::vector<std::optional<std::string>>;

    // Throws StorageFailure, as everything here that does not say otherwise.
    explicit PostgresConnection(const PostgresServer& server, PostgresLink::Table table = PostgresLink::Table::Expected)
        : _link(server, table) {}

    [[nodiscard]] bool isOpen() const { return _link.isOpen(); }
    [[nodiscard]] bool isStillOpen() noexcept { return _link.isStillOpen(); }

    void begin(Mode mode) { _link.say(mode == Mode::Read ? "read" : "write"); }
    void commit() {
        startCommit();
        endCommit();
    }
    // These two never fail.
    void rollback() noexcept { _link.rollback(); }
    void endReading() noexcept;
    // Tells every process, and does not wait until it is told. Never fails: who loses the connection looks anyway.
    void notify(const std::set<std::string>& payloads) noexcept;

    // What is asked in two halves is answered while the thread does something else: once hasAnswer() says so, which may
    // be when the socket is readable, the second half does not wait. Between the halves nothing else is asked.
    [[nodiscard]] bool hasAnswer() noexcept { return _link.isCollected(); }
    [[nodiscard]] int socket() const { return _link.socket(); }
    // Whether the server has taken too long between the halves. Once it is given up, the second half fails.
    [[nodiscard]] bool hasGoneSilent() const { return _link.hasGoneSilent(); }
    void giveUp() noexcept { _link.giveUp(); }

    void startCommit() {
        _link.say("commit");
        _link.startCollecting();
    }
    // Where no transaction has begun: what was sent since the last answer is one by itself.
    void startCommitWithoutBegin() { _link.startCollecting(); }
    void endCommit() { (void)_link.endCollecting(); }
    // Rows as of one moment, in the order asked for, without a transaction.
    void startFetch(const std::vector<RowKey>& keys);
    [[nodiscard]] Rows endFetch(std::size_t count);
    // Locks rows and reads them and others, in a transaction that has begun.
    void startFetchForUpdate(const std::vector<RowKey>& locked, const std::vector<RowKey>& others);
    [[nodiscard]] std::pair<Rows, Rows> endFetchForUpdate(std::size_t locked, std::size_t others);
    // Rows that are there get another value, and others stay as they are. Sends it with what comes next, which fails as
    // PostgresStale where a row is not what is said; nothing stands for no row at all. What is replaced, and the first
    // of those that stay, which must be there, are locked.
    struct Replacement {
        const RowKey& key;
        const std::string &before, &after;
    };
    using Replaced = std::vector<Replacement>;
    void replace(const Replaced& rows);
    using Expected = std::vector<std::pair<RowKey, const std::optional<std::string>*>>;
    void expect(const Expected& locked, const Expected& others);
    // A row each, once; nothing for rows that shall not be there. Sends it with what comes next.
    void store(const Expected& rows);
    void eraseAll() { _link.say("eraseAll"); }
    void dump(const Storage::RowVisitor& visitor);

    std::optional<std::string> get(std::string_view account, Table table, std::string_view name) override;
    std::optional<std::string> getForUpdate(std::string_view account, Table table, std::string_view name) override;
    std::vector<std::optional<std::string>> getMany(std::string_view account, Table table,
                                                    const std::vector<std::string>& names) override;
    void scan(std::string_view account, Table table, std::string_view prefix, std::string_view after, std::size_t limit,
              const Visitor& visitor) override;
    void put(std::string_view account, Table table, std::string_view name, std::string value) override;
    void erase(std::string_view account, Table table, std::string_view name) override;
    void erasePrefix(std::string_view account, Table table, std::string_view prefix) override;
    void wake(std::string_view) override {}

  private:
    PostgresLink _link;
};

}  // namespace zun::cloud
