#pragma once

// Messages as JSON and back. Decoding is strict: an unknown field, a missing one, a value of another type or beyond a
// limit refuses the whole. Any thread; keeps no state.
//
// A value of a record is an object with one key that names its type: {"s": "text"}, {"i": 5}, {"d": "0.1"} (shortest
// decimal form, as text, since readers of JSON may round), {"b": true}, {"t": 1767225600000000} (microseconds since
// 1970 in UTC), {"x": "base64"}, {"r": {reference}}, {"l": [values]}.

#include <string>
#include <string_view>
#include <variant>

#include "platform/cloudprotocol/Messages.h"

namespace zun::cloud {

struct Malformed {
    std::string reason;  // for the log; names no content
};

// The last part of the path that a request is sent to, such as "records/modify".
[[nodiscard]] std::string_view pathOf(const Request& request);

[[nodiscard]] std::string encode(const Request& request);
[[nodiscard]] std::string encode(const Answer& answer);
[[nodiscard]] std::string encode(const Push& push);
[[nodiscard]] std::variant<Request, Malformed> decodeRequest(std::string_view path, std::string_view body);
// `asked` decides which answer is expected; an error answer is always possible.
[[nodiscard]] std::variant<Answer, Malformed> decodeAnswer(const Request& asked, std::string_view body);
[[nodiscard]] std::variant<Push, Malformed> decodePush(std::string_view data);

// One record as bytes for storage and caches, and back.
[[nodiscard]] std::string encode(const CKRecord& record);
[[nodiscard]] std::variant<CKRecord, Malformed> decodeRecord(std::string_view bytes);

}  // namespace zun::cloud
