#include "text/QuickEntryCursor.h"

namespace zun {
namespace {

using Kind = QuickEntryToken::Kind;

bool closes(const QuickEntryToken& token) {
    return token.kind == Kind::Mark && std::string_view(",.;:!?)…|").find(token.text) != std::string_view::npos;
}

}  // namespace

std::optional<int> QuickEntryCursor::peek(WordClass wordClass) const {
    const auto* next = token();
    const auto* value = next ? _words.find(*next, wordClass) : nullptr;
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<int> QuickEntryCursor::take(WordClass wordClass) {
    const auto value = peek(wordClass);
    if (value) ++_at;
    return value;
}

bool QuickEntryCursor::takeMark(std::string_view mark) {
    const auto* next = token();
    if (!next || next->kind != Kind::Mark || next->text != mark) return false;
    ++_at;
    return true;
}

bool QuickEntryCursor::takeGluedMark(std::string_view mark) {
    const auto* next = token();
    return next && next->isGlued && takeMark(mark);
}

bool QuickEntryCursor::takeAbbreviationMark() {
    const auto* next = token(1);
    const bool runsOn = next && next->isGlued && next->kind != Kind::Mark;
    return !runsOn && takeGluedMark(".");
}

std::optional<int> QuickEntryCursor::takeFigures(int least, int most, std::size_t digits) {
    const auto* next = token();
    if (!next || next->kind != Kind::Number || next->text.size() > digits) return std::nullopt;
    if (next->value < least || next->value > most) return std::nullopt;
    ++_at;
    return next->value;
}

std::optional<int> QuickEntryCursor::takeGluedFigures(int least, int most, std::size_t digits) {
    const auto* next = token();
    if (!next || !next->isGlued || next->text.size() != digits) return std::nullopt;
    return takeFigures(least, most, digits);
}

std::optional<int> QuickEntryCursor::takeNumber(int least, int most) {
    if (const auto figures = takeFigures(least, most, 3)) return figures;
    const auto word = peek(WordClass::Number);
    if (!word || *word < least || *word > most) return std::nullopt;
    ++_at;
    return word;
}

std::optional<QuickEntryCursor::Weekday> QuickEntryCursor::takeWeekday() {
    if (const auto whole = take(WordClass::Weekday)) return Weekday{*whole, false, false};
    const auto* name = token();
    const auto cut = take(WordClass::ShortWeekday);
    if (!cut) return std::nullopt;
    const bool hasMark = takeAbbreviationMark();
    return Weekday{*cut, true, !hasMark && !name->isCapitalised};
}

bool QuickEntryCursor::isAtBoundary() const {
    const auto* next = token();
    if (!next || !next->isGlued) return true;
    for (std::size_t ahead = 0; next && next->isGlued; next = token(++ahead)) {
        if (!closes(*next)) return false;
    }
    return true;
}

}  // namespace zun
