#pragma once

// The longest date phrase that begins at a word: times, days, repeats and their bounds, each at most once, in any
// order.

#include <cstddef>
#include <optional>
#include <vector>

#include "text/QuickEntryPhrase.h"
#include "text/QuickEntryRegion.h"
#include "text/QuickEntryTokens.h"
#include "text/QuickEntryWords.h"

namespace zun {

// Empty if none begins there. Costs no more than a few dozen look-ups, however long the title is.
[[nodiscard]] std::optional<QuickEntryPhrase> quickEntryPhraseAt(const std::vector<QuickEntryToken>& tokens,
                                                                 std::size_t begin, const QuickEntryWords& words,
                                                                 const QuickEntryRegion& region);

}  // namespace zun
