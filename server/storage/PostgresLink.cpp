#include "server/storage/PostgresLink.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

namespace zun::cloud {
namespace {

// So few that their answers fit into the buffers of the connection while nobody reads them.
constexpr int saidAtOnce = 200;

// Standing orders of each connection.
// - Two writes that wait for each other are told so soon, and not after the server's second; and who waits for a write
//   of a process that has gone silent is not held up for longer than the server needs to end that one.
// - What is sent without a transaction of its own sees what others have committed since it waited for them.
// - Every row is looked for by its key. A plan made while the table was small would read all of it for ever.
constexpr const char* settings =
    "SET lock_timeout = '200ms'; SET idle_in_transaction_session_timeout = '10s';"
    "SET default_transaction_isolation = 'read committed';"
    "SET plan_cache_mode = force_generic_plan; SET enable_seqscan = off; SET enable_hashjoin = off;"
    "SET enable_mergejoin = off; SET enable_bitmapscan = off; SET jit = off";

// Several processes may come at the same time.
constexpr const char* makeTable =
    "BEGIN; SET LOCAL lock_timeout = 0; SELECT pg_advisory_xact_lock(7237123447126);"
    "CREATE TABLE IF NOT EXISTS zun_rows (account bytea NOT NULL, kind smallint NOT NULL, name bytea NOT NULL,"
    " value bytea NOT NULL, PRIMARY KEY (account, kind, name)); COMMIT";

constexpr std::array<std::pair<const char*, const char*>, 22> statements{{
    {"read", "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"},
    {"write", "BEGIN ISOLATION LEVEL READ COMMITTED"},
    {"commit", "COMMIT"},
    {"rollback", "ROLLBACK"},
    {"get", "SELECT value FROM zun_rows WHERE account = $1 AND kind = $2 AND name = $3"},
    {"getForUpdate", "SELECT value FROM zun_rows WHERE account = $1 AND kind = $2 AND name = $3 FOR UPDATE"},
    {"lock", "SELECT pg_advisory_xact_lock(hashtextextended(encode($1 || int2send($2) || $3, 'hex'), 0))"},
    {"getRows",
     "SELECT place, value FROM unnest($1::bytea[], $2::smallint[], $3::bytea[]) WITH ORDINALITY"
     " AS wanted (account, kind, name, place) JOIN zun_rows USING (account, kind, name)"},
    // In the order asked for, so that two who want the same rows do not hold one each.
    {"getRowsForUpdate",
     "SELECT place, value FROM unnest($1::bytea[], $2::smallint[], $3::bytea[]) WITH ORDINALITY"
     " AS wanted (account, kind, name, place) JOIN zun_rows USING (account, kind, name)"
     " ORDER BY place FOR UPDATE OF zun_rows"},
    // To divide by zero is how a statement ends the transaction that it stands in. The rows are locked in the order
    // given.
    {"replaceRows",
     "WITH replaced AS (UPDATE zun_rows SET value = wanted.value"
     " FROM unnest($1::bytea[], $2::smallint[], $3::bytea[], $4::bytea[], $5::bytea[])"
     " AS wanted (account, kind, name, expected, value) WHERE zun_rows.account = wanted.account"
     " AND zun_rows.kind = wanted.kind AND zun_rows.name = wanted.name AND zun_rows.value = expected RETURNING 1)"
     " SELECT 1 / (count(*) = cardinality($1::bytea[]))::int FROM replaced"},
    {"expectForUpdate",
     "SELECT 1 / (count(*) = cardinality($1::bytea[]))::int FROM (SELECT 1"
     " FROM unnest($1::bytea[], $2::smallint[], $3::bytea[], $4::bytea[]) WITH ORDINALITY"
     " AS wanted (account, kind, name, expected, place) JOIN zun_rows USING (account, kind, name)"
     " WHERE value = expected ORDER BY place FOR UPDATE OF zun_rows) AS locked"},
    {"expect",
     "SELECT 1 / (count(*) = cardinality($1::bytea[]))::int"
     " FROM unnest($1::bytea[], $2::smallint[], $3::bytea[], $4::bytea[]) AS wanted (account, kind, name, expected)"
     " LEFT JOIN zun_rows USING (account, kind, name) WHERE value IS NOT DISTINCT FROM expected"},
    {"scanFrom",
     "SELECT name, value FROM zun_rows WHERE account = $1 AND kind = $2 AND name >= $3 AND name < $4"
     " ORDER BY name LIMIT $5"},
    {"scanAfter",
     "SELECT name, value FROM zun_rows WHERE account = $1 AND kind = $2 AND name > $3 AND name < $4"
     " ORDER BY name LIMIT $5"},
    {"put",
     "INSERT INTO zun_rows (account, kind, name, value) VALUES ($1, $2, $3, $4)"
     " ON CONFLICT (account, kind, name) DO UPDATE SET value = excluded.value"},
    {"putRows",
     "INSERT INTO zun_rows (account, kind, name, value)"
     " SELECT * FROM unnest($1::bytea[], $2::smallint[], $3::bytea[], $4::bytea[])"
     " ON CONFLICT (account, kind, name) DO UPDATE SET value = excluded.value"},
    {"erase", "DELETE FROM zun_rows WHERE account = $1 AND kind = $2 AND name = $3"},
    {"eraseRows",
     "DELETE FROM zun_rows USING unnest($1::bytea[], $2::smallint[], $3::bytea[]) AS gone (account, kind, name)"
     " WHERE zun_rows.account = gone.account AND zun_rows.kind = gone.kind AND zun_rows.name = gone.name"},
    {"erasePrefix", "DELETE FROM zun_rows WHERE account = $1 AND kind = $2 AND name >= $3 AND name < $4"},
    {"eraseAll", "DELETE FROM zun_rows"},
    {"next",
     "SELECT account, kind, name, value FROM zun_rows WHERE (account, kind, name) > ($1, $2, $3)"
     " ORDER BY account, kind, name LIMIT $4"},
    {"notify", "SELECT pg_notify('zun_wake', convert_from($1, 'UTF8'))"},
}};

bool isOneOf(const char* state, std::initializer_list<std::string_view> beginnings) {
    return state && std::any_of(beginnings.begin(), beginnings.end(),
                                [&](std::string_view each) { return std::string_view(state).starts_with(each); });
}

enum class Waited { Heard, InVain };

// Takes what has come, and sends what still waits to be sent.
Waited waitForServer(PGconn* connection, short events, std::chrono::milliseconds patience) noexcept {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (PQstatus(connection) == CONNECTION_OK) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) return Waited::InVain;
        pollfd socket{PQsocket(connection), events, 0};
        if (::poll(&socket, 1, static_cast<int>(left.count())) <= 0) continue;
        return PQconsumeInput(connection) == 1 ? Waited::Heard : Waited::InVain;
    }
    return Waited::InVain;
}

// The server ends the connection, or has become a copy of another one. This may be heard before the end itself is.
bool isLastWord(const PGresult* result) {
    return isOneOf(PQresultErrorField(result, PG_DIAG_SQLSTATE), {"08", "57P", "25006", "25P03"});
}

}  // namespace

PostgresHandle connectToPostgres(const PostgresServer& server) {
    // What the address says comes last and counts.
    constexpr std::array<std::pair<const char*, const char*>, 6> defaults{{{"application_name", "zun-cloud"},
                                                                           {"connect_timeout", "3"},
                                                                           {"keepalives_idle", "5"},
                                                                           {"keepalives_interval", "2"},
                                                                           {"keepalives_count", "3"},
                                                                           {"tcp_user_timeout", "10000"}}};
    std::vector<const char*> keywords, values;
    for (const auto& [keyword, value] : defaults) {
        keywords.push_back(keyword);
        values.push_back(value);
    }
    keywords.insert(keywords.end(), {"dbname", nullptr});
    values.insert(values.end(), {server.address.c_str(), nullptr});
    PostgresHandle handle(PQconnectdbParams(keywords.data(), values.data(), 1));
    // So that nothing waits for the server but what says so here.
    if (PQstatus(handle.get()) == CONNECTION_OK) (void)PQsetnonblocking(handle.get(), 1);
    return handle;
}

PostgresResult command(PGconn* connection, const char* sql, std::chrono::milliseconds patience) noexcept {
    PostgresResult answer;
    if (PQsendQuery(connection, sql) != 1) return nullptr;
    while (true) {
        while (PQisBusy(connection) != 0)
            if (waitForServer(connection, POLLIN, patience) != Waited::Heard) return nullptr;
        PostgresResult next(PQgetResult(connection));
        if (!next) return answer;
        if (!answer || PQresultStatus(answer.get()) != PGRES_FATAL_ERROR) answer = std::move(next);
    }
}

PostgresLink::PostgresLink(const PostgresServer& server, Table table)
    : _handle(connectToPostgres(server)), _patience(server.patience) {
    if (!isOpen()) throw StorageFailure(std::string("PostgreSQL: ") + PQerrorMessage(_handle.get()));
    PQsetNoticeProcessor(
        _handle.get(), [](void*, const char*) {}, nullptr);
    execute(settings);
    if (table == Table::MadeIfMissing) execute(makeTable);
    if (PQenterPipelineMode(_handle.get()) != 1) throw StorageFailure("PostgreSQL: no pipeline");
    prepare();
}

void PostgresLink::prepare() {
    for (const auto& [name, sql] : statements) {
        if (PQsendPrepare(_handle.get(), name, sql, 0, nullptr) != 1) fail(nullptr);
        ++_said;
    }
    (void)collect();
}

void PostgresLink::execute(const char* sql) {
    const auto result = command(_handle.get(), sql, _patience);
    if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) fail(result.get());
}

void PostgresLink::fail(const PGresult* result) {
    const auto text = std::string("PostgreSQL: ") + (result       ? PQresultErrorMessage(result)
                                                     : _isGivenUp ? "the server has not answered for too long"
                                                     : _handle    ? PQerrorMessage(_handle.get())
                                                                  : "the connection is broken");
    if (!result) throw StorageFailure(text);
    // Serialization failure, deadlock, a lock that did not come.
    if (isOneOf(PQresultErrorField(result, PG_DIAG_SQLSTATE), {"40001", "40P01", "55P03"}))
        throw PostgresConflict(text);
    if (isOneOf(PQresultErrorField(result, PG_DIAG_SQLSTATE), {"22012"})) throw PostgresStale(text);
    if (isLastWord(result)) _handle.reset();
    throw StorageFailure(text);
}

bool PostgresLink::isStillOpen() noexcept {
    // Its last words come before the end.
    return isOpen() && PQconsumeInput(_handle.get()) == 1 && PQconsumeInput(_handle.get()) == 1 && isOpen();
}

void PostgresLink::say(const char* statement, const Values& values) {
    std::array<const char*, 5> starts{};
    std::array<int, 5> lengths{}, formats{};
    for (std::size_t place = 0; place < values.size(); ++place) {
        // Without a place in memory the value would be null.
        starts[place] = values[place].empty() ? "" : values[place].data();
        lengths[place] = static_cast<int>(values[place].size());
        formats[place] = 1;
    }
    if (!isOpen()) throw StorageFailure("PostgreSQL: the connection is broken");
    if (PQsendQueryPrepared(_handle.get(), statement, static_cast<int>(values.size()), starts.data(), lengths.data(),
                            formats.data(), 1) != 1)
        fail(nullptr);
    if (++_said >= saidAtOnce) (void)collect();
}

PostgresResult PostgresLink::ask(const char* statement, const Values& values) {
    if (_said + 1 >= saidAtOnce) (void)collect();
    say(statement, values);
    auto answers = collect();
    return answers.empty() ? nullptr : std::move(answers.back());
}

void PostgresLink::startCollecting() {
    _said = 0;
    _collected = {};
    if (!isOpen() || PQpipelineSync(_handle.get()) != 1 || !flush()) fail(nullptr);
    ++_syncs;
    _heard = std::chrono::steady_clock::now();
}

// A server that is sent much sends answers meanwhile, and may wait for somebody to take them.
bool PostgresLink::flush() noexcept {
    int left = 0;
    while (isOpen() && (left = PQflush(_handle.get())) == 1)
        if (waitForServer(_handle.get(), POLLIN | POLLOUT, _patience) == Waited::InVain) giveUp();
    return isOpen() && left == 0;
}

void PostgresLink::giveUp() noexcept {
    if (!isOpen()) return;
    _isGivenUp = true;
    _handle.reset();
}

// After a failure the server skips what was sent after it; the first failure is the one that counts.
void PostgresLink::takeResult() {
    PostgresResult result(PQgetResult(_handle.get()));
    const auto status = PQresultStatus(result.get());
    if (!result) {
        // Twice nothing: the server has said its last word, and it was not the end of what was sent.
        if (std::exchange(_collected.isBetweenAnswers, true)) _handle.reset();
        return;
    }
    _collected.isBetweenAnswers = false;
    if (status == PGRES_PIPELINE_SYNC) {
        --_syncs;
        _ignored = std::max(0, _ignored - 1);
    } else if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) {
        if (_ignored == 0) _collected.answers.push_back(std::move(result));
    } else if (status != PGRES_PIPELINE_ABORTED && !_collected.failed && (_ignored == 0 || isLastWord(result.get()))) {
        _collected.failed = std::move(result);
    }
}

bool PostgresLink::isCollected() noexcept {
    _heard = std::chrono::steady_clock::now();
    if (_syncs > 0 && isOpen()) (void)PQconsumeInput(_handle.get());
    while (_syncs > 0 && isOpen() && PQisBusy(_handle.get()) == 0)
        takeResult();
    return _syncs == 0 || !isOpen();
}

std::vector<PostgresResult> PostgresLink::endCollecting() {
    while (_syncs > 0 && isOpen()) {
        if (PQisBusy(_handle.get()) == 0) {
            takeResult();
        } else if (waitForServer(_handle.get(), POLLIN, _patience) == Waited::InVain) {
            giveUp();
        }
    }
    if (_collected.failed || !isOpen()) fail(std::exchange(_collected.failed, nullptr).get());
    return std::exchange(_collected.answers, {});
}

void PostgresLink::send() noexcept {
    _said = 0;
    if (!isOpen() || PQpipelineSync(_handle.get()) != 1) return;
    _ignored = ++_syncs;
    (void)flush();
}

void PostgresLink::rollback() noexcept {
    try {
        if (isOpen()) (void)ask("rollback");
    } catch (const StorageFailure&) {
        // A connection that cannot even roll back is of no more use.
        _handle.reset();
    }
}

}  // namespace zun::cloud
