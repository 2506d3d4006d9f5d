#include "server/storage/PostgresBatch.h"

#include <algorithm>
#include <utility>

namespace zun::cloud {

void PostgresBatch::addForUpdate(const GuessedRows& guessed, PostgresConnection::Rows locked,
                                 PostgresConnection::Rows others) {
    add(guessed.locked, std::move(locked), Locking::ForUpdate);
    add(guessed.others, std::move(others), Locking::None);
}

void PostgresBatch::add(const std::vector<RowKey>& keys, PostgresConnection::Rows rows, Locking locking) {
    for (std::size_t place = 0; place < keys.size(); ++place) {
        // What is not there could not be locked.
        const bool isLocked = locking == Locking::ForUpdate && rows.at(place);
        _rows.try_emplace(keys[place], Row{std::move(rows[place]), isLocked});
    }
}

std::set<std::string> PostgresBatch::run(const Storage::Work& work) {
    _before.clear();
    _woken.clear();
    _isFinal = false;
    if (work(*this) == Storage::Ending::Commit && (_connection || _remembered)) return std::move(_woken);
    undo();
    return {};
}

void PostgresBatch::undo() {
    if (_isFinal) {
        // The transaction cannot be committed; with the others it has to begin anew, each by itself.
        if (_works > 1) throw PostgresConflict("a work of several has changed its mind");
        _isChangedBelow = false;
        _rows.clear();
        return;
    }
    for (auto change = _before.rbegin(); change != _before.rend(); ++change) {
        if (change->second) {
            _rows[change->first] = std::move(*change->second);
        } else {
            _rows.erase(change->first);
        }
    }
}

std::vector<std::pair<RowKey, const std::optional<std::string>*>> PostgresBatch::changedRows() const {
    std::vector<std::pair<RowKey, const std::optional<std::string>*>> changed;
    for (const auto& [key, row] : _rows)
        if (row.isChanged) changed.emplace_back(key, &row.value);
    return changed;
}

void PostgresBatch::store(PostgresConnection& connection) const {
    if (const auto changed = changedRows(); !changed.empty()) connection.store(changed);
}

void PostgresBatch::storeOverRemembered(PostgresConnection& connection) const {
    PostgresConnection::Replaced replaced;
    PostgresConnection::Expected locked, others, stored;
    for (const auto& [key, row] : _rows) {
        if (row.remembered && *row.remembered && row.isChanged && row.value) {
            replaced.push_back({key, **row.remembered, *row.value});
            continue;
        }
        if (row.remembered) (row.isLocked ? locked : others).emplace_back(key, &*row.remembered);
        if (row.isChanged) stored.emplace_back(key, &row.value);
    }
    connection.replace(replaced);
    connection.expect(locked, others);
    connection.store(stored);
}

// Rows of other tables are written and hardly ever read by their names.
void PostgresBatch::remember(RememberedRows& rows) const {
    const bool isWriting = _connection || _remembered;
    for (const auto& [key, row] : _rows)
        if (key.table == Table::Account || (isWriting && key.table == Table::Record)) rows.keep(key, row.value);
}

void PostgresBatch::doubt(RememberedRows& rows) const {
    for (const auto& [key, row] : _rows)
        if (row.remembered) rows.doubt(key.account);
}

std::map<RowKey, PostgresBatch::Row>::iterator PostgresBatch::readRemembered(RowKey key) {
    auto value = _remembered->find(key);
    if (!value) throw Missed{};
    Row row{*value};
    row.remembered = std::move(*value);
    return _rows.emplace(std::move(key), std::move(row)).first;
}

PostgresConnection& PostgresBatch::below() const {
    if (!_connection) throw Missed{};
    return *_connection;
}

std::optional<std::string> PostgresBatch::get(std::string_view account, Table table, std::string_view name) {
    RowKey key{std::string(account), table, std::string(name)};
    const auto known = _rows.find(key);
    if (known != _rows.end()) return known->second.value;
    if (_remembered) return readRemembered(std::move(key))->second.value;
    return _rows.emplace(std::move(key), Row{below().get(account, table, name)}).first->second.value;
}

std::optional<std::string> PostgresBatch::getForUpdate(std::string_view account, Table table, std::string_view name) {
    if (_remembered) {
        // What is not there cannot be locked by expecting it.
        RowKey key{std::string(account), table, std::string(name)};
        auto known = _rows.find(key);
        if (known == _rows.end()) known = readRemembered(std::move(key));
        if (!known->second.remembered || !*known->second.remembered) throw Missed{};
        known->second.isLocked = true;
        return known->second.value;
    }
    RowKey key{std::string(account), table, std::string(name)};
    const auto known = _rows.find(key);
    if (known != _rows.end() && known->second.isLocked) return known->second.value;
    // First, for where that fails nothing is known of the row.
    auto stored = below().getForUpdate(account, table, name);
    auto& row = _rows[std::move(key)];
    if (!row.isChanged) row.value = std::move(stored);
    row.isLocked = true;
    return row.value;
}

std::vector<std::optional<std::string>> PostgresBatch::getMany(std::string_view account, Table table,
                                                               const std::vector<std::string>& names) {
    std::vector<RowKey> unknown;
    for (const auto& name : names)
        if (RowKey key{std::string(account), table, name}; !_rows.contains(key)) unknown.push_back(std::move(key));
    if (_remembered) {
        for (auto& key : unknown)
            if (!_rows.contains(key)) (void)readRemembered(std::move(key));
    } else if (!unknown.empty()) {
        below().startFetch(unknown);
        add(unknown, below().endFetch(unknown.size()), Locking::None);
    }
    return Transaction::getMany(account, table, names);
}

void PostgresBatch::scan(std::string_view account, Table table, std::string_view prefix, std::string_view after,
                         std::size_t limit, const Visitor& visitor) {
    std::map<std::string, std::optional<std::string>, std::less<>> found;
    std::size_t gone = 0;
    for (auto row = _rows.lower_bound({std::string(account), table, std::string(std::max(prefix, after))});
         row != _rows.end() && row->first.account == account && row->first.table == table &&
         row->first.name.starts_with(prefix);
         ++row) {
        if (!row->second.isChanged || row->first.name == after) continue;
        found.emplace(row->first.name, row->second.value);
        if (!row->second.value) ++gone;
    }
    if (found.empty()) {
        below().scan(account, table, prefix, after, limit, visitor);
        return;
    }
    const auto most = limit > SIZE_MAX - gone ? SIZE_MAX : limit + gone;
    below().scan(account, table, prefix, after, most, [&](std::string_view name, std::string_view value) {
        found.try_emplace(std::string(name), value);
        return true;
    });
    for (const auto& [name, value] : found) {
        if (!value) continue;
        if (limit-- == 0 || !visitor(name, *value)) return;
    }
}

void PostgresBatch::change(RowKey key, std::optional<std::string> value) {
    const auto known = _rows.find(key);
    if (known == _rows.end()) {
        _before.emplace_back(key, std::nullopt);
        _rows.emplace(std::move(key), Row{std::move(value), false, true});
        return;
    }
    auto& row = known->second;
    _before.emplace_back(std::move(key), row);
    row.value = std::move(value);
    row.isChanged = true;
}

void PostgresBatch::put(std::string_view account, Table table, std::string_view name, std::string value) {
    change({std::string(account), table, std::string(name)}, std::move(value));
}

void PostgresBatch::erase(std::string_view account, Table table, std::string_view name) {
    change({std::string(account), table, std::string(name)}, std::nullopt);
}

void PostgresBatch::erasePrefix(std::string_view account, Table table, std::string_view prefix) {
    below().erasePrefix(account, table, prefix);
    _isFinal = _isChangedBelow = true;
    for (auto row = _rows.lower_bound({std::string(account), table, std::string(prefix)});
         row != _rows.end() && row->first.account == account && row->first.table == table &&
         row->first.name.starts_with(prefix);
         ++row)
        row->second = Row{std::nullopt, row->second.isLocked, true};
}

}  // namespace zun::cloud
