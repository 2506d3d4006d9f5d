#pragma once

// What many messages between a client and the record service have in common. See Messages.

#include <cstdint>
#include <string>

namespace zun::cloud {

// Raised by one when a client of the former could not understand an answer.
inline constexpr int protocolVersion = 1;
// A change token of the service: opaque, never empty.
using Token = std::string;

enum class DatabaseScope { Private, Shared };
enum class SavePolicy : std::int64_t { IfServerRecordUnchanged = 0, ChangedKeys = 1, AllKeys = 2 };

}  // namespace zun::cloud
