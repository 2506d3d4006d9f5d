#pragma once

// Whether a reminder's text is too long or too involved to count as a simple one. Any thread; nothing fails.

#include <optional>
#include <string>

#include "platform/foundation/NSLocale.h"

namespace zun {

class ZNComplexityAnalyzer {
  public:
    // By the user's first language: Chinese has no spaces between words, so its characters are counted (UTF-16 units),
    // more than 12 in the title or 22 in the notes; elsewhere pieces between white space, more than 7 or 16. Two spaces
    // in a row have an empty piece between them, which counts. More than four lines of notes are complex in any
    // language. An absent text counts as nothing.
    [[nodiscard]] static bool checkReminderComplexityWithTitle(const std::optional<std::string>& title,
                                                               const std::optional<std::string>& withNotes,
                                                               const NSLocale& locale);
};

}  // namespace zun
