#pragma once

// JSON as text, with numbers that come back exactly as they were written. The library's own parser may be off by one
// unit in the last place of a fraction; a coordinate must not move because it was exported.

#include <boost/json/value.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace zun {

// The value of a whole text. Empty if it is not JSON, nests deeper than 16, or holds anything after the value; `error`
// then says why.
[[nodiscard]] std::optional<boost::json::value> jsonFromText(std::string_view text, std::string& error);

}  // namespace zun
