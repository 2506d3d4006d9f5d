#include "server/storage/PostgresGuess.h"

namespace zun::cloud {
namespace {

// To begin anew costs each account a trip.
constexpr std::size_t bytesRemembered = 64 << 20;
constexpr std::size_t bytesOfAccount = 1 << 20;
constexpr std::size_t bytesOfRow = 128;  // besides its name and value
constexpr int writesInDoubt = 16;

// The work has asked for what can only be answered truly.
struct Enough {};

class Guess final : public Transaction {
  public:
    explicit Guess(const RememberedRows& remembered) : _remembered(remembered) {}

    // Of other rows it is as if nothing was there, with which a read soon ends: quicker than to break it off.
    std::optional<std::string> get(std::string_view account, Table table, std::string_view name) override {
        rows.others.push_back({std::string(account), table, std::string(name)});
        if (table != Table::Account) return std::nullopt;
        return known(account);
    }
    std::optional<std::string> getForUpdate(std::string_view account, Table table, std::string_view name) override {
        rows.locked.push_back({std::string(account), table, std::string(name)});
        if (table != Table::Account) throw Enough{};
        return known(account);
    }
    std::vector<std::optional<std::string>> getMany(std::string_view account, Table table,
                                                    const std::vector<std::string>& names) override {
        for (const auto& name : names)
            rows.others.push_back({std::string(account), table, name});
        return std::vector<std::optional<std::string>>(names.size());
    }
    void scan(std::string_view, Table, std::string_view, std::string_view, std::size_t, const Visitor&) override {
        throw Enough{};
    }
    void put(std::string_view, Table, std::string_view, std::string) override { throw Enough{}; }
    void erase(std::string_view, Table, std::string_view) override { throw Enough{}; }
    void erasePrefix(std::string_view, Table, std::string_view) override { throw Enough{}; }
    void wake(std::string_view) override {}

    GuessedRows rows;

  private:
    [[nodiscard]] std::string known(std::string_view account) const {
        auto row = _remembered.findAccount(account);
        if (!row) throw Enough{};
        return std::move(*row);
    }

    const RememberedRows& _remembered;
};

}  // namespace

std::optional<std::string> RememberedRows::findAccount(std::string_view account) const {
    std::lock_guard lock(_mutex);
    const auto known = _accounts.find(std::string(account));
    if (known == _accounts.end()) return std::nullopt;
    const auto row = known->second.rows.find({Table::Account, {}});
    return row == known->second.rows.end() ? std::nullopt : row->second;
}

std::optional<std::optional<std::string>> RememberedRows::find(const RowKey& key) const {
    std::lock_guard lock(_mutex);
    const auto known = _accounts.find(key.account);
    if (known == _accounts.end() || known->second.doubts > 0) return std::nullopt;
    const auto row = known->second.rows.find({key.table, key.name});
    return row == known->second.rows.end() ? std::nullopt : std::optional(row->second);
}

void RememberedRows::keep(const RowKey& key, const std::optional<std::string>& value) {
    const auto bytes = bytesOfRow + key.name.size() + (value ? value->size() : 0);
    std::lock_guard lock(_mutex);
    if (_bytes > bytesRemembered) {
        _accounts.clear();
        _bytes = 0;
    }
    auto& account = _accounts[key.account];
    if (key.table == Table::Account && account.doubts > 0) --account.doubts;
    if (account.bytes + bytes > bytesOfAccount) forget(account);
    auto [row, isNew] = account.rows.try_emplace({key.table, key.name});
    const auto former = isNew ? 0 : bytesOfRow + key.name.size() + (row->second ? row->second->size() : 0);
    account.bytes += bytes - former;
    _bytes += bytes - former;
    row->second = value;
}

void RememberedRows::doubt(const std::string& account) {
    std::lock_guard lock(_mutex);
    auto& known = _accounts[account];
    forget(known);
    known.doubts = writesInDoubt;
}

void RememberedRows::forget(Account& account) {
    _bytes -= account.bytes;
    account.bytes = 0;
    account.rows.clear();
}

GuessedRows guessRows(const Storage::Work& work, const RememberedRows& remembered) {
    Guess guess(remembered);
    try {
        (void)work(guess);
    } catch (const Enough&) {
    } catch (const StorageFailure&) {
    }
    return std::move(guess.rows);
}

}  // namespace zun::cloud
