#include "ZunDataModel/store/PreparedStatement.h"

#include <SQLiteCpp/Exception.h>

namespace zun {

PreparedStatement::PreparedStatement(sqlite3* connection, std::string_view sql) {
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                        &handle, nullptr);
    if (code != SQLITE_OK) throw SQLite::Exception(connection, code);
    _handle.reset(handle);
}

void PreparedStatement::bind(int index, std::string_view value) {
    // An empty view may carry a null pointer, which SQLite would take for NULL.
    const char* const data = value.data() ? value.data() : "";
    check(sqlite3_bind_text64(_handle.get(), index, data, value.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void PreparedStatement::bind(int index, const Bytes& value) {
    check(value.empty() ? sqlite3_bind_zeroblob(_handle.get(), index, 0)
                        : sqlite3_bind_blob64(_handle.get(), index, value.data(), value.size(), SQLITE_STATIC));
}

bool PreparedStatement::step() {
    const int code = sqlite3_step(_handle.get());
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) fail();
    return false;
}

void PreparedStatement::run() {
    const StatementUse use(*this);
    step();
}

void PreparedStatement::reset() noexcept {
    sqlite3_reset(_handle.get());
    sqlite3_clear_bindings(_handle.get());
}

std::string PreparedStatement::text(int column) const {
    const auto* const data = reinterpret_cast<const char*>(sqlite3_column_text(_handle.get(), column));
    return data ? std::string(data, static_cast<std::size_t>(sqlite3_column_bytes(_handle.get(), column)))
                : std::string();
}

void PreparedStatement::fail() const {
    sqlite3* const connection = sqlite3_db_handle(_handle.get());
    throw SQLite::Exception(connection, sqlite3_extended_errcode(connection));
}

}  // namespace zun
