#include "text/ChecklistText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <cstdint>

namespace zun {
namespace {

constexpr std::string_view openMarker = "[ ]";
constexpr std::string_view doneMarker = "[x]";

bool isLineEnd(UChar32 character) {
    return (character >= 0x0A && character <= 0x0D) || character == 0x85 || character == 0x2028 || character == 0x2029;
}

// Bytes that are no character decode as a negative value, which belongs to no class, and so they stay.
template <typename Predicate>
std::string_view trimmed(std::string_view text, Predicate goes) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto size = static_cast<int64_t>(text.size());
    int64_t begin = 0;
    for (int64_t next = 0; begin < size; begin = next) {
        UChar32 character = 0;
        U8_NEXT(bytes, next, size, character);
        if (character < 0 || !goes(character)) break;
    }
    int64_t end = size;
    while (end > begin) {
        const auto window = static_cast<int32_t>(std::min<int64_t>(end - begin, U8_MAX_LENGTH));
        int32_t at = window;
        UChar32 character = 0;
        U8_PREV(bytes + end - window, 0, at, character);
        if (character < 0 || !goes(character)) break;
        end -= window - at;
    }
    return text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

template <typename Block>
void forEachLine(std::string_view text, Block block) {
    for (;;) {
        const auto lineEnd = text.find('\n');
        const bool isLast = lineEnd == std::string_view::npos;
        block(text.substr(0, lineEnd), isLast);
        if (isLast) return;
        text.remove_prefix(lineEnd + 1);
    }
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

}  // namespace

std::string_view trimmedOfLineEnds(std::string_view text) {
    return trimmed(text, isLineEnd);
}

std::vector<ChecklistItem> checklistItems(std::string_view checklist) {
    std::vector<ChecklistItem> items;
    if (checklist.empty()) return items;
    forEachLine(checklist, [&](std::string_view line, bool) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(line.data());
        const auto size = static_cast<int64_t>(line.size());
        int64_t textBegin = 0;
        int characters = 0;
        for (; characters < 3 && textBegin < size; ++characters)
            U8_FWD_1(bytes, textBegin, size);
        if (characters < 3) textBegin = 0;
        items.push_back({line.starts_with(doneMarker), std::string(line.substr(static_cast<std::size_t>(textBegin)))});
    });
    return items;
}

std::string removeExraneousNewLinesAndWhiteSpace(std::string_view text) {
    std::string result;
    for (const char byte : trimmed(text, [](UChar32 character) { return u_isUWhiteSpace(character) != 0; })) {
        if (byte != '\n' || !result.ends_with('\n')) result += byte;
    }
    return result;
}

std::string stringWithChecklistFormatting(std::string_view line,
                                          ShouldUseMarkdownFormatting shouldUseMarkdownFormatting, IsChecked isChecked,
                                          ShouldAppendLineBreak shouldAppendLineBreak) {
    std::string text(trimmedOfLineEnds(line));
    boost::replace_all(text, "\n", " ");
    const std::string marker(isChecked == IsChecked::Yes ? doneMarker : openMarker);
    if (shouldUseMarkdownFormatting == ShouldUseMarkdownFormatting::Yes) {
        text = "- " + marker + " " + text;
    } else if (!contains(text, doneMarker) && !contains(text, openMarker)) {
        text = marker + text;
    }
    if (shouldAppendLineBreak == ShouldAppendLineBreak::Yes) text += '\n';
    return text;
}

std::string sanitizeStringForChecklistAndStripSyntax(std::string_view text, StripSyntax stripSyntax) {
    auto plain = removeExraneousNewLinesAndWhiteSpace(text);
    boost::replace_all(plain, "- [ ] ", openMarker);
    boost::replace_all(plain, "- [x] ", doneMarker);
    if (stripSyntax == StripSyntax::Yes) {
        boost::erase_all(plain, doneMarker);
        boost::erase_all(plain, openMarker);
        return plain;
    }
    if (plain.empty()) return plain;

    std::string checklist;
    forEachLine(plain, [&](std::string_view line, bool isLast) {
        if (line.empty()) return;
        checklist += stringWithChecklistFormatting(line, ShouldUseMarkdownFormatting::No, IsChecked::No,
                                                   isLast ? ShouldAppendLineBreak::No : ShouldAppendLineBreak::Yes);
    });
    return checklist;
}

std::string resetChecklist(std::string checklist) {
    boost::replace_all(checklist, doneMarker, openMarker);
    return checklist;
}

}  // namespace zun
