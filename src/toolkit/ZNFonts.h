#pragma once

// The application's fonts and what its text needs besides: size styles, and runs of emoji that must be drawn in colour.
// Main thread.

#include <QFont>
#include <QList>
#include <QStringView>
#include <QTextLayout>

namespace zun {

// Numbers as they are stated in the size table.
enum class SizeStyle { Title = 0, LargeText = 1, Text = 2, Paragraph = 3, AllCaps = 4, Tiny = 5 };

// 1 for a width above 0 and below 540, 2 below 640, 3 below 800, 4 from there on and for 0 or less.
[[nodiscard]] int preferredFontSizeForWindowSize(double width);

// The size in logical pixels. Only a preferred size of 1 is smaller than the others.
[[nodiscard]] int sizeOfStyle(SizeStyle style, int preferredSize);

// Inter, or the system's sans where it is not installed.
[[nodiscard]] QFont appFont(int size, QFont::Weight weight = QFont::Normal);
[[nodiscard]] QFont appFontWithSizeStyle(SizeStyle style, int withPreferredSize, QFont::Weight weight = QFont::Normal);

// The font for runs of emoji at this size.
[[nodiscard]] QFont emojiFont(int size);

struct TextRun {
    qsizetype start;
    qsizetype length;
    bool operator==(const TextRun&) const = default;
};

// The runs that are emoji: characters shown as pictures by default, those followed by the picture selector, key caps,
// flags and joined sequences. A character followed by the text selector is none.
[[nodiscard]] QList<TextRun> emojiRuns(QStringView text);

// The text without the picture selectors inside joined sequences and key caps, over which Qt would not join them.
[[nodiscard]] QString withJoinableEmoji(QString text);

// Formats that draw these runs in colour, for QTextLayout.
[[nodiscard]] QList<QTextLayout::FormatRange> emojiFormats(QStringView text, int size);

}  // namespace zun
