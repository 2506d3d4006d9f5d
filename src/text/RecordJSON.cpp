#include "text/RecordJSON.h"

#include <fmt/format.h>

#include <boost/json.hpp>
#include <cmath>
#include <limits>

#include "ZunDataModel/ZNReminderObject.h"
#include "platform/foundation/Base64.h"
#include "platform/foundation/ISO8601.h"

namespace zun {
namespace {

namespace json = boost::json;

json::value toJSON(const std::string& value) {
    return json::value(json::string(value));
}
json::value toJSON(NSDate value) {
    return toJSON(iso8601FromDate(value));
}
json::value toJSON(const Bytes& value) {
    return toJSON(base64FromBytes(value));
}
json::value toJSON(const DayOrdinals& value) {
    json::array array;
    for (const int ordinal : value)
        array.emplace_back(ordinal);
    return array;
}
json::value toJSON(std::uint64_t value) {
    return value;
}
json::value toJSON(std::int64_t value) {
    return value;
}
json::value toJSON(double value) {
    return value;
}
json::value toJSON(bool value) {
    return value;
}
template <typename T>
json::value toJSON(const std::optional<T>& value) {
    return value ? toJSON(*value) : json::value(nullptr);
}

// One reader for each kind of attribute: false where the JSON value is of another kind.
bool fromJSON(const json::value& from, std::string& to) {
    if (!from.is_string()) return false;
    to = std::string_view(from.get_string());
    return true;
}
bool fromJSON(const json::value& from, NSDate& to) {
    const auto date = from.is_string() ? dateFromISO8601(from.get_string(), *NSTimeZone::utc()) : std::nullopt;
    if (date) to = *date;
    return date.has_value();
}
bool fromJSON(const json::value& from, Bytes& to) {
    auto bytes = from.is_string() ? bytesFromBase64(from.get_string()) : std::nullopt;
    if (bytes) to = *std::move(bytes);
    return bytes.has_value();
}
bool fromJSON(const json::value& from, bool& to) {
    if (!from.is_bool()) return false;
    to = from.get_bool();
    return true;
}
bool fromJSON(const json::value& from, double& to) {
    boost::system::error_code error;
    const auto number = from.to_number<double>(error);
    if (error.failed() || !std::isfinite(number)) return false;
    to = number;
    return true;
}
template <typename Integer>
requires std::is_integral_v<Integer>
bool fromJSON(const json::value& from, Integer& to) {
    boost::system::error_code error;
    const auto number = from.to_number<Integer>(error);
    if (error.failed()) return false;
    to = number;
    return true;
}
// The store keeps whole numbers in 64 signed bits.
bool fromJSON(const json::value& from, std::uint64_t& to) {
    std::int64_t number = 0;
    if (!fromJSON<std::int64_t>(from, number) || number < 0) return false;
    to = static_cast<std::uint64_t>(number);
    return true;
}
bool fromJSON(const json::value& from, DayOrdinals& to) {
    if (!from.is_array()) return false;
    DayOrdinals ordinals;
    for (const auto& element : from.get_array()) {
        int ordinal = 0;
        if (!fromJSON(element, ordinal) || ordinal < 1 || ordinal > 7) return false;
        ordinals.push_back(ordinal);
    }
    to = std::move(ordinals);
    return true;
}
template <typename T>
bool fromJSON(const json::value& from, std::optional<T>& to) {
    if (from.is_null()) {
        to.reset();
        return true;
    }
    return fromJSON(from, to.emplace());
}

}  // namespace

json::object jsonFromRecord(const ReminderAttributes& attributes) {
    json::object object;
    object.reserve(reminderAttributes().size() + 2);
    for (const auto& attribute : reminderAttributes()) {
        object.emplace(attribute.name,
                       std::visit([&](auto member) { return toJSON(attributes.*member); }, attribute.member));
    }
    object.emplace("isSnoozed", isSnoozed(attributes));
    object.emplace("isLocationBased", isLocationBased(attributes));
    return object;
}

std::variant<ReminderAttributes, RecordJSONError> recordFromJSON(const json::value& value) {
    const auto* object = value.if_object();
    if (!object) return RecordJSONError{"it is not a JSON object"};
    ReminderAttributes attributes;
    for (const auto& attribute : reminderAttributes()) {
        const auto* field = object->if_contains(attribute.name);
        if (!field) continue;
        const bool fits =
            std::visit([&](auto member) { return fromJSON(*field, attributes.*member); }, attribute.member);
        if (!fits) return RecordJSONError{fmt::format("the value of \"{}\" cannot be read", attribute.name)};
    }
    if (!attributes.reminderID || attributes.reminderID->empty()) return RecordJSONError{"it has no \"reminderID\""};
    return attributes;
}

}  // namespace zun
