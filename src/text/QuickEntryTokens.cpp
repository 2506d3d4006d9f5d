#include "text/QuickEntryTokens.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace zun {
namespace {

using Kind = QuickEntryToken::Kind;

constexpr std::size_t longestWord = 48;  // bytes

bool isLetter(UChar32 c) {
    return c > 0 && (u_isalpha(c) || (U_GET_GC_MASK(c) & U_GC_M_MASK) != 0);
}
bool isDigit(UChar32 c) {
    return c >= '0' && c <= '9';
}
bool isApostrophe(UChar32 c) {
    return c == '\'' || c == 0x2019 || c == 0x2018 || c == 0x02BC;
}
bool isDash(UChar32 c) {
    return c > 0 && (U_GET_GC_MASK(c) & U_GC_PD_MASK) != 0;
}
bool isBlank(UChar32 c) {
    return c > 0 && (u_isUWhiteSpace(c) || c == 0x200B || c == 0xFEFF);
}

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return c < 128; });
}

class Cutter {
  public:
    Cutter(std::string_view title, std::size_t from, std::size_t to) : _title(title.substr(0, to)), _at(from) {}

    std::vector<QuickEntryToken> cut() {
        while (_at < _title.size()) {
            const auto c = peek();
            if (isBlank(c)) {
                _at += _width;
                _isGlued = false;
                continue;
            }
            const auto start = _at;
            if (isLetter(c)) {
                takeWord();
            } else if (isDigit(c)) {
                while (_at < _title.size() && isDigit(peek()))
                    _at += _width;
            } else {
                _at += _width;
            }
            add(start, c);
            _isGlued = true;
        }
        return std::move(_tokens);
    }

  private:
    // The character at the place, negative if there is none; its bytes in _width.
    UChar32 peek() {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(_title.data());
        auto next = static_cast<std::int64_t>(_at);
        UChar32 c = 0;
        U8_NEXT(bytes, next, static_cast<std::int64_t>(_title.size()), c);
        _width = static_cast<std::size_t>(next) - _at;
        return c;
    }

    // Letters, and apostrophes between them: "tomorrow's" is one word, and another one than "tomorrow".
    void takeWord() {
        while (_at < _title.size()) {
            const auto c = peek();
            if (isLetter(c)) {
                _at += _width;
                continue;
            }
            if (!isApostrophe(c)) return;
            const auto apostrophe = _at;
            _at += _width;
            if (_at >= _title.size() || !isLetter(peek())) {
                _at = apostrophe;
                return;
            }
        }
    }

    void add(std::size_t start, UChar32 first) {
        QuickEntryToken token;
        token.isGlued = _isGlued;
        token.start = start;
        token.length = _at - start;
        const auto text = _title.substr(start, token.length);
        if (isLetter(first)) {
            token.kind = Kind::Word;
            token.isCapitalised = u_isUUppercase(first) != 0;
            if (text.size() <= longestWord) token.text = quickEntryFolded(text);
        } else if (isDigit(first)) {
            token.kind = Kind::Number;
            token.text = text.size() <= longestWord ? text : "";
            token.value = text.size() <= 4 ? std::stoi(token.text) : -1;
        } else {
            token.text = isDash(first) ? "-" : isApostrophe(first) ? "'" : std::string(text);
        }
        _tokens.push_back(std::move(token));
    }

    std::string_view _title;
    std::size_t _at;
    std::size_t _width = 0;
    bool _isGlued = false;
    std::vector<QuickEntryToken> _tokens;
};

}  // namespace

std::string quickEntryFolded(std::string_view word) {
    std::string result;
    if (isASCII(word)) {
        result = word;
        std::transform(result.begin(), result.end(), result.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        return result;
    }
    UErrorCode status = U_ZERO_ERROR;
    auto text = icu::UnicodeString::fromUTF8(icu::StringPiece(word.data(), static_cast<std::int32_t>(word.size())));
    const auto* composer = icu::Normalizer2::getNFCInstance(status);
    if (U_SUCCESS(status)) text = composer->normalize(text, status);
    text.foldCase();
    text.findAndReplace(u"ä", u"ae").findAndReplace(u"ö", u"oe").findAndReplace(u"ü", u"ue");
    text.findAndReplace(u"\u2019", u"'").findAndReplace(u"\u2018", u"'").findAndReplace(u"\u02BC", u"'");
    return text.toUTF8String(result);
}

std::vector<QuickEntryToken> quickEntryTokens(std::string_view title, std::size_t from, std::size_t to) {
    return Cutter(title, from, to).cut();
}

}  // namespace zun
