#include "server/storage/PostgresConnection.h"

#include <algorithm>

namespace zun::cloud {
namespace {

// Rows that are fetched together: from few to many while they are small, so that large ones do not fill the memory.
constexpr std::size_t fewRows = 64, manyRows = 1'000;
constexpr std::size_t bytesPerFetch = 1 << 20;

std::size_t rowsAfter(std::size_t rows, std::size_t bytes) {
    const auto fitting = rows * bytesPerFetch / std::max<std::size_t>(bytes, 1);
    return std::clamp<std::size_t>(std::min(fitting, 4 * rows), 1, manyRows);
}
// So few are found quicker by a simple statement each than by one over lists.
constexpr std::size_t fewKeys = 4;
// The numbers of types.
constexpr std::uint64_t bytesType = 17, smallType = 21;

// Numbers as the server reads them: the highest byte first.
template <std::size_t size>
std::string big(std::uint64_t number) {
    std::string bytes(size, '\0');
    for (std::size_t place = size; place-- > 0; number >>= 8)
        bytes[place] = static_cast<char>(number);
    return bytes;
}

std::uint64_t numberFrom(std::string_view bytes) {
    std::uint64_t number = 0;
    for (const char byte : bytes)
        number = number << 8 | static_cast<unsigned char>(byte);
    return number;
}

std::string kindOf(Table table) {
    return big<2>(static_cast<std::uint64_t>(table));
}

// A list of one dimension as the server reads it.
class List {
  public:
    List(std::uint64_t type, std::size_t count) : _bytes(big<4>(1) + big<4>(0) + big<4>(type) + big<4>(count)) {
        _bytes += big<4>(1);
    }
    void addOrNothing(const std::optional<std::string>& item) {
        if (item) {
            add(*item);
        } else {
            _bytes.append(4, '\xff');
        }
    }
    void add(std::string_view item) {
        _bytes += big<4>(item.size());
        _bytes += item;
    }
    // NOLINTNEXTLINE(google-explicit-constructor): what it is for
    operator std::string_view() const { return _bytes; }

  private:
    std::string _bytes;
};

struct KeyLists {
    explicit KeyLists(std::size_t count)
        : accounts(bytesType, count), kinds(smallType, count), names(bytesType, count) {}
    explicit KeyLists(const std::vector<RowKey>& keys) : KeyLists(keys.size()) {
        for (const auto& key : keys)
            add(key);
    }
    void add(const RowKey& key) {
        accounts.add(key.account);
        kinds.add(kindOf(key.table));
        names.add(key.name);
    }

    List accounts, kinds, names;
};

std::string_view bytesAt(const PGresult* result, int row, int column) {
    return {PQgetvalue(result, row, column), static_cast<std::size_t>(PQgetlength(result, row, column))};
}

// Rows that say which place of the question they answer, counted from 1.
PostgresConnection::Rows inPlaces(const PGresult* result, std::size_t count) {
    PostgresConnection::Rows rows(count);
    for (int row = 0; row < PQntuples(result); ++row)
        rows.at(numberFrom(bytesAt(result, row, 0)) - 1).emplace(bytesAt(result, row, 1));
    return rows;
}

std::optional<std::string> onlyValue(const PGresult* result) {
    if (PQntuples(result) == 0) return std::nullopt;
    return std::string(bytesAt(result, 0, 0));
}

}  // namespace

void PostgresConnection::endReading() noexcept {
    try {
        _link.say("rollback");
        _link.send();
    } catch (const StorageFailure&) {
        _link.rollback();
    }
}

void PostgresConnection::notify(const std::set<std::string>& payloads) noexcept {
    try {
        for (const auto& payload : payloads)
            _link.say("notify", {payload});
        _link.send();
    } catch (const StorageFailure&) {
        _link.rollback();
    }
}

void PostgresConnection::startFetch(const std::vector<RowKey>& keys) {
    const KeyLists lists(keys);
    _link.say("getRows", {lists.accounts, lists.kinds, lists.names});
    _link.startCollecting();
}

PostgresConnection::Rows PostgresConnection::endFetch(std::size_t count) {
    return inPlaces(_link.endCollecting().back().get(), count);
}

void PostgresConnection::startFetchForUpdate(const std::vector<RowKey>& locked, const std::vector<RowKey>& others) {
    if (locked.size() + others.size() <= fewKeys) {
        for (const auto& key : locked)
            _link.say("getForUpdate", {key.account, kindOf(key.table), key.name});
        for (const auto& key : others)
            _link.say("get", {key.account, kindOf(key.table), key.name});
    } else {
        const KeyLists lockedLists(locked), otherLists(others);
        _link.say("getRowsForUpdate", {lockedLists.accounts, lockedLists.kinds, lockedLists.names});
        if (!others.empty()) _link.say("getRows", {otherLists.accounts, otherLists.kinds, otherLists.names});
    }
    _link.startCollecting();
}

// What was said before stands before it among the answers.
std::pair<PostgresConnection::Rows, PostgresConnection::Rows> PostgresConnection::endFetchForUpdate(
    std::size_t locked, std::size_t others) {
    const auto answers = _link.endCollecting();
    if (locked + others > fewKeys) {
        if (others == 0) return {inPlaces(answers.end()[-1].get(), locked), {}};
        return {inPlaces(answers.end()[-2].get(), locked), inPlaces(answers.end()[-1].get(), others)};
    }
    auto answer = answers.end() - static_cast<std::ptrdiff_t>(locked + others);
    std::pair<Rows, Rows> rows;
    for (std::size_t place = 0; place < locked; ++place)
        rows.first.push_back(onlyValue((answer++)->get()));
    for (std::size_t place = 0; place < others; ++place)
        rows.second.push_back(onlyValue((answer++)->get()));
    return rows;
}

void PostgresConnection::replace(const Replaced& rows) {
    if (rows.empty()) return;
    KeyLists keys(rows.size());
    List before(bytesType, rows.size()), after(bytesType, rows.size());
    for (const auto& row : rows) {
        keys.add(row.key);
        before.add(row.before);
        after.add(row.after);
    }
    _link.say("replaceRows", {keys.accounts, keys.kinds, keys.names, before, after});
}

void PostgresConnection::expect(const Expected& locked, const Expected& others) {
    for (const auto& [statement, rows] : {std::pair("expectForUpdate", &locked), {"expect", &others}}) {
        if (rows->empty()) continue;
        KeyLists keys(rows->size());
        List values(bytesType, rows->size());
        for (const auto& [key, value] : *rows) {
            keys.add(key);
            values.addOrNothing(*value);
        }
        _link.say(statement, {keys.accounts, keys.kinds, keys.names, values});
    }
}

void PostgresConnection::store(const Expected& rows) {
    const auto kept = static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [](const auto& row) { return row.second->has_value(); }));
    KeyLists keptKeys(kept), gone(rows.size() - kept);
    List values(bytesType, kept);
    for (const auto& [key, value] : rows) {
        (*value ? keptKeys : gone).add(key);
        if (*value) values.add(**value);
    }
    if (kept < rows.size()) _link.say("eraseRows", {gone.accounts, gone.kinds, gone.names});
    if (kept > 0) _link.say("putRows", {keptKeys.accounts, keptKeys.kinds, keptKeys.names, values});
}

std::optional<std::string> PostgresConnection::get(std::string_view account, Table table, std::string_view name) {
    return onlyValue(_link.ask("get", {account, kindOf(table), name}).get());
}

std::optional<std::string> PostgresConnection::getForUpdate(std::string_view account, Table table,
                                                            std::string_view name) {
    const auto kind = kindOf(table);
    if (auto value = onlyValue(_link.ask("getForUpdate", {account, kind, name}).get())) return value;
    // What is not there cannot be locked, but its name can.
    _link.say("lock", {account, kind, name});
    return onlyValue(_link.ask("getForUpdate", {account, kind, name}).get());
}

std::vector<std::optional<std::string>> PostgresConnection::getMany(std::string_view account, Table table,
                                                                    const std::vector<std::string>& names) {
    if (names.empty()) return {};
    std::vector<RowKey> keys;
    keys.reserve(names.size());
    for (const auto& name : names)
        keys.push_back({std::string(account), table, name});
    startFetch(keys);
    return endFetch(keys.size());
}

void PostgresConnection::scan(std::string_view account, Table table, std::string_view prefix, std::string_view after,
                              std::size_t limit, const Visitor& visitor) {
    const auto kind = kindOf(table), end = endOfPrefix(prefix);
    std::string place(after < prefix ? prefix : after);
    const char* statement = after < prefix ? "scanFrom" : "scanAfter";
    auto together = fewRows;
    while (limit > 0) {
        const auto wanted = std::min(limit, together);
        const auto count = big<8>(wanted);
        const auto result = _link.ask(statement, {account, kind, place, end, count});
        const int rows = PQntuples(result.get());
        std::size_t bytes = 0;
        for (int row = 0; row < rows; ++row) {
            const auto value = bytesAt(result.get(), row, 1);
            bytes += value.size();
            if (!visitor(bytesAt(result.get(), row, 0), value)) return;
        }
        if (static_cast<std::size_t>(rows) < wanted) return;
        together = rowsAfter(wanted, bytes);
        place = bytesAt(result.get(), rows - 1, 0);
        statement = "scanAfter";
        limit -= wanted;
    }
}

void PostgresConnection::put(std::string_view account, Table table, std::string_view name, std::string value) {
    _link.say("put", {account, kindOf(table), name, value});
}

void PostgresConnection::erase(std::string_view account, Table table, std::string_view name) {
    _link.say("erase", {account, kindOf(table), name});
}

void PostgresConnection::erasePrefix(std::string_view account, Table table, std::string_view prefix) {
    _link.say("erasePrefix", {account, kindOf(table), prefix, endOfPrefix(prefix)});
}

void PostgresConnection::dump(const Storage::RowVisitor& visitor) {
    std::string account, kind = big<2>(0), name;
    auto together = fewRows;
    while (true) {
        const auto count = big<8>(together);
        const auto result = _link.ask("next", {account, kind, name, count});
        const int rows = PQntuples(result.get());
        if (rows == 0) return;
        std::size_t bytes = 0;
        for (int row = 0; row < rows; ++row) {
            const auto table = bytesAt(result.get(), row, 1), value = bytesAt(result.get(), row, 3);
            bytes += value.size();
            visitor(bytesAt(result.get(), row, 0), static_cast<Table>(static_cast<unsigned char>(table[1])),
                    bytesAt(result.get(), row, 2), value);
        }
        together = rowsAfter(static_cast<std::size_t>(rows), bytes);
        account = bytesAt(result.get(), rows - 1, 0);
        kind = bytesAt(result.get(), rows - 1, 1);
        name = bytesAt(result.get(), rows - 1, 2);
    }
}

}  // namespace zun::cloud
