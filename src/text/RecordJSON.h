#pragma once

// A record as JSON: the attribute names as keys, absent values null, dates in UTC ("2026-02-01T08:00:00Z"), bytes in
// base64, and the two derived keys isSnoozed and isLocationBased. Reading gives back exactly what was written.

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <string>
#include <variant>

#include "ZunDataModel/ReminderAttributes.h"

namespace zun {

[[nodiscard]] boost::json::object jsonFromRecord(const ReminderAttributes& attributes);

// Why a value is no record, as one English sentence.
struct RecordJSONError {
    std::string message;
};

// Missing keys keep their defaults, unknown keys and the derived ones are passed over. An error if the value is no
// object, has no reminderID, or a key holds a value of another kind.
[[nodiscard]] std::variant<ReminderAttributes, RecordJSONError> recordFromJSON(const boost::json::value& value);

}  // namespace zun
