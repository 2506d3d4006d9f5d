#pragma once

// One connection to a PostgreSQL database, and the rows through it. What brings no answer is sent with the next
// question or at the end, so that a transaction takes few trips to the server and back. Used by one thread at a time.

#include <libpq-fe.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "server/storage/Storage.h"

namespace zun::cloud {

// Others were in the way; the same work may succeed when it is run again.
class PostgresConflict : public StorageFailure {
  public:
    using StorageFailure::StorageFailure;
};

class PostgresConnection final : public Transaction {
  public:
    enum class Mode { Read, Write };

    // Connects, and makes the table where there is none. Throws StorageFailure, as everything else here.
    explicit PostgresConnection(const std::string& address);

    [[nodiscard]] bool isOpen() const { return _handle && PQstatus(_handle.get()) == CONNECTION_OK; }
    [[nodiscard]] PGconn* handle() const { return _handle.get(); }

    void begin(Mode mode);
    void commit();
    // Never fails.
    void rollback() noexcept;
    void notify(std::string_view payload);
    [[nodiscard]] std::set<std::string> takeWoken() { return std::exchange(_woken, {}); }
    void eraseAll();
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
    void wake(std::string_view account) override { _woken.emplace(account); }

  private:
    struct Close {
        void operator()(PGconn* connection) const { PQfinish(connection); }
        void operator()(PGresult* result) const { PQclear(result); }
    };
    using Result = std::unique_ptr<PGresult, Close>;
    using Values = std::vector<std::string_view>;

    void prepare();
    void execute(const char* sql);
    // Sends it sometime before the next question.
    void say(const char* statement, const Values& values = {});
    // Sends it with whatever waits and returns its answer.
    Result ask(const char* statement, const Values& values = {});
    // The answers to all that was sent; the last one is returned.
    Result collect();
    [[noreturn]] void fail(const PGresult* result);

    std::unique_ptr<PGconn, Close> _handle;
    int _unanswered = 0;
    std::set<std::string> _woken;
};

}  // namespace zun::cloud
