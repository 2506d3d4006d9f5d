#pragma once

// Text made fit for storing and for searching. Pure functions; any thread.

#include <string>
#include <string_view>

namespace zun {

// The form in which two texts are equal when they differ only in case, accents, width, kana or ligature: what a search
// blind to all that compares. Contained in = found. Invalid UTF-8 becomes U+FFFD.
[[nodiscard]] std::string foldedForSearch(std::string_view text);

// True if the bytes are UTF-8 without surrogates, overlong forms and codes beyond U+10FFFF. NUL is a character like any
// other.
[[nodiscard]] bool isValidUTF8(std::string_view text);
// The same text with each invalid sequence replaced by one U+FFFD.
[[nodiscard]] std::string repairedUTF8(std::string_view text);

}  // namespace zun
