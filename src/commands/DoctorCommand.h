#pragma once

#include <filesystem>
#include <string>

#include "platform/foundation/Environment.h"

namespace zun {

// Looks the store in this folder over before anything else opens it, repairs what can be repaired, and writes what was
// found into `out`. The exit status is 1 if something is left broken.
[[nodiscard]] int doctorCommand(const std::filesystem::path& folder, const Environment& environment, bool json,
                                std::string& out);

}  // namespace zun
