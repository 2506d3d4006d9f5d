#include "server/storage/PostgresConnection.h"

#include <algorithm>
#include <array>
#include <map>

namespace zun::cloud {
namespace {

// So few that their answers fit into the buffers of the connection while nobody reads them.
constexpr int saidAtOnce = 200;
constexpr std::size_t rowsPerFetch = 1'000;
constexpr int bytesType = 17;  // the number of bytea

// Numbers as the server reads them: the highest byte first.
template <std::size_t size>
std::string big(std::uint64_t number) {
    std::string bytes(size, '\0');
    for (std::size_t place = size; place-- > 0; number >>= 8)
        bytes[place] = static_cast<char>(number);
    return bytes;
}

std::string kindOf(Table table) {
    return big<2>(static_cast<std::uint64_t>(table));
}

std::string arrayOf(const std::vector<std::string>& names) {
    std::string array = big<4>(1) + big<4>(0) + big<4>(bytesType) + big<4>(names.size()) + big<4>(1);
    for (const auto& name : names)
        array += big<4>(name.size()) + name;
    return array;
}

std::string_view bytesAt(const PGresult* result, int row, int column) {
    return {PQgetvalue(result, row, column), static_cast<std::size_t>(PQgetlength(result, row, column))};
}

}  // namespace

PostgresConnection::PostgresConnection(const std::string& address) : _handle(PQconnectdb(address.c_str())) {
    if (!isOpen()) throw StorageFailure(std::string("PostgreSQL: ") + PQerrorMessage(_handle.get()));
    PQsetNoticeProcessor(
        _handle.get(), [](void*, const char*) {}, nullptr);
    // Two writes that wait for each other are told so soon, and not after the server's second.
    execute("SET lock_timeout = '200ms'");
    // Several processes may come at the same time.
    execute(
        "BEGIN; SET LOCAL lock_timeout = 0; SELECT pg_advisory_xact_lock(7237123447126);"
        "CREATE TABLE IF NOT EXISTS zun_rows (account bytea NOT NULL, kind smallint NOT NULL, name bytea NOT NULL,"
        " value bytea NOT NULL, PRIMARY KEY (account, kind, name)); COMMIT");
    prepare();
    if (PQenterPipelineMode(_handle.get()) != 1) throw StorageFailure("PostgreSQL: no pipeline");
}

void PostgresConnection::prepare() {
    const std::array<std::pair<const char*, const char*>, 16> statements{{
        {"read", "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"},
        {"write", "BEGIN ISOLATION LEVEL READ COMMITTED"},
        {"commit", "COMMIT"},
        {"rollback", "ROLLBACK"},
        {"get", "SELECT value FROM zun_rows WHERE account = $1 AND kind = $2 AND name = $3"},
        {"getForUpdate", "SELECT value FROM zun_rows WHERE account = $1 AND kind = $2 AND name = $3 FOR UPDATE"},
        {"lock", "SELECT pg_advisory_xact_lock(hashtextextended(encode($1 || int2send($2) || $3, 'hex'), 0))"},
        {"getMany", "SELECT name, value FROM zun_rows WHERE account = $1 AND kind = $2 AND name = ANY($3)"},
        {"scanFrom",
         "SELECT name, value FROM zun_rows WHERE account = $1 AND kind = $2 AND name >= $3 AND name < $4"
         " ORDER BY name LIMIT $5"},
        {"scanAfter",
         "SELECT name, value FROM zun_rows WHERE account = $1 AND kind = $2 AND name > $3 AND name < $4"
         " ORDER BY name LIMIT $5"},
        {"put",
         "INSERT INTO zun_rows (account, kind, name, value) VALUES ($1, $2, $3, $4)"
         " ON CONFLICT (account, kind, name) DO UPDATE SET value = excluded.value"},
        {"erase", "DELETE FROM zun_rows WHERE account = $1 AND kind = $2 AND name = $3"},
        {"erasePrefix", "DELETE FROM zun_rows WHERE account = $1 AND kind = $2 AND name >= $3 AND name < $4"},
        {"eraseAll", "DELETE FROM zun_rows"},
        {"next",
         "SELECT account, kind, name, value FROM zun_rows WHERE (account, kind, name) > ($1, $2, $3)"
         " ORDER BY account, kind, name LIMIT $4"},
        {"notify", "SELECT pg_notify('zun_wake', convert_from($1, 'UTF8'))"},
    }};
    for (const auto& [name, sql] : statements) {
        const Result result(PQprepare(_handle.get(), name, sql, 0, nullptr));
        if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) fail(result.get());
    }
}

void PostgresConnection::execute(const char* sql) {
    const Result result(PQexec(_handle.get(), sql));
    if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) fail(result.get());
}

void PostgresConnection::fail(const PGresult* result) {
    const char* state = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    const std::string text =
        std::string("PostgreSQL: ") + (result ? PQresultErrorMessage(result) : PQerrorMessage(_handle.get()));
    // Serialization failure, deadlock, a lock that did not come.
    for (const std::string_view conflict : {"40001", "40P01", "55P03"})
        if (state && state == conflict) throw PostgresConflict(text);
    throw StorageFailure(text);
}

void PostgresConnection::say(const char* statement, const Values& values) {
    std::array<const char*, 5> starts{};
    std::array<int, 5> lengths{}, formats{};
    for (std::size_t place = 0; place < values.size(); ++place) {
        // Without a place in memory the value would be null.
        starts[place] = values[place].empty() ? "" : values[place].data();
        lengths[place] = static_cast<int>(values[place].size());
        formats[place] = 1;
    }
    if (PQsendQueryPrepared(_handle.get(), statement, static_cast<int>(values.size()), starts.data(), lengths.data(),
                            formats.data(), 1) != 1)
        fail(nullptr);
    if (++_unanswered >= saidAtOnce) (void)collect();
}

PostgresConnection::Result PostgresConnection::ask(const char* statement, const Values& values) {
    if (_unanswered > 0 && _unanswered + 1 >= saidAtOnce) (void)collect();
    say(statement, values);
    return collect();
}

// After a failure the server skips what was sent after it; the first failure is the one that counts.
PostgresConnection::Result PostgresConnection::collect() {
    if (PQpipelineSync(_handle.get()) != 1) fail(nullptr);
    Result last, failed;
    for (int left = std::exchange(_unanswered, 0); left > 0; --left) {
        while (PGresult* next = PQgetResult(_handle.get())) {
            Result result(next);
            const auto status = PQresultStatus(next);
            if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) {
                last = std::move(result);
            } else if (status != PGRES_PIPELINE_ABORTED && !failed) {
                failed = std::move(result);
            }
        }
        if (!isOpen()) break;
    }
    if (isOpen()) {
        const Result sync(PQgetResult(_handle.get()));
        if (PQresultStatus(sync.get()) != PGRES_PIPELINE_SYNC && !failed) fail(sync.get());
    }
    if (failed || !isOpen()) fail(failed.get());
    return last;
}

void PostgresConnection::begin(Mode mode) {
    say(mode == Mode::Read ? "read" : "write");
}

void PostgresConnection::commit() {
    (void)ask("commit");
}

void PostgresConnection::rollback() noexcept {
    _woken.clear();
    if (!isOpen()) return;
    try {
        (void)ask("rollback");
    } catch (const StorageFailure&) {
        // A connection that cannot even roll back is of no more use.
        _handle.reset();
    }
}

void PostgresConnection::notify(std::string_view payload) {
    (void)ask("notify", {payload});
}

void PostgresConnection::eraseAll() {
    say("eraseAll");
}

std::optional<std::string> PostgresConnection::get(std::string_view account, Table table, std::string_view name) {
    const auto kind = kindOf(table);
    const auto result = ask("get", {account, kind, name});
    if (PQntuples(result.get()) == 0) return std::nullopt;
    return std::string(bytesAt(result.get(), 0, 0));
}

std::optional<std::string> PostgresConnection::getForUpdate(std::string_view account, Table table,
                                                            std::string_view name) {
    const auto kind = kindOf(table);
    auto result = ask("getForUpdate", {account, kind, name});
    if (PQntuples(result.get()) == 0) {
        // What is not there cannot be locked, but its name can.
        say("lock", {account, kind, name});
        result = ask("getForUpdate", {account, kind, name});
    }
    if (PQntuples(result.get()) == 0) return std::nullopt;
    return std::string(bytesAt(result.get(), 0, 0));
}

std::vector<std::optional<std::string>> PostgresConnection::getMany(std::string_view account, Table table,
                                                                    const std::vector<std::string>& names) {
    std::vector<std::optional<std::string>> values(names.size());
    if (names.size() == 1) values[0] = get(account, table, names[0]);
    if (names.size() < 2) return values;
    const auto kind = kindOf(table), array = arrayOf(names);
    const auto result = ask("getMany", {account, kind, array});
    std::map<std::string_view, std::string_view> found;
    for (int row = 0; row < PQntuples(result.get()); ++row)
        found.emplace(bytesAt(result.get(), row, 0), bytesAt(result.get(), row, 1));
    for (std::size_t place = 0; place < names.size(); ++place) {
        const auto value = found.find(names[place]);
        if (value != found.end()) values[place] = std::string(value->second);
    }
    return values;
}

void PostgresConnection::scan(std::string_view account, Table table, std::string_view prefix, std::string_view after,
                              std::size_t limit, const Visitor& visitor) {
    const auto kind = kindOf(table), end = endOfPrefix(prefix);
    std::string place(after < prefix ? prefix : after);
    const char* statement = after < prefix ? "scanFrom" : "scanAfter";
    while (limit > 0) {
        const auto wanted = std::min(limit, rowsPerFetch);
        const auto count = big<8>(wanted);
        const auto result = ask(statement, {account, kind, place, end, count});
        const int rows = PQntuples(result.get());
        for (int row = 0; row < rows; ++row)
            if (!visitor(bytesAt(result.get(), row, 0), bytesAt(result.get(), row, 1))) return;
        if (static_cast<std::size_t>(rows) < wanted) return;
        place = bytesAt(result.get(), rows - 1, 0);
        statement = "scanAfter";
        limit -= wanted;
    }
}

void PostgresConnection::put(std::string_view account, Table table, std::string_view name, std::string value) {
    const auto kind = kindOf(table);
    say("put", {account, kind, name, value});
}

void PostgresConnection::erase(std::string_view account, Table table, std::string_view name) {
    const auto kind = kindOf(table);
    say("erase", {account, kind, name});
}

void PostgresConnection::erasePrefix(std::string_view account, Table table, std::string_view prefix) {
    const auto kind = kindOf(table), end = endOfPrefix(prefix);
    say("erasePrefix", {account, kind, prefix, end});
}

void PostgresConnection::dump(const Storage::RowVisitor& visitor) {
    std::string account, kind = big<2>(0), name;
    const auto count = big<8>(rowsPerFetch);
    while (true) {
        const auto result = ask("next", {account, kind, name, count});
        const int rows = PQntuples(result.get());
        if (rows == 0) return;
        for (int row = 0; row < rows; ++row) {
            const auto table = bytesAt(result.get(), row, 1);
            visitor(bytesAt(result.get(), row, 0), static_cast<Table>(static_cast<unsigned char>(table[1])),
                    bytesAt(result.get(), row, 2), bytesAt(result.get(), row, 3));
        }
        account = bytesAt(result.get(), rows - 1, 0);
        kind = bytesAt(result.get(), rows - 1, 1);
        name = bytesAt(result.get(), rows - 1, 2);
    }
}

}  // namespace zun::cloud
