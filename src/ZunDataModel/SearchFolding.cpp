#include "ZunDataModel/SearchFolding.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace zun {

namespace {

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Letters that no decomposition takes apart, although readers type them as their plain neighbours.
const char16_t* plainLetters(UChar32 c) {
    switch (c) {
        case 0x00E6:
            return u"ae";  // ae ligature
        case 0x0153:
            return u"oe";  // oe ligature
        case 0x00F8:
            return u"o";  // o with stroke
        case 0x0111:
            return u"d";  // d with stroke
        case 0x00F0:
            return u"d";  // eth
        case 0x00FE:
            return u"th";  // thorn
        case 0x0142:
            return u"l";  // l with stroke
        case 0x0127:
            return u"h";  // h with stroke
        case 0x0167:
            return u"t";  // t with stroke
        case 0x0131:
            return u"i";  // dotless i
        default:
            return nullptr;
    }
}

// Hiragana as katakana, small kana as full ones.
UChar32 plainKana(UChar32 c) {
    if ((c >= 0x3041 && c <= 0x3096) || c == 0x309D || c == 0x309E) c += 0x60;
    switch (c) {
        case 0x30A1:
        case 0x30A3:
        case 0x30A5:
        case 0x30A7:
        case 0x30A9:
        case 0x30C3:
        case 0x30E3:
        case 0x30E5:
        case 0x30E7:
        case 0x30EE:
            return c + 1;
        case 0x30F5:
            return 0x30AB;
        case 0x30F6:
            return 0x30B1;
        default:
            return c;
    }
}

}  // namespace

std::string foldedForSearch(std::string_view text) {
    std::string result;
    if (isASCII(text)) {
        result = text;
        for (char& c : result)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        return result;
    }
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const folder = icu::Normalizer2::getNFKCCasefoldInstance(status);
    const icu::Normalizer2* const decomposer = icu::Normalizer2::getNFKDInstance(status);
    if (U_FAILURE(status)) return std::string(text);
    const auto unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    const icu::UnicodeString decomposed = decomposer->normalize(folder->normalize(unicode, status), status);
    if (U_FAILURE(status)) return std::string(text);

    icu::UnicodeString plain;
    for (int32_t at = 0; at < decomposed.length(); at = decomposed.moveIndex32(at, 1)) {
        const UChar32 c = decomposed.char32At(at);
        if (u_charType(c) == U_NON_SPACING_MARK) continue;
        if (const char16_t* letters = plainLetters(c))
            plain.append(letters, -1);
        else
            plain.append(plainKana(c));
    }
    plain.toUTF8String(result);
    return result;
}

bool isValidUTF8(std::string_view text) {
    if (isASCII(text)) return true;
    const auto* const bytes = reinterpret_cast<const uint8_t*>(text.data());
    const std::size_t length = text.size();
    for (std::size_t at = 0; at < length;) {
        UChar32 c = 0;
        U8_NEXT(bytes, at, length, c);
        if (c < 0) return false;
    }
    return true;
}

std::string repairedUTF8(std::string_view text) {
    std::string result;
    result.reserve(text.size() + 8);
    const auto* const bytes = reinterpret_cast<const uint8_t*>(text.data());
    const std::size_t length = text.size();
    for (std::size_t at = 0; at < length;) {
        const std::size_t start = at;
        UChar32 c = 0;
        U8_NEXT(bytes, at, length, c);
        if (c < 0)
            result += "\xEF\xBF\xBD";
        else
            result.append(text, start, at - start);
    }
    return result;
}

}  // namespace zun
