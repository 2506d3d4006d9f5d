#pragma once

// Which rows a work will ask for, found by letting it begin on what is remembered of accounts: their own rows say where
// everything else is. A wrong guess costs a trip to the server and nothing else, since the work itself only ever sees
// rows that were read for it.

#include <mutex>
#include <unordered_map>

#include "server/storage/PostgresConnection.h"

namespace zun::cloud {

// Accounts' own rows as they were some time ago. Any thread.
class RememberedAccounts {
  public:
    [[nodiscard]] std::optional<std::string> find(std::string_view account) const;
    void keep(const std::string& account, const std::optional<std::string>& row);

  private:
    mutable std::mutex _mutex;
    std::unordered_map<std::string, std::string> _rows;
};

struct GuessedRows {
    std::vector<RowKey> locked, others;
};

[[nodiscard]] GuessedRows guessRows(const Storage::Work& work, const RememberedAccounts& remembered);

}  // namespace zun::cloud
