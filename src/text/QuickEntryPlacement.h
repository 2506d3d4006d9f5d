#pragma once

// Whether a phrase stands where it can be believed, and what is left of the title without it.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/QuickEntryPhrase.h"
#include "text/QuickEntryTokens.h"
#include "text/QuickEntryWords.h"

namespace zun {

// The tokens of a stretch of a title, and which of the title's ends it reaches.
struct QuickEntryStretch {
    std::vector<QuickEntryToken> tokens;
    bool reachesStart = true;
    bool reachesEnd = true;
};

[[nodiscard]] bool isBelievable(const QuickEntryPhrase& phrase, const QuickEntryStretch& stretch,
                                const QuickEntryWords& words);

// The title without the bytes [begin, end) and without the marks that set them off. Empty if nothing but blanks and
// marks would be left.
[[nodiscard]] std::optional<std::string> titleWithout(std::string_view title, std::size_t begin, std::size_t end);

}  // namespace zun
