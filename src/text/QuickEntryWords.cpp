#include "text/QuickEntryWords.h"

#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>

#include <algorithm>

namespace zun {
namespace {

// A name as it stands in a title: the mark of an abbreviation is a mark of its own there.
std::string nameAsWord(const icu::UnicodeString& name) {
    std::string text;
    name.toUTF8String(text);
    if (!text.empty() && text.back() == '.') text.pop_back();
    return quickEntryFolded(text);
}

}  // namespace

void QuickEntryWords::add(std::string_view words, WordClass wordClass, int value) {
    while (!words.empty()) {
        const auto end = std::min(words.find(' '), words.size());
        auto& senses = _senses[std::string(words.substr(0, end))];
        const bool isKnown =
            std::any_of(senses.begin(), senses.end(), [&](const Sense& sense) { return sense.wordClass == wordClass; });
        if (!isKnown) senses.push_back({wordClass, value});
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

void QuickEntryWords::addCalendarNames(const char* locale) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::DateFormatSymbols symbols(icu::Locale(locale), status);
    if (U_FAILURE(status)) return;
    using Symbols = icu::DateFormatSymbols;
    for (const auto context : {Symbols::FORMAT, Symbols::STANDALONE}) {
        for (const auto width : {Symbols::WIDE, Symbols::ABBREVIATED}) {
            std::int32_t count = 0;
            const auto* months = symbols.getMonths(count, context, width);
            for (int i = 0; i < count; ++i)
                add(nameAsWord(months[i]), WordClass::Month, i + 1);
            const auto* weekdays = symbols.getWeekdays(count, context, width);
            for (int i = 1; i < count; ++i) {
                add(nameAsWord(weekdays[i]), width == Symbols::WIDE ? WordClass::Weekday : WordClass::ShortWeekday, i);
            }
        }
    }
}

const int* QuickEntryWords::find(const QuickEntryToken& token, WordClass wordClass) const {
    const auto found = _senses.find(token.text);
    if (token.kind == QuickEntryToken::Kind::Number || found == _senses.end()) return nullptr;
    const auto sense = std::find_if(found->second.begin(), found->second.end(),
                                    [&](const Sense& each) { return each.wordClass == wordClass; });
    return sense == found->second.end() ? nullptr : &sense->value;
}

const QuickEntryWords& QuickEntryWords::english() {
    static const QuickEntryWords words = makeEnglish();
    return words;
}

const QuickEntryWords& QuickEntryWords::german() {
    static const QuickEntryWords words = makeGerman();
    return words;
}

}  // namespace zun
