#pragma once

#include <optional>
#include <string>

namespace zun {

// One line without its end; from the terminal without an echo, which is back on return and when a signal ends or stops
// the program meanwhile. Absent at the end of the input. Main thread; waits for the person.
[[nodiscard]] std::optional<std::string> readPassword(bool fromStandardInput);

}  // namespace zun
