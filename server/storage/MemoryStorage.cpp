#include "server/storage/MemoryStorage.h"

#include <set>
#include <vector>

namespace zun::cloud {

// Works on the rows themselves and remembers what it replaced, so that a rollback can put it back.
class MemoryStorage::View final : public Transaction {
  public:
    explicit View(Rows& rows) : _rows(rows) {}

    std::optional<std::string> get(std::string_view account, Table table, std::string_view name) override {
        auto found = _rows.find(std::make_tuple(account, table, name));
        if (found == _rows.end()) return std::nullopt;
        return found->second;
    }

    std::optional<std::string> getForUpdate(std::string_view account, Table table, std::string_view name) override {
        return get(account, table, name);
    }

    void scan(std::string_view account, Table table, std::string_view prefix, std::string_view after, std::size_t limit,
              const Visitor& visitor) override {
        auto row = after < prefix ? _rows.lower_bound(std::make_tuple(account, table, prefix))
                                  : _rows.upper_bound(std::make_tuple(account, table, after));
        for (; limit > 0 && row != _rows.end(); ++row, --limit) {
            const auto& [rowAccount, rowTable, name] = row->first;
            if (rowAccount != account || rowTable != table || !name.starts_with(prefix)) return;
            if (!visitor(name, row->second)) return;
        }
    }

    void put(std::string_view account, Table table, std::string_view name, std::string value) override {
        auto [row, isNew] = _rows.try_emplace(Key(account, table, name));
        _before.emplace_back(row->first, isNew ? std::nullopt : std::optional(std::move(row->second)));
        row->second = std::move(value);
    }

    void erase(std::string_view account, Table table, std::string_view name) override {
        auto row = _rows.find(std::make_tuple(account, table, name));
        if (row != _rows.end()) eraseRow(row);
    }

    void erasePrefix(std::string_view account, Table table, std::string_view prefix) override {
        auto row = _rows.lower_bound(std::make_tuple(account, table, prefix));
        while (row != _rows.end() && std::get<0>(row->first) == account && std::get<1>(row->first) == table &&
               std::get<2>(row->first).starts_with(prefix))
            row = eraseRow(row);
    }

    void wake(std::string_view account) override { _woken.emplace(account); }

    void undo() {
        for (auto change = _before.rbegin(); change != _before.rend(); ++change) {
            if (change->second) {
                _rows[change->first] = std::move(*change->second);
            } else {
                _rows.erase(change->first);
            }
        }
        _before.clear();
        _woken.clear();
    }

    [[nodiscard]] std::set<std::string> takeWoken() { return std::move(_woken); }

  private:
    Rows::iterator eraseRow(Rows::iterator row) {
        _before.emplace_back(row->first, std::move(row->second));
        return _rows.erase(row);
    }

    Rows& _rows;
    std::vector<std::pair<Key, std::optional<std::string>>> _before;
    std::set<std::string> _woken;
};

void MemoryStorage::write(Work work, Done done) {
    std::optional<StorageFailure> failure;
    std::set<std::string> woken;
    {
        std::lock_guard lock(_mutex);
        View view(_rows);
        try {
            if (work(view) == Ending::Rollback) view.undo();
        } catch (const StorageFailure& thrown) {
            view.undo();
            failure = thrown;
        }
        woken = view.takeWoken();
    }
    done(failure);
    _listener.tell(woken);
}

void MemoryStorage::read(Work work, Done done) {
    std::optional<StorageFailure> failure;
    {
        std::lock_guard lock(_mutex);
        View view(_rows);
        try {
            (void)work(view);
        } catch (const StorageFailure& thrown) {
            failure = thrown;
        }
        view.undo();
    }
    done(failure);
}

void MemoryStorage::setWakeListener(WakeListener listener) {
    _listener.set(std::move(listener));
}

void MemoryStorage::dump(const RowVisitor& visitor) {
    std::lock_guard lock(_mutex);
    for (const auto& [key, value] : _rows)
        visitor(std::get<0>(key), std::get<1>(key), std::get<2>(key), value);
}

void MemoryStorage::load(const std::function<void(const RowVisitor& add)>& rows) {
    Rows loaded;
    rows([&](std::string_view account, Table table, std::string_view name, std::string_view value) {
        loaded.insert_or_assign(Key(account, table, name), value);
    });
    std::lock_guard lock(_mutex);
    _rows = std::move(loaded);
}

}  // namespace zun::cloud
