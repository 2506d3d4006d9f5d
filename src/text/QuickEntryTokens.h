#pragma once

// A title cut into words, numbers and marks, each with its place, so that phrases can be looked for without touching
// the text again. Linear in the length of the text. Bytes that are no UTF-8 become marks that nothing matches.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zun {

struct QuickEntryToken {
    enum class Kind { Word, Number, Mark };

    Kind kind = Kind::Mark;
    bool isGlued = false;        // follows its predecessor without a blank
    bool isCapitalised = false;  // a word with an upper-case initial
    std::size_t start = 0;       // bytes in the title
    std::size_t length = 0;
    // A word without its case and with ä, ö, ü, ß as ae, oe, ue, ss; the digits of a number; a mark as it stands, with
    // dashes as "-" and typographic apostrophes as "'". Empty for a word longer than any that is known.
    std::string text{};
    int value = 0;  // of a number of up to four digits, else -1

    [[nodiscard]] std::size_t end() const { return start + length; }
};

// Of the bytes [from, to) of the title; both must lie between characters.
[[nodiscard]] std::vector<QuickEntryToken> quickEntryTokens(std::string_view title, std::size_t from, std::size_t to);

// A word as it stands in a token.
[[nodiscard]] std::string quickEntryFolded(std::string_view word);

}  // namespace zun
