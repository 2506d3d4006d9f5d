#include "cards/TextBlock.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QRegularExpression>
#include <QTextBoundaryFinder>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/ZNFonts.h"

namespace zun {

namespace {

constexpr QChar ellipsis(0x2026);

double lineAdvance(const TextStyle& style) {
    return std::ceil(style.font.pixelSize() * style.lineHeight);
}

// Addresses that a click may open: web pages and mail, nothing that could run.
std::vector<std::pair<TextRun, QUrl>> findLinks(const QString& text) {
    std::vector<std::pair<TextRun, QUrl>> found;
    if (!text.contains(u"://") && !text.contains(u"www.", Qt::CaseInsensitive) && !text.contains(u'@')) return found;
    static const QRegularExpression pattern(
        QStringLiteral(R"((?:\bhttps?://|\bwww\.)[^\s<>"]+|\b[\w.+-]+@[\w-]+(?:\.[\w-]+)+)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        QString address = match.captured();
        // What ends a sentence does not belong to the address in it.
        while (!address.isEmpty() && QStringView(u".,;:!?)]}'\u2019\u201d\u3002\u3001").contains(address.back()))
            address.chop(1);
        QUrl url = QUrl::fromUserInput(address);
        if (address.contains(u'@') && !address.contains(u'/')) url = QUrl(QStringLiteral("mailto:") + address);
        const QString scheme = url.scheme();
        if (!url.isValid() || (scheme != u"http" && scheme != u"https" && scheme != u"mailto")) continue;
        found.push_back({{match.capturedStart(), address.size()}, url});
    }
    return found;
}

// One paragraph, laid out line by line from a height on.
class Paragraph {
  public:
    Paragraph(const QString& text, const TextStyle& style, double width) : _style(style), _layout(text, fontOf(style)) {
        QTextOption option(style.side.value_or(text.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft));
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        option.setTextDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        _layout.setTextOption(option);
        _layout.setCacheEnabled(true);
        QList<QTextLayout::FormatRange> formats = emojiFormats(text, style.font.pixelSize());
        if (style.findsLinks) {
            _links = findLinks(text);
            for (const auto& [run, url] : _links) {
                QTextLayout::FormatRange range;
                range.start = static_cast<int>(run.start);
                range.length = static_cast<int>(run.length);
                range.format.setForeground(style.linkColor);
                range.format.setFontUnderline(true);
                formats.push_back(range);
            }
        }
        _layout.setFormats(formats);
        _width = width;
    }

    // Lays out up to so many lines; answers how many characters they hold.
    qsizetype layOut(double top, int lineLimit, double bottomLimit) {
        const QFontMetricsF metrics(_layout.font());
        const double advance = lineAdvance(_style);
        const double baseline = (advance - metrics.ascent() - metrics.descent()) / 2 + metrics.ascent();
        _bottom = top;
        qsizetype laidOut = 0;
        _layout.beginLayout();
        for (int count = 0; (lineLimit == 0 || count < lineLimit) && (bottomLimit == 0 || _bottom < bottomLimit);
             ++count) {
            QTextLine line = _layout.createLine();
            if (!line.isValid()) break;
            line.setLineWidth(_width);
            line.setPosition({0, _bottom + baseline - line.ascent()});
            _bottom += advance;
            laidOut = line.textStart() + line.textLength();
        }
        _layout.endLayout();
        return laidOut;
    }

    [[nodiscard]] int lineCount() const { return _layout.lineCount(); }
    [[nodiscard]] double bottom() const { return _bottom; }
    [[nodiscard]] const QString text() const { return _layout.text(); }
    [[nodiscard]] qsizetype lastLineStart() const { return _layout.lineAt(_layout.lineCount() - 1).textStart(); }
    [[nodiscard]] QTextLayout& layout() { return _layout; }

    void appendLinks(std::vector<TextBlock::Link>& links) const {
        for (const auto& [run, url] : _links) {
            const QTextLine line = _layout.lineForTextPosition(static_cast<int>(run.start));
            if (!line.isValid()) continue;
            const int end =
                std::min<int>(static_cast<int>(run.start + run.length), line.textStart() + line.textLength());
            const double from = line.cursorToX(static_cast<int>(run.start));
            const double to = line.cursorToX(end);
            links.push_back({url, QRectF(QPointF(std::min(from, to), line.y()),
                                         QPointF(std::max(from, to), line.y() + line.height()))});
        }
    }

  private:
    static QFont fontOf(const TextStyle& style) {
        QFont font = style.font;
        if (style.kerning != 0) font.setLetterSpacing(QFont::AbsoluteSpacing, style.kerning);
        return font;
    }

    const TextStyle& _style;
    QTextLayout _layout;
    std::vector<std::pair<TextRun, QUrl>> _links;
    double _width = 0;
    double _bottom = 0;
};

// The end of the text before this one, by whole characters as a reader sees them.
qsizetype previousCharacter(QTextBoundaryFinder& finder, qsizetype position) {
    finder.setPosition(position);
    const qsizetype previous = finder.toPreviousBoundary();
    return std::max<qsizetype>(previous, 0);
}

}  // namespace

QString displayText(std::string_view utf8, qsizetype limit) {
    // A UTF-16 unit never takes more than three bytes.
    const auto bytes = std::min<std::size_t>(utf8.size(), static_cast<std::size_t>(limit) * 3);
    QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(bytes));
    if (bytes < utf8.size() && text.endsWith(QChar::ReplacementCharacter)) text.chop(1);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    if (text.size() > limit) {
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.constData(), std::min(text.size(), limit + 32));
        finder.setPosition(limit);
        qsizetype end = finder.isAtBoundary() ? limit : finder.toPreviousBoundary();
        // A single character may be that long, with thousands of marks piled on it.
        if (end <= 0) end = text[limit - 1].isHighSurrogate() ? limit - 1 : limit;
        text.truncate(end);
    }
    for (QChar& character : text) {
        const bool breaksLine = character == u'\r' || character == QChar::ParagraphSeparator ||
                                character == QChar::LineSeparator || character == u'\v' || character == u'\f';
        if (breaksLine) {
            character = u'\n';
        } else if (character != u'\n' && character.category() == QChar::Other_Control) {
            character = u' ';
        }
    }
    return withJoinableEmoji(std::move(text));
}

TextBlock::TextBlock(const QString& text, const TextStyle& style, double width) {
    if (text.isEmpty() || width <= 0) return;
    _style = std::make_shared<const TextStyle>(style);
    int lines = 0;
    for (const QString& part : text.split(u'\n')) {
        const int allowed = style.lineLimit == 0 ? 0 : style.lineLimit - lines;
        const bool isFull =
            (style.lineLimit != 0 && allowed <= 0) || (style.heightLimit != 0 && _height >= style.heightLimit);
        if (isFull) {
            _isCut = true;
            break;
        }
        auto paragraph = std::make_shared<Paragraph>(part, *_style, width);
        const qsizetype laidOut = paragraph->layOut(_height, allowed, style.heightLimit);
        lines += std::max(1, paragraph->lineCount());
        _isCut = laidOut < part.size();
        if (_isCut && style.lineLimit != 0) {
            QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, part);
            const qsizetype lineStart = paragraph->lastLineStart();
            for (qsizetype end = laidOut; end > lineStart; end = previousCharacter(finder, end)) {
                QString shortened = part.left(end);
                while (!shortened.isEmpty() && shortened.back().isSpace())
                    shortened.chop(1);
                shortened += ellipsis;
                auto candidate = std::make_shared<Paragraph>(shortened, *_style, width);
                if (candidate->layOut(_height, allowed, 0) < shortened.size()) continue;
                paragraph = std::move(candidate);
                break;
            }
        }
        paragraph->appendLinks(_links);
        _height = paragraph->lineCount() == 0 ? _height + lineAdvance(style) : paragraph->bottom();
        _layouts.emplace_back(paragraph, &paragraph->layout());
        if (_isCut) break;
    }
}

bool TextBlock::isRightToLeft() const {
    return !_layouts.empty() && _layouts.front()->textOption().textDirection() == Qt::RightToLeft;
}

void TextBlock::paint(QPainter& painter, QPointF topLeft) const {
    if (_layouts.empty()) return;
    painter.setPen(_style->color);
    for (const auto& layout : _layouts)
        layout->draw(&painter, topLeft);
}

double heightOfLines(const TextStyle& style, int lines) {
    return lines * lineAdvance(style);
}

}  // namespace zun
