#pragma once

// Which rows a work will ask for, found by letting it begin on what is remembered of accounts: their own rows say where
// everything else is. A wrong guess costs a trip to the server and nothing else: what a work sees was either read for
// it or is compared with what is there before anything that it did becomes true.

#include <map>
#include <mutex>
#include <unordered_map>

#include "server/storage/PostgresConnection.h"

namespace zun::cloud {

// Rows as they were some time ago. Any thread.
class RememberedRows {
  public:
    // An account's own row.
    [[nodiscard]] std::optional<std::string> findAccount(std::string_view account) const;
    // Nothing of accounts about which it was wrong lately: somebody else writes there, too.
    [[nodiscard]] std::optional<std::optional<std::string>> find(const RowKey& key) const;
    void keep(const RowKey& key, const std::optional<std::string>& value);
    // It was wrong about this account.
    void doubt(const std::string& account);

  private:
    struct Account {
        std::map<std::pair<Table, std::string>, std::optional<std::string>> rows;
        std::size_t bytes = 0;
        int doubts = 0;  // how often its row is still to be kept before it is trusted
    };
    void forget(Account& account);

    mutable std::mutex _mutex;
    std::unordered_map<std::string, Account> _accounts;
    std::size_t _bytes = 0;
};

struct GuessedRows {
    std::vector<RowKey> locked, others;
};

[[nodiscard]] GuessedRows guessRows(const Storage::Work& work, const RememberedRows& remembered);

}  // namespace zun::cloud
