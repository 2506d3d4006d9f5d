#include "commands/TerminalText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace zun {
namespace {

bool isControl(UChar32 character) {
    return character < 0x20 || (character >= 0x7F && character <= 0x9F);
}
bool turnsDirection(UChar32 character) {
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

// Calls the block with each character and its bytes until it returns false. What is no UTF-8 counts as controls.
template <typename Block>
void forEachCharacter(std::string_view text, Block block) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto size = static_cast<int64_t>(text.size());
    for (int64_t at = 0; at < size;) {
        const auto begin = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (!block(character, text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(at - begin))))
            return;
    }
}

}  // namespace

std::string terminalText(std::string_view text, LineBreaks lineBreaks) {
    std::string result;
    result.reserve(text.size());
    forEachCharacter(text, [&](UChar32 character, std::string_view bytes) {
        const bool isKeptBreak = character == '\n' && lineBreaks == LineBreaks::Kept;
        if (isControl(character) && !isKeptBreak) {
            result += ' ';
        } else if (!turnsDirection(character)) {
            result += bytes;
        }
        return true;
    });
    return result;
}

std::size_t terminalWidth(std::string_view line) {
    std::size_t width = 0;
    forEachCharacter(line, [&](UChar32 character, std::string_view) {
        const auto type = u_charType(character);
        if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR) return true;
        const auto kind = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
        width += kind == U_EA_FULLWIDTH || kind == U_EA_WIDE ? 2 : 1;
        return true;
    });
    return width;
}

std::string terminalLine(std::string_view text) {
    constexpr int most = 200;
    int count = 0;
    std::size_t length = 0;
    forEachCharacter(text, [&](UChar32, std::string_view bytes) {
        if (count == most) return false;
        ++count;
        length += bytes.size();
        return true;
    });
    auto line = terminalText(text.substr(0, length), LineBreaks::MadeBlanks);
    if (length < text.size()) line += "...";
    return line;
}

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
    auto text = std::to_string(count);
    text += ' ';
    text += count == 1 ? one : many;
    return text;
}

}  // namespace zun
