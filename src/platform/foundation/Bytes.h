#pragma once

#include <cstdint>
#include <vector>

namespace zun {

using Bytes = std::vector<std::uint8_t>;

}  // namespace zun
