#pragma once

#include "commands/CloudCommands.h"

namespace zun {

// One line without its end; from the terminal without an echo, which is back on return and when a signal ends or stops
// the program meanwhile. Missing at the end of the input. What is no terminal is asked once. Main thread; waits for the
// person.
[[nodiscard]] PasswordAnswer readPassword(PasswordEntry entry);

}  // namespace zun
