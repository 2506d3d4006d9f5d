#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/Bytes.h"

namespace zun {

// RFC 4648, section 4, with padding.
[[nodiscard]] std::string base64FromBytes(const Bytes& bytes);
// Empty for a character outside the alphabet or a wrong length.
[[nodiscard]] std::optional<Bytes> bytesFromBase64(std::string_view text);

}  // namespace zun
