#include "text/ZNComplexityAnalyzer.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace zun {
namespace {

struct Limits {
    int title, notes;
};
constexpr Limits mostCharacters{12, 22};
constexpr Limits mostWords{7, 16};
constexpr int mostLines = 4;

bool isWrittenWithoutSpaces(const NSLocale& locale) {
    if (locale.preferredLanguages.empty()) return false;
    const auto& language = locale.preferredLanguages.front();
    return language.find("zh-Hans") != std::string::npos || language.find("zh-Hant") != std::string::npos;
}

// Spaces of every width, the tab, and what ends a line or a paragraph.
bool separatesWords(UChar32 character) {
    return character == '\t' || (character >= '\n' && character <= '\r') || character == 0x85 || character == 0x2028 ||
           character == 0x2029 || u_charType(character) == U_SPACE_SEPARATOR;
}

template <typename Separates>
int pieces(const std::optional<std::string>& text, Separates separates) {
    if (!text) return 0;
    const auto characters = icu::UnicodeString::fromUTF8(*text);
    int count = 1;
    for (int at = 0; at < characters.length(); ++at) {
        if (separates(UChar32{characters.charAt(at)})) ++count;
    }
    return count;
}

int length(const std::optional<std::string>& text) {
    return text ? icu::UnicodeString::fromUTF8(*text).length() : 0;
}

}  // namespace

bool ZNComplexityAnalyzer::checkReminderComplexityWithTitle(const std::optional<std::string>& title,
                                                            const std::optional<std::string>& withNotes,
                                                            const NSLocale& locale) {
    const bool isLong =
        isWrittenWithoutSpaces(locale)
            ? length(title) > mostCharacters.title || length(withNotes) > mostCharacters.notes
            : pieces(title, separatesWords) > mostWords.title || pieces(withNotes, separatesWords) > mostWords.notes;
    return isLong || pieces(withNotes, [](UChar32 character) { return character == '\n'; }) > mostLines;
}

}  // namespace zun
