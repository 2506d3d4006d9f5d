#pragma once

// Text that came from anywhere, made fit for a terminal.

#include <string>
#include <string_view>

namespace zun {

enum class LineBreaks { Kept, MadeBlanks };

// Control characters become blanks, so that no text moves the cursor or sets colours; marks that turn the reading
// direction of what follows are left out.
[[nodiscard]] std::string terminalText(std::string_view text, LineBreaks lineBreaks);

// How many columns a line takes on a terminal: wide characters take two, marks over others none.
[[nodiscard]] std::size_t terminalWidth(std::string_view line);

// One line of at most 200 characters; what is cut off shows as "...".
[[nodiscard]] std::string terminalLine(std::string_view text);

// "1 reminder", "2 reminders".
[[nodiscard]] std::string counted(std::size_t count, std::string_view one, std::string_view many);

}  // namespace zun
