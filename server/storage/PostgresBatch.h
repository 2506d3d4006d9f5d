#pragma once

// Several works, one after the other, over rows that were fetched for all of them at once. Each sees what those before
// it have changed; what a work changed that wants no commit is undone. After an exception the whole batch is of no more
// use. Used by one thread at a time.

#include <map>

#include "server/storage/PostgresGuess.h"

namespace zun::cloud {

class PostgresBatch final : public Transaction {
  public:
    // A row was not fetched, and cannot be any more.
    struct Missed {};

    // For reading rows as of one moment: what is not among them throws Missed.
    PostgresBatch(const std::vector<RowKey>& keys, PostgresConnection::Rows rows) {
        add(keys, std::move(rows), Locking::None);
    }
    // For writing in a transaction of the connection, which is asked for what was not fetched.
    PostgresBatch(PostgresConnection& connection, std::size_t works) : _connection(&connection), _works(works) {}

    // For writing over what is remembered: what is not throws Missed. To be stored where everything that was read is
    // still so.
    PostgresBatch(const RememberedRows& remembered, std::size_t works) : _remembered(&remembered), _works(works) {}

    // What the connection has locked and read of it.
    void addForUpdate(const GuessedRows& guessed, PostgresConnection::Rows locked, PostgresConnection::Rows others);
    // Returns the accounts that the work wakes if it is committed. Throws what the work throws.
    [[nodiscard]] std::set<std::string> run(const Storage::Work& work);
    // Whether something has to be committed.
    [[nodiscard]] bool hasChanges() const { return _isChangedBelow || !changedRows().empty(); }
    // To be sent before the commit.
    void store(PostgresConnection& connection) const;
    // The same, where what was remembered is still so; PostgresStale comes with the commit otherwise.
    void storeOverRemembered(PostgresConnection& connection) const;
    // What can be of use to the next one; what was changed is now so.
    void remember(RememberedRows& rows) const;
    // What was remembered is no longer so.
    void doubt(RememberedRows& rows) const;

    std::optional<std::string> get(std::string_view account, Table table, std::string_view name) override;
    std::optional<std::string> getForUpdate(std::string_view account, Table table, std::string_view name) override;
    std::vector<std::optional<std::string>> getMany(std::string_view account, Table table,
                                                    const std::vector<std::string>& names) override;
    void scan(std::string_view account, Table table, std::string_view prefix, std::string_view after, std::size_t limit,
              const Visitor& visitor) override;
    void put(std::string_view account, Table table, std::string_view name, std::string value) override;
    void erase(std::string_view account, Table table, std::string_view name) override;
    void erasePrefix(std::string_view account, Table table, std::string_view prefix) override;
    void wake(std::string_view account) override { _woken.emplace(account); }

  private:
    enum class Locking { None, ForUpdate };
    struct Row {
        std::optional<std::string> value;
        bool isLocked = false;
        bool isChanged = false;
        std::optional<std::optional<std::string>> remembered = std::nullopt;  // what is to be expected
    };
    using Rows = std::map<RowKey, Row>;
    void add(const std::vector<RowKey>& keys, PostgresConnection::Rows rows, Locking locking);
    void change(RowKey key, std::optional<std::string> value);
    [[nodiscard]] PostgresConnection& below() const;
    [[nodiscard]] std::vector<std::pair<RowKey, const std::optional<std::string>*>> changedRows() const;
    void undo();

    [[nodiscard]] std::map<RowKey, Row>::iterator readRemembered(RowKey key);

    PostgresConnection* const _connection = nullptr;
    const RememberedRows* const _remembered = nullptr;
    const std::size_t _works = 0;
    Rows _rows;
    // Of the present work: what it has replaced, nothing for what was not known; and that it cannot be undone here.
    std::vector<std::pair<RowKey, std::optional<Row>>> _before;
    bool _isFinal = false;
    bool _isChangedBelow = false;
    std::set<std::string> _woken;
};

}  // namespace zun::cloud
