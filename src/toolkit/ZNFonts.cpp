#include "toolkit/ZNFonts.h"

#include <unicode/uchar.h>

namespace zun {

namespace {

struct StyleSizes {
    int regular;
    int smallest;  // for a preferred size of 1
};

StyleSizes sizesOf(SizeStyle style) {
    switch (style) {
        case SizeStyle::Title:
            return {26, 24};
        case SizeStyle::LargeText:
            return {22, 21};
        case SizeStyle::Text:
            return {16, 15};
        case SizeStyle::Paragraph:
            return {13, 12};
        case SizeStyle::AllCaps:
            return {11, 10};
        case SizeStyle::Tiny:
            return {9, 8};
    }
    return {13, 13};
}

constexpr char32_t textSelector = 0xfe0e;
constexpr char32_t pictureSelector = 0xfe0f;
constexpr char32_t keyCap = 0x20e3;
constexpr char32_t joiner = 0x200d;

// Steps through code points; the end reads as 0.
class Walker {
  public:
    explicit Walker(QStringView text) : _text(text) {}
    [[nodiscard]] qsizetype position() const { return _position; }
    [[nodiscard]] bool atEnd() const { return _position >= _text.size(); }
    [[nodiscard]] char32_t at(qsizetype position) const {
        if (position >= _text.size()) return 0;
        const QChar first = _text[position];
        if (first.isHighSurrogate() && position + 1 < _text.size() && _text[position + 1].isLowSurrogate()) {
            return QChar::surrogateToUcs4(first, _text[position + 1]);
        }
        return first.unicode();
    }
    [[nodiscard]] char32_t current() const { return at(_position); }
    [[nodiscard]] char32_t following() const { return at(_position + width(current())); }
    void step() { _position += width(current()); }
    static qsizetype width(char32_t character) { return character > 0xffff ? 2 : 1; }

  private:
    QStringView _text;
    qsizetype _position = 0;
};

bool has(char32_t character, UProperty property) {
    return u_hasBinaryProperty(static_cast<UChar32>(character), property) != 0;
}

bool beginsEmoji(const Walker& walker) {
    const char32_t character = walker.current();
    const char32_t next = walker.following();
    if (character < 0x80) return next == keyCap || (next == pictureSelector && has(character, UCHAR_EMOJI));
    if (next == textSelector) return false;
    return has(character, UCHAR_EMOJI_PRESENTATION) || has(character, UCHAR_REGIONAL_INDICATOR) ||
           ((next == pictureSelector || next == joiner) && has(character, UCHAR_EMOJI));
}

bool continuesEmoji(char32_t character) {
    const bool isTag = character >= 0xe0020 && character <= 0xe007f;
    return character == pictureSelector || character == keyCap || isTag || has(character, UCHAR_EMOJI_MODIFIER);
}

}  // namespace

int preferredFontSizeForWindowSize(double width) {
    if (width <= 0 || width >= 800) return 4;
    if (width < 540) return 1;
    return width < 640 ? 2 : 3;
}

int sizeOfStyle(SizeStyle style, int preferredSize) {
    const StyleSizes sizes = sizesOf(style);
    return preferredSize == 1 ? sizes.smallest : sizes.regular;
}

QFont appFont(int size, QFont::Weight weight) {
    QFont font;
    font.setFamilies({QStringLiteral("Inter"), QStringLiteral("Noto Sans"), QStringLiteral("sans-serif")});
    font.setPixelSize(size);
    font.setWeight(weight);
    // The same line breaks at every scale.
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

QFont appFontWithSizeStyle(SizeStyle style, int withPreferredSize, QFont::Weight weight) {
    return appFont(sizeOfStyle(style, withPreferredSize), weight);
}

QFont emojiFont(int size) {
    QFont font;
    font.setFamilies({QStringLiteral("Noto Color Emoji"), QStringLiteral("Inter"), QStringLiteral("sans-serif")});
    font.setPixelSize(size);
    return font;
}

QList<TextRun> emojiRuns(QStringView text) {
    QList<TextRun> runs;
    Walker walker(text);
    while (!walker.atEnd()) {
        if (!beginsEmoji(walker)) {
            walker.step();
            continue;
        }
        const qsizetype start = walker.position();
        walker.step();
        while (!walker.atEnd()) {
            if (continuesEmoji(walker.current())) {
                walker.step();
            } else if (walker.current() == joiner && has(walker.following(), UCHAR_EXTENDED_PICTOGRAPHIC)) {
                walker.step();
                walker.step();
            } else {
                break;
            }
        }
        if (!runs.isEmpty() && runs.back().start + runs.back().length == start) {
            runs.back().length = walker.position() - runs.back().start;
        } else {
            runs.push_back({start, walker.position() - start});
        }
    }
    return runs;
}

QString withJoinableEmoji(QString text) {
    const QChar selector(static_cast<char16_t>(pictureSelector));
    for (qsizetype at = text.indexOf(selector); at >= 0; at = text.indexOf(selector, at)) {
        const char32_t next = at + 1 < text.size() ? text[at + 1].unicode() : 0;
        if (next == joiner || next == keyCap) {
            text.remove(at, 1);
        } else {
            ++at;
        }
    }
    return text;
}

QList<QTextLayout::FormatRange> emojiFormats(QStringView text, int size) {
    QList<QTextLayout::FormatRange> formats;
    for (const TextRun& run : emojiRuns(text)) {
        QTextLayout::FormatRange range;
        range.start = static_cast<int>(run.start);
        range.length = static_cast<int>(run.length);
        range.format.setFont(emojiFont(size));
        formats.push_back(range);
    }
    return formats;
}

}  // namespace zun
