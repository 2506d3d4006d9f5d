#pragma once

// Sees to it that the service that delivers alerts runs while the application does: asks the session bus for it, and
// starts the program itself where the bus knows no way. Does not wait; without a session bus it does nothing. Main
// thread.

#include <filesystem>
#include <optional>
#include <string>

namespace zun {

// `home` is what --home gave.
void startAlertServiceIfNecessary(const std::string& busName, const std::optional<std::filesystem::path>& home);

}  // namespace zun
