#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/NSLocale.h"

namespace zun {

// Reads a variable of the process, "LC_ALL"; empty if it is not set or has no text.
using VariableReader = std::function<std::optional<std::string>(const char* name)>;

// The locale that the variables ask for. "C" and "POSIX", and what cannot be read, give American English. LANGUAGE
// lists the languages of texts, unless the locale is explicitly "C": that is how scripts ask for English whatever the
// user's list.
[[nodiscard]] NSLocale localeFromVariables(const VariableReader& variable);

}  // namespace zun
