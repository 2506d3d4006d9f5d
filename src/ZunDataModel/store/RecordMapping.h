#pragma once

// Records to rows and back. Columns bear the attributes' names and stand in their order. How a value is kept:
//
//   date            INTEGER, microseconds since 1970          boolean          INTEGER, 0 or 1
//   ordinals        TEXT, "[2,4]"; absent NULL, empty "[]"    bytes            BLOB
//   text            TEXT, valid UTF-8, NULs kept              unsigned number  INTEGER, the same 64 bits
//
// One thread at a time for each statement; throws SQLite::Exception.

#include <string>

#include "ZunDataModel/ReminderAttributes.h"
#include "ZunDataModel/store/PreparedStatement.h"

namespace zun {

// "reminderID, title, ..." in the order of reminderAttributes().
[[nodiscard]] const std::string& recordColumns();

// What a file can keep: invalid UTF-8 is replaced, a coordinate that is no number counts as 0.
void makeStorable(ReminderAttributes& attributes);

// Binds 1 to 31 for the attributes and 32 for the folded title. The attributes must be storable and, like the scratch,
// stay until the statement has run.
struct RecordScratch {
    std::string foldedTitle;
    std::string ordinals;
};
void bindRecord(PreparedStatement& statement, const ReminderAttributes& attributes, RecordScratch& scratch);

// Reads a row of recordColumns(). Values of another type than expected are converted as SQLite does it.
[[nodiscard]] ReminderAttributes readRecord(const PreparedStatement& row);

}  // namespace zun
