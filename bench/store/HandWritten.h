#pragma once

// The floors: what a program achieves that is written for one table and nothing else, over SQLite's C interface, with
// statements prepared once. It fills the same structs from the same file.

#include <sqlite3.h>

#include <cstddef>
#include <string>
#include <vector>

#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

class HandWritten {
  public:
    explicit HandWritten(const std::string& file);
    ~HandWritten();
    HandWritten(const HandWritten&) = delete;
    HandWritten& operator=(const HandWritten&) = delete;

    [[nodiscard]] std::vector<ReminderAttributes> fetchDue(NSDate now);
    [[nodiscard]] std::size_t countDue(NSDate now);
    [[nodiscard]] std::vector<ReminderAttributes> fetchAll();
    // One row of such a record in a table of its own without any index, committed durably.
    void save(const ReminderAttributes& record);

  private:
    sqlite3_stmt* prepare(const std::string& sql);
    std::vector<ReminderAttributes> rows(sqlite3_stmt* statement);

    sqlite3* _database = nullptr;
    sqlite3_stmt* _due = nullptr;
    sqlite3_stmt* _count = nullptr;
    sqlite3_stmt* _all = nullptr;
    sqlite3_stmt* _insert = nullptr;
};

}  // namespace zun
