#include "text/QuickEntryPlacement.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>

namespace zun {
namespace {

using Kind = QuickEntryToken::Kind;

bool isOneOf(std::string_view mark, std::initializer_list<std::string_view> marks) {
    return std::find(marks.begin(), marks.end(), mark) != marks.end();
}
bool closesSentence(const QuickEntryToken& token) {
    return token.kind == Kind::Mark && isOneOf(token.text, {".", "!", "?", ")", "…"});
}
bool separates(const QuickEntryToken& token) {
    return token.kind == Kind::Mark && isOneOf(token.text, {",", ";", ":", "-", "(", ")", "|", "·", ".", "!", "?"});
}
bool quotes(const QuickEntryToken& token) {
    return token.kind == Kind::Mark && isOneOf(token.text, {"\"", "„", "“", "”", "«", "»", "‹", "›", "‚"});
}

class Surroundings {
  public:
    Surroundings(const QuickEntryPhrase& phrase, const QuickEntryStretch& stretch, const QuickEntryWords& words)
        : _phrase(phrase), _stretch(stretch), _words(words) {}

    [[nodiscard]] bool areClear() const {
        return beginsWord() && !isQuoted() && !isPartOfRange() && !leavesDanglingWord() && !runsOn() &&
               !followsWhatWasNotUnderstood();
    }

    [[nodiscard]] bool isAtStart() const {
        return _stretch.reachesStart && (_phrase.begin == 0 || (_phrase.begin == 1 && before()->text == "("));
    }
    [[nodiscard]] bool isAtEnd() const {
        const auto rest = _stretch.tokens.begin() + static_cast<std::ptrdiff_t>(_phrase.end);
        return _stretch.reachesEnd && std::all_of(rest, _stretch.tokens.end(), closesSentence);
    }
    [[nodiscard]] bool isSetOff() const {
        return (isAtStart() || (before() && separates(*before()))) && (isAtEnd() || (after() && separates(*after())));
    }

  private:
    [[nodiscard]] const QuickEntryToken* tokenAt(std::ptrdiff_t at) const {
        const auto count = static_cast<std::ptrdiff_t>(_stretch.tokens.size());
        return at >= 0 && at < count ? &_stretch.tokens[static_cast<std::size_t>(at)] : nullptr;
    }
    [[nodiscard]] const QuickEntryToken* before(std::ptrdiff_t distance = 1) const {
        return tokenAt(static_cast<std::ptrdiff_t>(_phrase.begin) - distance);
    }
    [[nodiscard]] const QuickEntryToken* after(std::ptrdiff_t distance = 0) const {
        return tokenAt(static_cast<std::ptrdiff_t>(_phrase.end) + distance);
    }
    [[nodiscard]] bool has(const QuickEntryToken* token, std::initializer_list<WordClass> classes) const {
        return token && std::any_of(classes.begin(), classes.end(),
                                    [&](WordClass each) { return _words.find(*token, each) != nullptr; });
    }
    [[nodiscard]] bool isTemporal(const QuickEntryToken* token) const {
        using enum WordClass;
        return token &&
               (token->kind == Kind::Number || has(token, {RelativeDay, Tonight, Weekday, ShortWeekday, WeekdayHabit,
                                                           WeekdayPart, Month, AM, PM, Hours, Clock}));
    }

    [[nodiscard]] bool beginsWord() const {
        const auto& first = _stretch.tokens[_phrase.begin];
        return !first.isGlued || before()->text == "(";
    }

    [[nodiscard]] bool isQuoted() const {
        const auto begin = _stretch.tokens.begin();
        return std::any_of(begin, begin + static_cast<std::ptrdiff_t>(_phrase.begin), quotes) &&
               std::any_of(begin + static_cast<std::ptrdiff_t>(_phrase.end), _stretch.tokens.end(), quotes);
    }

    // One end of "Monday to Friday", "3 or 4 March", "Monday - Friday": the other one is not read.
    [[nodiscard]] bool isPartOfRange() const {
        using enum WordClass;
        const auto joins = [&](const QuickEntryToken* token) {
            return token && (token->text == "-" || token->text == "/" || has(token, {And, To, Until}));
        };
        if ((joins(before()) && isTemporal(before(2))) || (joins(after()) && isTemporal(after(1)))) return true;
        // The joining word may have been read as the phrase's own: "Montag bis Freitag", "3. bis 5. März".
        const bool isOrdinal = before() && before()->isGlued && before()->text == ".";
        return has(&_stretch.tokens[_phrase.begin], {Until}) && isTemporal(before(isOrdinal ? 2 : 1));
    }

    [[nodiscard]] bool leavesDanglingWord() const {
        if (has(before(), {WordClass::Dangling})) return true;
        return _phrase.end == _phrase.begin + 1 && has(before(), {WordClass::Name});
    }

    // Figures behind a phrase belong to it, but were not understood: "Friday 31 February". A verb makes it a subject.
    [[nodiscard]] bool runsOn() const {
        const auto* next = after();
        if (!next) return false;
        if (next->kind == Kind::Number || next->text == "%" || next->text == "'") return true;
        return has(next, {WordClass::Month, WordClass::Verb, WordClass::Hours});
    }

    // The rest of something impossible: "today at 9" in the evening, "31 February at 5", "14/3 5pm" by months first.
    [[nodiscard]] bool followsWhatWasNotUnderstood() const {
        using enum WordClass;
        if (has(before(), {RelativeDay, Tonight, Weekday, WeekdayHabit, WeekdayPart})) return true;
        const bool isAfterMark = before() && before()->isGlued && before()->text == ".";
        const auto* last = before(isAfterMark ? 2 : 1);
        const auto* beforeLast = before(isAfterMark ? 3 : 2);
        if (!last || !beforeLast) return false;
        if (has(last, {Month})) return beforeLast->kind == Kind::Number || beforeLast->text == ".";
        if (last->kind != Kind::Number) return false;
        return has(beforeLast, {Month}) || (last->isGlued && isOneOf(beforeLast->text, {"/", ".", ":", "-"}));
    }

    const QuickEntryPhrase& _phrase;
    const QuickEntryStretch& _stretch;
    const QuickEntryWords& _words;
};

bool isIn(UChar32 character, std::u32string_view marks) {
    return marks.find(static_cast<char32_t>(character)) != std::u32string_view::npos;
}
bool isBlank(UChar32 character) {
    return character > 0 && u_isUWhiteSpace(character);
}
// Marks that set a phrase off, and are of no use without it.
bool isSeparator(UChar32 character) {
    return isBlank(character) || isIn(character, U",;:-–—·|");
}

// The character at the start of a text; its bytes are taken off.
UChar32 takeFirst(std::string_view& text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int64_t>(text.size());
    std::int64_t next = 0;
    UChar32 character = 0;
    U8_NEXT(bytes, next, size, character);
    text.remove_prefix(static_cast<std::size_t>(next));
    return character;
}

template <typename Predicate>
std::string_view withoutStart(std::string_view text, Predicate drops) {
    while (!text.empty()) {
        auto rest = text;
        if (!drops(takeFirst(rest))) break;
        text = rest;
    }
    return text;
}

template <typename Predicate>
std::string_view withoutEnd(std::string_view text, Predicate drops) {
    constexpr std::size_t mostBytes = 4;
    while (!text.empty()) {
        std::size_t length = 1;
        while (length < std::min(mostBytes, text.size()) && U8_IS_TRAIL(text[text.size() - length]))
            ++length;
        auto last = text.substr(text.size() - length);
        if (!drops(takeFirst(last)) || !last.empty()) break;
        text.remove_suffix(length);
    }
    return text;
}

bool saysSomething(std::string_view title) {
    return !withoutStart(title, [](UChar32 c) { return c > 0 && (isBlank(c) || u_ispunct(c)); }).empty();
}

std::string joined(std::string_view left, std::string_view right) {
    left = withoutEnd(left, isBlank);
    right = withoutStart(right, isBlank);
    if (left.ends_with('(') && right.starts_with(')')) {
        left.remove_suffix(1);
        right.remove_prefix(1);
        return joined(left, right);
    }
    if (withoutStart(left, isBlank).empty()) return std::string(withoutStart(right, isSeparator));
    const bool rightIsEnd = withoutStart(right, [](UChar32 c) { return isIn(c, U".!?)…"); }).empty();
    const bool isSetOff = withoutStart(right, isSeparator).size() < right.size();
    if (rightIsEnd || isSetOff) {
        return std::string(withoutEnd(left, isSeparator)) + std::string(right);
    }
    return std::string(left) + " " + std::string(right);
}

}  // namespace

bool isBelievable(const QuickEntryPhrase& phrase, const QuickEntryStretch& stretch, const QuickEntryWords& words) {
    const Surroundings surroundings(phrase, stretch, words);
    if (!surroundings.areClear()) return false;
    // In the midst of a whole page a phrase is part of what is told there.
    const bool isPage = !stretch.reachesStart || !stretch.reachesEnd;
    if (isPage && !surroundings.isAtStart() && !surroundings.isAtEnd()) return false;
    switch (phrase.confidence) {
        case Confidence::OnlyWithMore:
            return false;
        case Confidence::Weak:
            return surroundings.isAtEnd() || surroundings.isSetOff();
        case Confidence::Medium:
            return surroundings.isAtEnd() || surroundings.isAtStart() || surroundings.isSetOff();
        case Confidence::Strong:
            return true;
    }
    return false;
}

std::optional<std::string> titleWithout(std::string_view title, std::size_t begin, std::size_t end) {
    auto rest = joined(title.substr(0, begin), title.substr(end));
    if (!saysSomething(rest)) return std::nullopt;
    return rest;
}

}  // namespace zun
