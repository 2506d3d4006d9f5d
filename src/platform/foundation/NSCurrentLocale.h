#pragma once

// Told on the main thread when the environment's locale has changed, without an object.

#include <string_view>

namespace zun {

inline constexpr std::string_view NSCurrentLocaleDidChangeNotification = "NSCurrentLocaleDidChangeNotification";

}  // namespace zun
