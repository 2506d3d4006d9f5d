#pragma once

// A place in the tokens of a title, from which a phrase is read in one language. Everything that is asked for is either
// taken, and the place moves on, or is not there, and the place stays.

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "text/QuickEntryRegion.h"
#include "text/QuickEntryTokens.h"
#include "text/QuickEntryWords.h"

namespace zun {

class QuickEntryCursor {
  public:
    // All must outlive the cursor.
    QuickEntryCursor(const std::vector<QuickEntryToken>& tokens, const QuickEntryWords& words,
                     const QuickEntryRegion& region, std::size_t at)
        : _tokens(tokens), _words(words), _region(region), _at(at) {}

    [[nodiscard]] std::size_t at() const { return _at; }
    [[nodiscard]] bool isGerman() const { return _words.isGerman(); }
    [[nodiscard]] const QuickEntryRegion& region() const { return _region; }
    // Null behind the last one.
    [[nodiscard]] const QuickEntryToken* token(std::size_t ahead = 0) const {
        return _at + ahead < _tokens.size() ? &_tokens[_at + ahead] : nullptr;
    }

    [[nodiscard]] std::optional<int> peek(WordClass wordClass) const;
    std::optional<int> take(WordClass wordClass);
    bool takeMark(std::string_view mark);
    // A mark that follows without a blank.
    bool takeGluedMark(std::string_view mark);
    // The mark behind "Fri." and "min.", unless a figure or a word runs on behind it.
    bool takeAbbreviationMark();
    void skip(std::size_t count) { _at += count; }
    // Figures: their value, if it lies in the range and they are not longer than that many digits.
    std::optional<int> takeFigures(int least, int most, std::size_t digits);
    // Figures without a blank before them, exactly that many.
    std::optional<int> takeGluedFigures(int least, int most, std::size_t digits);
    // Figures or a number word.
    std::optional<int> takeNumber(int least, int most);
    // A name of a weekday, cut or whole.
    struct Weekday {
        int ordinal;
        bool isShort;
        // Could be another word: cut, without the mark or the initial of an abbreviation.
        bool isDoubtful;
    };
    std::optional<Weekday> takeWeekday();

    // Nothing of what stands before the place runs on behind it: "9" of "9th", "2" of "2:75".
    [[nodiscard]] bool isAtBoundary() const;

    // Runs `read`; what it took is given back if its result is empty.
    template <typename Read>
    auto attempt(Read read) {
        const auto start = _at;
        auto result = read();
        if (!result) _at = start;
        return result;
    }

  private:
    const std::vector<QuickEntryToken>& _tokens;
    const QuickEntryWords& _words;
    const QuickEntryRegion& _region;
    std::size_t _at;
};

}  // namespace zun
